// A run of host commands (read, write, validation) with any data type, count,
// address text and data on one driver object, against a line whose replies,
// chunking, retry count, station id and delay come from the input.
#include <QByteArray>
#include <QString>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>

#include "common/fuzz_check.h"
#include "interface/driver_interface.h"
#include "teco_servo/fuzz_line.h"
#include "tools/command_helpers.h"

extern "C" DriverInterface* CreateDriver();

namespace {

// What the driver asked to sleep since the last look. The driver's sleep is
// replaced here (this definition wins over the toolkit's at link time), so that
// any delay costs nothing.
QList<unsigned long> sleeps;

const char* const Areas[] = {"HR", "FN6HR", "IR", "DO", "FN5DO", "DI", "hr", "dix", "FN6", "", "X"};
const int Numbers[] = {1, 100, 1300, 59999, 60000, 60001, 60005, 60009, 60010, 60011, 65535, 65536, 65537};

int pickInt(FuzzedDataProvider& input, int low, int high)
{
    // Mostly a value of the range that matters, sometimes any int at all.
    return input.ConsumeIntegralInRange<int>(0, 7) == 0 ? input.ConsumeIntegral<int>()
                                                         : input.ConsumeIntegralInRange<int>(low, high);
}

QString pickAddress(FuzzedDataProvider& input)
{
    if (input.ConsumeBool())
        return QString::fromUtf8(input.ConsumeRandomLengthString(24).c_str());
    QString text = QLatin1String(Areas[input.ConsumeIntegralInRange<size_t>(0, std::size(Areas) - 1)]);
    text += QString::number(input.ConsumeBool() ? Numbers[input.ConsumeIntegralInRange<size_t>(0, std::size(Numbers) - 1)]
                                                : input.ConsumeIntegral<uint32_t>());
    if (input.ConsumeBool())
        text += QLatin1Char('.') + QString::number(input.ConsumeIntegralInRange<int>(0, 300));
    if (input.ConsumeBool())
        text += QLatin1String(input.ConsumeBool() ? "SW" : "sw");
    return text;
}

// A zero-filled read-only mapping that stands for write data of any length
// without memory: only its pages that are read ever exist.
const char* hugeZeroes()
{
    static void* map = mmap(nullptr, static_cast<size_t>(INT_MAX), PROT_READ,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    FUZZ_REQUIRE(map != MAP_FAILED, "reserve address space");
    return static_cast<const char*>(map);
}

QByteArray pickData(FuzzedDataProvider& input, const CommunicatorCommand& command)
{
    // Data of about 2 GiB for the bit writes, whose bounds add a length to an
    // address or bit number.
    const bool bits = command.dataType == Bit || command.dataType == BitBlock;
    if (bits && input.ConsumeIntegralInRange<int>(0, 15) == 0)
        return QByteArray::fromRawData(hugeZeroes(), INT_MAX - input.ConsumeIntegralInRange<int>(0, 65535));
    const std::string bytes = input.ConsumeRandomLengthString(300);
    return QByteArray(bytes.data(), static_cast<int>(bytes.size()));
}

// A failed command is told by hasError() and explained by a text.
void checkFailureText(DriverInterface& driver)
{
    if (driver.hasError())
        FUZZ_REQUIRE(!driver.getLastError().isEmpty(), "a failure leaves a text");
}

void checkSleeps(const FuzzLine& line)
{
    for (unsigned long milliseconds : sleeps)
        FUZZ_REQUIRE(line.delayValue() > 0 && milliseconds == static_cast<unsigned long>(line.delayValue()),
                     "every pause is the port's delay, and only a positive one");
    sleeps.clear();
}

} // namespace

void HRSleep(unsigned long milliseconds)
{
    sleeps.append(milliseconds);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider input(bytes, size);
    const bool framed = input.ConsumeBool();
    const int retry = pickInt(input, -1, 3);
    const int station = pickInt(input, 0, 256);
    const int delay = pickInt(input, -1, 2);
    FuzzLine line(input, framed, retry, station, delay);

    DriverInterface* driver = CreateDriver();
    sleeps.clear();
    for (int n = 0; n < 6 && input.remaining_bytes() > 0; ++n) {
        const int operation = input.ConsumeIntegralInRange<int>(0, 2);
        CommunicatorCommand command(pickInt(input, -1, 7), pickInt(input, -9, 2100), pickAddress(input));
        if (operation == 0) {
            const QByteArray result = driver->read(&line, command);
            checkFailureText(*driver);
            if (!driver->hasError())
                FUZZ_REQUIRE(result.size() == GetSafeDataLen(command), "a read returns the command's data length");
            else
                // Only a failed refresh of the driver-side table still returns the table's bytes.
                FUZZ_REQUIRE(result.isEmpty() || (command.dataType == Word && result.size() <= 22),
                             "a failed read returns nothing");
        } else if (operation == 1) {
            const bool written = driver->write(&line, command, pickData(input, command));
            FUZZ_REQUIRE(written == !driver->hasError(), "a write succeeds exactly when no error is left");
            checkFailureText(*driver);
        } else {
            driver->validation(QString::fromUtf8(input.ConsumeRandomLengthString(24).c_str()));
        }
        checkSleeps(line);
    }
    delete driver;
    return 0;
}
