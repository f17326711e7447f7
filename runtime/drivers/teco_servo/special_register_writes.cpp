// Writes to the special registers HR60000..HR60010. Entries 0 to 9 are only
// stored; a write of entry 10, the monitored servo register, goes first to
// register 1299 of every servo of the station list and is stored once all of
// them acknowledged.
#include "teco_servo/command_attempts.h"
#include "tools/bit_array.h"

using R = SpecialRegisters;

namespace {

// Host word w of data, low byte first; a missing high byte counts as 0.
unsigned short hostWordAt(const QByteArray& data, long long w)
{
    const RegisterSource words(data, RegisterSource::HostWords);
    return words.value(w);
}

} // namespace

template <typename WriteStation>
bool DriverTecoServo::writeListedStations(AbstractDeviceInterface* port, int& progress, WriteStation writeStation)
{
    const int stations = specialRegisters.listedStations();
    if (progress < 0)
        progress = 0;
    // progress counts the stations already acknowledged, so a retried command
    // resumes at the station that failed.
    while (progress < stations) {
        if (!writeStation(Station::given(specialRegisters.stationAt(progress + 1))))
            return false;
        if (progress + 1 < stations)
            pauseForPortDelay(port);
        ++progress;
    }
    return true;
}

bool DriverTecoServo::writeSpecialWords(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data, int& progress, WriteFunction function)
{
    const int index = R::indexOf(address);
    // An odd last byte is one more (padded) word, as in the servo writes.
    const long long words = RegisterSource(data, RegisterSource::HostWords).registers();
    if (index + words <= R::MonitoredEntry) {
        for (int w = 0; w < words; ++w)
            specialRegisters[index + w] = hostWordAt(data, w);
        specialRegisters.capStationCount();
        specialRegisters.capReadStation();
        return true;
    }
    // Entry 10 holds one word: only that one word alone goes to the servos.
    if (index != R::MonitoredEntry || words != 1) {
        setCommError(QStringLiteral("can't write any word to HR") + QString::number(address + 1));
        return false;
    }
    const RegisterSource value(data, RegisterSource::HostWords);
    const bool written = writeListedStations(port, progress, [&](Station station) {
        return function == WithFN6
            ? writeRegistersWithFN6(port, R::MonitoredServoRegister, value, station, "word")
            : writeRegistersWithFN16(port, R::MonitoredServoRegister, value, station, "word");
    });
    if (!written)
        return false;
    specialRegisters[R::MonitoredEntry] = hostWordAt(data, 0);
    return true;
}

bool DriverTecoServo::writeSpecialBit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                                      const QByteArray& data, int& progress, WriteFunction function)
{
    const int index = R::indexOf(address);
    // Bits past bit 15 would reach servo registers beyond the monitored one.
    // Counted wide, so that no data length wraps the bound.
    if (index > R::MonitoredEntry || bit + static_cast<long long>(data.size()) > 16) {
        setCommError(QStringLiteral("can't write any bit to HR") + QString::number(address + 1));
        return false;
    }
    if (index == R::MonitoredEntry) {
        const bool written = writeListedStations(port, progress, [&](Station station) {
            return writeBits(port, R::MonitoredServoRegister, bit, data, station, function);
        });
        if (!written) {
            specialRegisters.capStationCount();
            return false;
        }
    }
    unsigned short& entry = specialRegisters[index];
    const bool on = !data.isEmpty() && data.at(0) != 0;
    entry = on ? setBit(entry, static_cast<unsigned short>(bit)) : clearBit(entry, static_cast<unsigned short>(bit));
    // Whatever bit is written to the station count, the list is taken as full.
    if (index == R::StationCountEntry)
        specialRegisters[R::StationCountEntry] = R::MaxStations;
    specialRegisters.capStationCount();
    return true;
}

bool DriverTecoServo::writeSpecialHRWords(AbstractDeviceInterface* port, unsigned short address,
                                          const QByteArray& data, int& progress)
{
    return writeSpecialWords(port, address, data, progress, WithFN16);
}

bool DriverTecoServo::writeSpecialFN6HRWords(AbstractDeviceInterface* port, unsigned short address,
                                             const QByteArray& data, int& progress)
{
    return writeSpecialWords(port, address, data, progress, WithFN6);
}

bool DriverTecoServo::writeSpecialHRbit(AbstractDeviceInterface* port, unsigned short address,
                                        unsigned char bit, const QByteArray& data, int& progress)
{
    return writeSpecialBit(port, address, bit, data, progress, WithFN16);
}

bool DriverTecoServo::writeSpecialFN6HRbit(AbstractDeviceInterface* port, unsigned short address,
                                           unsigned char bit, const QByteArray& data, int& progress)
{
    return writeSpecialBit(port, address, bit, data, progress, WithFN6);
}
