// Reads of the driver-side registers behind HR60000..HR60010.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/driver_side_registers.h"
#include "tools/byte_order.h"

QByteArray DriverTecoServo::readSpecialHRWords(AbstractDeviceInterface* port, unsigned short address,
                                               int count)
{
    using namespace SpecialRegisters;
    const int index = indexOf(address);
    if (count < 1 || index >= Count || count > Count - index) {
        setCommError(QString::asprintf("can't read any word from HR%d", address + 1));
        return QByteArray();
    }

    // Only the monitored entry lives on a servo; an empty station list leaves it as it is.
    if (index + count > MonitoredEntry && specialRegisters.at(StationCountEntry) != 0) {
        const unsigned char station =
            static_cast<unsigned char>(specialRegisters.at(ReadStationEntry) & 0xFF);
        const QByteArray value =
            readWords(port, QByteArrayLiteral("HR"), MonitoredServoRegister, 1, station);
        if (!value.isEmpty())
            specialRegisters[MonitoredEntry] = QByteArrayToWord(value);
    }

    QByteArray result;
    result.reserve(2 * count);
    for (int entry = index; entry < index + count; ++entry)
        result.append(wordToByteArray(specialRegisters.at(entry)));
    return result;
}
