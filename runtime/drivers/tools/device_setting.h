#ifndef DEVICE_SETTING_H
#define DEVICE_SETTING_H

#include <QList>
#include <QPair>
#include <QString>
#include <QtGlobal>

#include "tools/drivertools_export.h"

class QDataStream;

// Kinds of port. Only 16, the serial port of the servo driver's default record,
// is used by this system; every other value belongs to the host, so the type
// holds any 32-bit value.
enum device_type : qint32 {
    SerialDevice = 16
};

// One communication port: kind, device string, line parameters, project link and
// a list of network endpoints of which one is current.
class DRIVERTOOLS_EXPORT DeviceSetting {
public:
    typedef QPair<QString, unsigned short> Endpoint;

    DeviceSetting(device_type type, QString string, int baudrate, int databits, int stopbits,
                  int parity);
    DeviceSetting(device_type type, QString string, int baudrate, int databits, int stopbits,
                  int parity, int extraInt, QString extraString);

    // index -1 means the entry at currentIPIndex; outside the list: 0 / null text.
    unsigned short port(int index = -1) const;
    QString socketIP(int index = -1) const;
    // Change one field of an existing entry; any other index changes nothing.
    void setPort(unsigned short port, int index = -1);
    void setSocketIP(const QString& ip, int index = -1);
    // Accepted only for the position of an existing entry.
    void setCurrentIPIndex(int index);
    // Port texts are read as decimal 0..65535; anything else becomes port 0.
    // currentIPIndex is left as it is.
    void setSocketData(const QList<QPair<QString, QString>>& data);
    void dump() const;

    device_type type;
    QString string;
    int baudrate;
    int databits;
    int stopbits;
    int parity;
    int extraInt = 0;
    QString extraString;
    int linkID = -1;
    int currentIPIndex = 0;
    QList<Endpoint> socketData;

private:
    // The list position an index names, or -1 when it names none.
    int entryPosition(int index) const;
};

DRIVERTOOLS_EXPORT QDataStream& operator<<(QDataStream& stream, const DeviceSetting& setting);
DRIVERTOOLS_EXPORT QDataStream& operator>>(QDataStream& stream, DeviceSetting& setting);

#endif
