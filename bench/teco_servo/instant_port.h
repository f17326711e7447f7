#ifndef INSTANT_PORT_H
#define INSTANT_PORT_H

#include <QByteArray>
#include <QVariant>
#include <algorithm>
#include <array>
#include <cstring>

#include "interface/abstract_device_interface.h"
#include "teco_servo/modbus_rtu_frame.h"

// A servo that answers every request at once from an in-memory bank: 65536
// registers (functions 3, 4, 6, 16) and 65536 bits (coils and inputs alike:
// functions 1, 2, 5, 15). Requests for another slave, or that it cannot
// parse, go unanswered. After warming up it allocates nothing, so a benchmark
// counts only the driver's allocations.
class InstantPort : public AbstractDeviceInterface {
public:
    explicit InstantPort(int station = 1) : station(station)
    {
        registers.fill(0);
        bits.fill(0);
        reply.reserve(300);
    }

    unsigned short registerAt(int address) const { return registers[address & 0xFFFF]; }
    void setRegister(int address, unsigned short value) { registers[address & 0xFFFF] = value; }
    bool bitAt(int address) const { return bits[address & 0xFFFF] != 0; }
    void setBit(int address, bool on) { bits[address & 0xFFFF] = on ? 1 : 0; }
    int requests() const { return sent; }

    int receive(char* buffer, int maxLength) override
    {
        const int served = std::max(0, std::min(maxLength, static_cast<int>(reply.size()) - readPosition));
        std::memcpy(buffer, reply.constData() + readPosition, static_cast<size_t>(served));
        readPosition += served;
        return served;
    }

    int send(const char* data, int length) override
    {
        ++sent;
        reply.resize(0);
        readPosition = 0;
        answer(reinterpret_cast<const unsigned char*>(data), length);
        return length;
    }

    bool setOption(int, const QVariant&) override { return true; }
    int getRetry() override { return 0; }
    int getStationId() override { return station; }
    int getDelay() override { return 0; }

private:
    static int word(const unsigned char* at) { return (at[0] << 8) | at[1]; }

    void appendWord(int value)
    {
        reply.append(static_cast<char>((value >> 8) & 0xFF));
        reply.append(static_cast<char>(value & 0xFF));
    }

    void answer(const unsigned char* request, int length)
    {
        if (length < 8 || request[0] != station)
            return;
        const int function = request[1];
        const int address = word(request + 2);
        const int quantity = word(request + 4);
        reply.append(static_cast<char>(request[0]));
        reply.append(static_cast<char>(function));
        switch (function) {
        case 1:
        case 2: {
            const int bytes = (quantity + 7) / 8;
            reply.append(static_cast<char>(bytes));
            for (int b = 0; b < bytes; ++b) {
                int packed = 0;
                for (int k = 0; k < 8 && 8 * b + k < quantity; ++k)
                    packed |= bits[(address + 8 * b + k) & 0xFFFF] << k;
                reply.append(static_cast<char>(packed));
            }
            break;
        }
        case 3:
        case 4:
            reply.append(static_cast<char>((2 * quantity) & 0xFF));
            for (int k = 0; k < quantity; ++k)
                appendWord(registers[(address + k) & 0xFFFF]);
            break;
        case 5:
            bits[address] = quantity == 0xFF00 ? 1 : 0;
            appendWord(address);
            appendWord(quantity);
            break;
        case 6:
            registers[address] = static_cast<unsigned short>(quantity);
            appendWord(address);
            appendWord(quantity);
            break;
        case 15:
            if (length < 9 + request[6]) {
                reply.resize(0);
                return;
            }
            for (int k = 0; k < quantity && k / 8 < request[6]; ++k)
                bits[(address + k) & 0xFFFF] = (request[7 + k / 8] >> (k % 8)) & 1;
            appendWord(address);
            appendWord(quantity);
            break;
        case 16:
            if (length < 9 + request[6]) {
                reply.resize(0);
                return;
            }
            for (int k = 0; k < quantity && 2 * k + 1 < request[6]; ++k)
                registers[(address + k) & 0xFFFF] = static_cast<unsigned short>(word(request + 7 + 2 * k));
            appendWord(address);
            appendWord(quantity);
            break;
        default:
            reply.resize(0);
            return;
        }
        ModbusRTUSlaveAppendCRC(reply);
    }

    int station;
    std::array<unsigned short, 65536> registers;
    std::array<unsigned char, 65536> bits;
    QByteArray reply;
    int readPosition = 0;
    int sent = 0;
};

#endif
