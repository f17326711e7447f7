#include "simulator/simulated_station.h"
#include "port/system_error.h"
#include "rtu/rtu_frame.h"

#include <modbus/modbus.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int BankSize = 65536;

bool inBank(int address)
{
    return address >= 0 && address < BankSize;
}

} // namespace

SimulatedStation::SimulatedStation(int id) : stationId(id)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        error = systemError("socketpair");
        return;
    }
    libraryEnd = ends[0];
    ourEnd = ends[1];
    fcntl(ourEnd, F_SETFL, fcntl(ourEnd, F_GETFL) | O_NONBLOCK);

    // The device name is never opened: the context only ever writes to our socket.
    context = modbus_new_rtu("/dev/null", 9600, 'N', 8, 1);
    mapping = modbus_mapping_new(BankSize, BankSize, BankSize, BankSize);
    if (context == nullptr || mapping == nullptr) {
        error = std::string("libmodbus: ") + modbus_strerror(errno);
        return;
    }
    modbus_set_slave(context, stationId);
    modbus_set_socket(context, libraryEnd);
    // libmodbus waits out its response time-out before some exception replies to
    // let a confused master fall silent; our line is never confused that way.
    modbus_set_response_timeout(context, 0, 1);
}

SimulatedStation::~SimulatedStation()
{
    if (mapping != nullptr)
        modbus_mapping_free(mapping);
    if (context != nullptr)
        modbus_free(context); // does not close the socket: we own it
    if (libraryEnd >= 0)
        close(libraryEnd);
    if (ourEnd >= 0)
        close(ourEnd);
}

std::vector<uint8_t> SimulatedStation::drainReply()
{
    std::vector<uint8_t> reply;
    uint8_t chunk[512];
    for (;;) {
        const ssize_t got = read(ourEnd, chunk, sizeof chunk);
        if (got <= 0)
            break;
        reply.insert(reply.end(), chunk, chunk + got);
    }
    return reply;
}

std::vector<uint8_t> SimulatedStation::answer(const std::vector<uint8_t>& request)
{
    if (!valid() || request.size() < 4)
        return {};
    modbus_reply(context, request.data(), static_cast<int>(request.size()), mapping);
    return drainReply();
}

std::vector<uint8_t> SimulatedStation::exceptionReply(const std::vector<uint8_t>& request, uint8_t code)
{
    if (!valid())
        return {};
    modbus_reply_exception(context, request.data(), code);
    return drainReply();
}

std::vector<uint8_t> SimulatedStation::reply(const std::vector<uint8_t>& request, int* delayMs)
{
    *delayMs = 0;
    if (!faults.any() || faults.remaining == 0)
        return answer(request);
    if (faults.remaining > 0)
        --faults.remaining;

    const bool refused = faults.exceptionAddress >= 0 && request.size() >= 4
                      && ((request[2] << 8) | request[3]) == faults.exceptionAddress;
    std::vector<uint8_t> reply = refused ? exceptionReply(request, faults.exceptionCode) : answer(request);
    if (faults.silent)
        return {};
    *delayMs = faults.replyDelayMs;
    if (faults.wrongSlaveId >= 0 && !reply.empty()) {
        reply[0] = static_cast<uint8_t>(faults.wrongSlaveId);
        Rtu::stampCrc(reply.data(), reply.size());
    }
    if (faults.wrongFunctionCode && reply.size() >= 4) {
        // Keeps the exception bit: 3 becomes 4, 0x83 becomes 0x84, 127 becomes 1.
        const uint8_t function = reply[1] & 0x7F;
        reply[1] = static_cast<uint8_t>((reply[1] & 0x80) | (function % 127 + 1));
        Rtu::stampCrc(reply.data(), reply.size());
    }
    if (faults.corruptCrc && !reply.empty())
        reply.back() ^= 0xFF;
    if (faults.dropReplyBytes > 0) {
        const size_t drop = std::min(reply.size(), static_cast<size_t>(faults.dropReplyBytes));
        reply.resize(reply.size() - drop);
    }
    if (faults.extraReplyBytes > 0 && !reply.empty())
        reply.insert(reply.end(), static_cast<size_t>(std::min(faults.extraReplyBytes, 256)), 0xFF);
    return reply;
}

uint16_t SimulatedStation::holdingRegister(int address) const
{
    return valid() && inBank(address) ? mapping->tab_registers[address] : 0;
}

void SimulatedStation::setHoldingRegister(int address, uint16_t value)
{
    if (valid() && inBank(address))
        mapping->tab_registers[address] = value;
}

uint16_t SimulatedStation::inputRegister(int address) const
{
    return valid() && inBank(address) ? mapping->tab_input_registers[address] : 0;
}

void SimulatedStation::setInputRegister(int address, uint16_t value)
{
    if (valid() && inBank(address))
        mapping->tab_input_registers[address] = value;
}

bool SimulatedStation::coil(int address) const
{
    return valid() && inBank(address) && mapping->tab_bits[address] != 0;
}

void SimulatedStation::setCoil(int address, bool on)
{
    if (valid() && inBank(address))
        mapping->tab_bits[address] = on ? 1 : 0;
}

bool SimulatedStation::discreteInput(int address) const
{
    return valid() && inBank(address) && mapping->tab_input_bits[address] != 0;
}

void SimulatedStation::setDiscreteInput(int address, bool on)
{
    if (valid() && inBank(address))
        mapping->tab_input_bits[address] = on ? 1 : 0;
}
