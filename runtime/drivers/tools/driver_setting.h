#ifndef DRIVER_SETTING_H
#define DRIVER_SETTING_H

#include <QString>

#include "tools/drivertools_export.h"

class QDataStream;

// A driver's protocol parameters. Units of timeout and delay are the host's
// (the servo driver's port layer reads both as milliseconds).
class DRIVERTOOLS_EXPORT DriverSetting {
public:
    DriverSetting(int timeout, int retry, int stationid, int delay);
    // text and number are accepted for the host's sake and not kept.
    DriverSetting(int timeout, int retry, int stationid, int delay, const QString& text,
                  unsigned short number);
    DriverSetting(int timeout, int retry, int stationid, int delay, const QString& text,
                  unsigned short number, const QString& extraString, bool extraFlag);

    // Takes the four numbers and extraString; extraFlag keeps its own value.
    void copy(const DriverSetting& other);
    // One debug-level line: "timeout: 500 retry: 3 stationid: 1 delay: 0 ".
    void dump() const;

    int timeout;
    int retry;
    int stationid;
    int delay;
    QString extraString;
    bool extraFlag = false; // nothing reads it; a fixed start value keeps records comparable
};

// Stream form: the four numbers as 32-bit ints, nothing else.
DRIVERTOOLS_EXPORT QDataStream& operator<<(QDataStream& stream, const DriverSetting& setting);
DRIVERTOOLS_EXPORT QDataStream& operator>>(QDataStream& stream, DriverSetting& setting);

#endif
