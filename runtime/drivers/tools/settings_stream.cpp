// Data-stream form of the settings records. No header, magic or version of our
// own: the stream's byte order and version are whoever opened it.
#include <QDataStream>

#include "tools/device_setting.h"
#include "tools/driver_setting.h"

QDataStream& operator<<(QDataStream& stream, const DriverSetting& setting)
{
    stream << qint32(setting.timeout) << qint32(setting.retry) << qint32(setting.stationid)
           << qint32(setting.delay);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, DriverSetting& setting)
{
    qint32 timeout, retry, stationid, delay;
    stream >> timeout >> retry >> stationid >> delay;
    setting.timeout = timeout;
    setting.retry = retry;
    setting.stationid = stationid;
    setting.delay = delay;
    return stream;
}

QDataStream& operator<<(QDataStream& stream, const DeviceSetting& setting)
{
    stream << qint32(setting.type) << setting.string << qint32(setting.baudrate)
           << qint32(setting.databits) << qint32(setting.stopbits) << qint32(setting.parity)
           << qint32(setting.extraInt) << qint32(setting.linkID) << qint32(setting.currentIPIndex);
    stream << quint32(setting.socketData.size());
    for (const DeviceSetting::Endpoint& endpoint : setting.socketData)
        stream << endpoint.first << quint16(endpoint.second);
    return stream;
}

// The endpoint list is read entry by entry and stops once the stream ends, so a
// hostile count costs no more than the entries the stream really holds (Qt 5's
// own list reader would reserve the claimed count up front).
static QList<DeviceSetting::Endpoint> readEndpoints(QDataStream& stream)
{
    QList<DeviceSetting::Endpoint> endpoints;
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count; ++i) {
        QString ip;
        quint16 port = 0;
        stream >> ip >> port;
        endpoints.append(DeviceSetting::Endpoint(ip, port));
        // A corrupt entry (odd text length) would otherwise keep us reading garbage.
        if (stream.atEnd() || stream.status() != QDataStream::Ok)
            break;
    }
    return endpoints;
}

QDataStream& operator>>(QDataStream& stream, DeviceSetting& setting)
{
    qint32 type, baudrate, databits, stopbits, parity, extraInt, linkID, currentIPIndex;
    QString string;
    stream >> type >> string >> baudrate >> databits >> stopbits >> parity >> extraInt >> linkID
        >> currentIPIndex;
    setting.type = static_cast<device_type>(type);
    setting.string = string;
    setting.baudrate = baudrate;
    setting.databits = databits;
    setting.stopbits = stopbits;
    setting.parity = parity;
    setting.extraInt = extraInt;
    setting.linkID = linkID;
    setting.socketData = readEndpoints(stream);
    setting.setCurrentIPIndex(currentIPIndex);
    return stream;
}
