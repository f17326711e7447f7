#ifndef REPLY_BUFFER_H
#define REPLY_BUFFER_H

// Room for the longest reply the driver asks for (5 + 251 bytes for 2008 bits)
// plus one spare byte.
struct ReplyBuffer {
    static const int Size = 257;
    unsigned char bytes[Size];

    const char* chars() const { return reinterpret_cast<const char*>(bytes); }
    char* chars() { return reinterpret_cast<char*>(bytes); }
};

#endif
