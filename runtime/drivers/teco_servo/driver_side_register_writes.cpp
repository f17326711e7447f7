// Writes to the driver-side registers HR60000..HR60010. Entries 0 to 9 are only
// stored; a write of entry 10, the monitored servo register, goes first to
// register 1299 of every servo of the station list and is stored once all of
// them acknowledged.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/driver_side_registers.h"
#include "tools/bit_array.h"

using namespace SpecialRegisters;

namespace {

// Host word w of data, low byte first; a missing high byte counts as 0.
unsigned short hostWordAt(const QByteArray& data, int w)
{
    const int low = 2 * w;
    const unsigned char lowByte = low < data.size() ? static_cast<unsigned char>(data.at(low)) : 0;
    const unsigned char highByte = low + 1 < data.size() ? static_cast<unsigned char>(data.at(low + 1)) : 0;
    return static_cast<unsigned short>(lowByte | (highByte << 8));
}

// The list has room for 8 stations, so entries 9 and 10 never act as stations.
void capStationCount(QVector<unsigned short>& table)
{
    if (table[StationCountEntry] > MaxStations)
        table[StationCountEntry] = MaxStations;
}

} // namespace

template <typename WriteStation>
bool DriverTecoServo::writeListedStations(AbstractDeviceInterface* port, int& progress,
                                          WriteStation writeStation)
{
    const int stations = qMin<int>(specialRegisters.at(StationCountEntry), MaxStations);
    if (progress < 0)
        progress = 0;
    // progress counts the stations already acknowledged, so a retried command
    // resumes at the station that failed.
    while (progress < stations) {
        const unsigned char station = static_cast<unsigned char>(specialRegisters.at(progress + 1) & 0xFF);
        if (!writeStation(station))
            return false;
        if (progress + 1 < stations)
            pauseForPortDelay(port);
        ++progress;
    }
    return true;
}

bool DriverTecoServo::writeSpecialWords(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data, int& progress,
                                        WriteFunction function)
{
    const int index = indexOf(address);
    // An odd last byte is one more (padded) word, as in the servo writes.
    const int words = (data.size() + 1) / 2;
    if (index + words <= MonitoredEntry) {
        for (int w = 0; w < words; ++w)
            specialRegisters[index + w] = hostWordAt(data, w);
        capStationCount(specialRegisters);
        if (specialRegisters[ReadStationEntry] > MaxStations)
            specialRegisters[ReadStationEntry] = MaxStations;
        return true;
    }
    // Entry 10 holds one word: only that one word alone goes to the servos.
    if (index != MonitoredEntry || words != 1) {
        setCommError(QStringLiteral("can't write any word to HR") + QString::number(address + 1));
        return false;
    }
    const bool written = writeListedStations(port, progress, [&](unsigned char station) {
        return function == WithFN6 ? writeWordsWithFN6(port, MonitoredServoRegister, data, station)
                                   : writeWords(port, MonitoredServoRegister, data, station);
    });
    if (!written)
        return false;
    specialRegisters[MonitoredEntry] = hostWordAt(data, 0);
    return true;
}

bool DriverTecoServo::writeSpecialBit(AbstractDeviceInterface* port, unsigned short address,
                                      unsigned char bit, const QByteArray& data, int& progress,
                                      WriteFunction function)
{
    const int index = indexOf(address);
    // Bits past bit 15 would reach servo registers beyond the monitored one.
    if (index > MonitoredEntry || bit + data.size() > 16) {
        setCommError(QStringLiteral("can't write any bit to HR") + QString::number(address + 1));
        return false;
    }
    if (index == MonitoredEntry) {
        const bool written = writeListedStations(port, progress, [&](unsigned char station) {
            return function == WithFN6 ? writeHRbitWithFN6(port, MonitoredServoRegister, bit, data, station)
                                       : writeHRbit(port, MonitoredServoRegister, bit, data, station);
        });
        if (!written) {
            capStationCount(specialRegisters);
            return false;
        }
    }
    unsigned short& entry = specialRegisters[index];
    const bool on = !data.isEmpty() && data.at(0) != 0;
    entry = on ? setBit(entry, static_cast<unsigned short>(bit))
               : clearBit(entry, static_cast<unsigned short>(bit));
    // Whatever bit is written to the station count, the list is taken as full.
    if (index == StationCountEntry)
        specialRegisters[StationCountEntry] = MaxStations;
    capStationCount(specialRegisters);
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
