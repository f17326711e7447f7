#ifndef REGISTER_SOURCE_H
#define REGISTER_SOURCE_H

#include <QByteArray>

// The register values of a write, taken straight from the caller's bytes so
// that no converted copy is made. Host words hold each register low byte
// first (an odd last byte is a register whose high byte is 0); host double
// words with the high word first put bits 16-31 of every 32-bit value in the
// first register of its pair (a part value is padded with zero bytes); a
// register image already holds each register high byte first.
class RegisterSource {
public:
    enum Layout { HostWords, HostDoubleWordsHighFirst, RegisterImage };

    RegisterSource(const unsigned char* bytes, long long length, Layout layout)
        : bytes(bytes), length(length), layout(layout) {}
    RegisterSource(const QByteArray& data, Layout layout)
        : RegisterSource(reinterpret_cast<const unsigned char*>(data.constData()), data.size(), layout) {}

    // Registers of the padded data, as many as a conversion to whole units gives.
    long long registers() const
    {
        return layout == HostDoubleWordsHighFirst ? (length + 3) / 4 * 2 : (length + 1) / 2;
    }
    // Register r as it goes on the wire: high byte, then low byte.
    unsigned char highByte(long long r) const { return byteAt(r, true); }
    unsigned char lowByte(long long r) const { return byteAt(r, false); }
    unsigned short value(long long r) const
    {
        if (layout == HostWords && 2 * r + 1 < length)
            return static_cast<unsigned short>(bytes[2 * r + 1] << 8 | bytes[2 * r]);
        return static_cast<unsigned short>(highByte(r) << 8 | lowByte(r));
    }

    // The image of all registers, each high byte first, into 2 * registers() bytes.
    void copyImageTo(unsigned char* image) const
    {
        const long long count = registers();
        if (layout == HostWords && length == 2 * count) {
            for (long long k = 0; k < length; k += 2) {
                image[k] = bytes[k + 1];
                image[k + 1] = bytes[k];
            }
            return;
        }
        for (long long r = 0; r < count; ++r) {
            image[2 * r] = highByte(r);
            image[2 * r + 1] = lowByte(r);
        }
    }

private:
    unsigned char byteAt(long long r, bool high) const
    {
        long long index = 0;
        switch (layout) {
        case HostWords: index = 2 * r + (high ? 1 : 0); break;
        case HostDoubleWordsHighFirst: index = 4 * (r / 2) + (r % 2 == 0 ? 2 : 0) + (high ? 1 : 0); break;
        case RegisterImage: index = 2 * r + (high ? 0 : 1); break;
        }
        return index < length ? bytes[index] : 0;
    }

    const unsigned char* bytes;
    long long length;
    Layout layout;
};

#endif
