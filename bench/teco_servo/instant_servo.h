#ifndef INSTANT_SERVO_H
#define INSTANT_SERVO_H

#include <cstring>

#include "teco_servo/modbus_request.h"

// A servo that answers a request at once from an in-memory bank: 65536
// registers (functions 3, 4, 6, 16) and 65536 bits (coils and inputs alike:
// functions 1, 2, 5, 15), whatever slave id it is asked as. It allocates
// nothing, and its answers are left out of instruction counts, so that the
// driver and libmodbus are both measured without the servo they talk to.
class InstantServo {
public:
    unsigned short registers[65536] = {};
    unsigned char bits[65536] = {};

    // The reply to the request, or none (length 0) for a request it cannot parse.
    __attribute__((noinline)) void answer(const unsigned char* request, int length)
    {
        replyLength = 0;
        readPosition = 0;
        if (length < 8)
            return;
        const int function = request[1];
        const int address = word(request + 2);
        const int quantity = word(request + 4);
        put(request[0]);
        put(static_cast<unsigned char>(function));
        switch (function) {
        case 1:
        case 2:
            put(static_cast<unsigned char>((quantity + 7) / 8));
            for (int b = 0; b < (quantity + 7) / 8; ++b) {
                int packed = 0;
                for (int k = 0; k < 8 && 8 * b + k < quantity; ++k)
                    packed |= bits[(address + 8 * b + k) & 0xFFFF] << k;
                put(static_cast<unsigned char>(packed));
            }
            break;
        case 3:
        case 4:
            put(static_cast<unsigned char>(2 * quantity));
            for (int k = 0; k < quantity; ++k)
                putWord(registers[(address + k) & 0xFFFF]);
            break;
        case 5: bits[address] = quantity == 0xFF00; break;
        case 6: registers[address] = static_cast<unsigned short>(quantity); break;
        case 15:
            for (int k = 0; k < quantity && 7 + k / 8 < length; ++k)
                bits[(address + k) & 0xFFFF] = (request[7 + k / 8] >> (k % 8)) & 1;
            break;
        case 16:
            for (int k = 0; k < quantity && 8 + 2 * k < length; ++k)
                registers[(address + k) & 0xFFFF] = static_cast<unsigned short>(word(request + 7 + 2 * k));
            break;
        default: replyLength = 0; return;
        }
        if (function >= 5) {
            putWord(static_cast<unsigned short>(address));
            putWord(static_cast<unsigned short>(quantity));
        }
        const unsigned short crc = ModbusRTUCrc(reply, replyLength);
        put(static_cast<unsigned char>(crc & 0xFF));
        put(static_cast<unsigned char>(crc >> 8));
    }

    // Hands out the reply as a port does: at most maxLength bytes per call.
    int take(unsigned char* buffer, int maxLength)
    {
        int served = replyLength - readPosition;
        if (served > maxLength)
            served = maxLength;
        if (served <= 0)
            return 0;
        std::memcpy(buffer, reply + readPosition, static_cast<size_t>(served));
        readPosition += served;
        return served;
    }
    int pending() const { return replyLength - readPosition; }

private:
    static int word(const unsigned char* at) { return (at[0] << 8) | at[1]; }
    void put(unsigned char byte) { reply[replyLength++] = byte; }
    void putWord(unsigned short value)
    {
        put(static_cast<unsigned char>(value >> 8));
        put(static_cast<unsigned char>(value & 0xFF));
    }

    unsigned char reply[300];
    int replyLength = 0;
    int readPosition = 0;
};

#endif
