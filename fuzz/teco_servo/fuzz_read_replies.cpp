// Arbitrary reply bytes for every kind of read command: the driver must stay
// inside its buffers and return either nothing after an error or the command's
// data length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"

namespace {

struct Command {
    int dataType;
    int count;
    const char* address;
    int size;             // data length of a successful read
    bool tableOnFailure;  // a failed refresh still returns the table bytes
};

// The largest reads of each operation, and the special table with its refresh.
const Command commands[] = {
    {Word, 125, "HR1", 250, false},     {Word, 10, "IR100", 20, false},
    {DoubleWord, 62, "HR1SW", 248, false}, {DoubleWord, 3, "IR7", 12, false},
    {Byte, 249, "HR1", 249, false},     {Block, 5, "FN6HR9", 5, false},
    {Bit, 2008, "DO1", 251, false},     {Bit, 13, "DI9", 2, false},
    {BitBlock, 2000, "HR1.0", 250, false}, {Bit, 17, "HR65520.255", 3, false},
    {Word, 11, "HR60000", 22, true},    {Word, 1, "HR60010", 2, true},
};
const int commandCount = static_cast<int>(sizeof commands / sizeof commands[0]);

// Entries of the special table that make HR60010 ask station 1.
class FuzzDriver : public DriverTecoServo {
public:
    FuzzDriver()
    {
        specialRegisters[0] = 1;
        specialRegisters[9] = 1;
    }
};

} // namespace

// Input: one byte choosing the command, one byte of retries, then chunks of
// [length][bytes]; a length of 0 is a receive that gets nothing.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const Command& command = commands[data[0] % commandCount];
    ScriptedPort port;
    port.setRetry(data[1] % 4);
    size_t at = 2;
    while (at < size) {
        const size_t length = data[at++];
        if (length == 0) {
            port.queueSilence();
            continue;
        }
        const size_t taken = length < size - at ? length : size - at;
        port.queueBytes(QByteArray(reinterpret_cast<const char*>(data + at), static_cast<int>(taken)));
        at += taken;
    }

    FuzzDriver driver;
    const QByteArray result =
        driver.read(&port, CommunicatorCommand(command.dataType, command.count, command.address));
    const bool wrongSize = driver.hasError() ? !result.isEmpty() && !command.tableOnFailure
                                             : result.size() != command.size;
    if (wrongSize)
        std::abort();
    return 0;
}
