// Reads of the special registers behind HR60000..HR60010.
#include "teco_servo/driver_teco_servo.h"

QByteArray DriverTecoServo::readSpecialHRWords(AbstractDeviceInterface* port, unsigned short address,
                                               int count)
{
    using R = SpecialRegisters;
    const int index = R::indexOf(address);
    if (count < 1 || index >= R::Count || count > R::Count - index) {
        setCommError(QString::asprintf("can't read any word from HR%d", address + 1));
        return QByteArray();
    }

    // Only the monitored entry lives on a servo; an empty station list leaves it as it is.
    if (index + count > R::MonitoredEntry && specialRegisters.at(R::StationCountEntry) != 0) {
        ReplyBuffer reply;
        if (readRegisterImage(port, AreaLetters(QByteArrayLiteral("HR")), R::MonitoredServoRegister, 1, "word",
                              Station::given(specialRegisters.readStation()), SkipCrc, reply))
            specialRegisters[R::MonitoredEntry] = static_cast<unsigned short>(reply.data()[0] << 8 | reply.data()[1]);
    }

    // Each entry low byte first, as host words.
    QByteArray result(2 * count, Qt::Uninitialized);
    for (int k = 0; k < count; ++k) {
        result[2 * k] = static_cast<char>(specialRegisters.at(index + k) & 0xFF);
        result[2 * k + 1] = static_cast<char>(specialRegisters.at(index + k) >> 8);
    }
    return result;
}
