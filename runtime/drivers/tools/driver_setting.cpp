#include "tools/driver_setting.h"

#include <QDebug>

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay)
    : timeout(timeout), retry(retry), stationid(stationid), delay(delay)
{
}

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay, const QString&,
                             unsigned short)
    : DriverSetting(timeout, retry, stationid, delay)
{
}

DriverSetting::DriverSetting(int timeout, int retry, int stationid, int delay, const QString&,
                             unsigned short, const QString& extraString, bool extraFlag)
    : timeout(timeout), retry(retry), stationid(stationid), delay(delay),
      extraString(extraString), extraFlag(extraFlag)
{
}

void DriverSetting::copy(const DriverSetting& other)
{
    timeout = other.timeout;
    retry = other.retry;
    stationid = other.stationid;
    delay = other.delay;
    extraString = other.extraString;
}

void DriverSetting::dump() const
{
    // Every item is followed by a space, the last one included.
    qDebug().noquote().nospace() << QStringLiteral("timeout: %1 retry: %2 stationid: %3 delay: %4 ")
                                        .arg(timeout).arg(retry).arg(stationid).arg(delay);
}
