#include "tools/device_setting.h"

#include <QDebug>

DeviceSetting::DeviceSetting(device_type type, QString string, int baudrate, int databits,
                             int stopbits, int parity)
    : type(type), string(string), baudrate(baudrate), databits(databits), stopbits(stopbits),
      parity(parity)
{
}

DeviceSetting::DeviceSetting(device_type type, QString string, int baudrate, int databits,
                             int stopbits, int parity, int extraInt, QString extraString)
    : type(type), string(string), baudrate(baudrate), databits(databits), stopbits(stopbits),
      parity(parity), extraInt(extraInt), extraString(extraString)
{
}

int DeviceSetting::entryPosition(int index) const
{
    const int position = index == -1 ? currentIPIndex : index;
    return position >= 0 && position < socketData.size() ? position : -1;
}

unsigned short DeviceSetting::port(int index) const
{
    const int position = entryPosition(index);
    return position < 0 ? 0 : socketData.at(position).second;
}

QString DeviceSetting::socketIP(int index) const
{
    const int position = entryPosition(index);
    return position < 0 ? QString() : socketData.at(position).first;
}

void DeviceSetting::setPort(unsigned short port, int index)
{
    const int position = entryPosition(index);
    if (position >= 0)
        socketData[position].second = port;
}

void DeviceSetting::setSocketIP(const QString& ip, int index)
{
    const int position = entryPosition(index);
    if (position >= 0)
        socketData[position].first = ip;
}

void DeviceSetting::setCurrentIPIndex(int index)
{
    if (index >= 0 && index < socketData.size())
        currentIPIndex = index;
}

void DeviceSetting::setSocketData(const QList<QPair<QString, QString>>& data)
{
    QList<Endpoint> endpoints;
    for (const QPair<QString, QString>& pair : data) {
        bool ok = false;
        const unsigned short port = pair.second.toUShort(&ok, 10);
        endpoints.append(Endpoint(pair.first, ok ? port : 0));
    }
    socketData = endpoints;
}

void DeviceSetting::dump() const
{
    // Built by hand: every item is followed by a space, the last one included,
    // and texts are quoted without escaping.
    const QString quote = QStringLiteral("\"");
    QString line;
    line += QStringLiteral("type: %1 ").arg(static_cast<unsigned int>(type));
    line += QStringLiteral("string: ") + quote + string + quote + QLatin1Char(' ');
    line += QStringLiteral("baudrate: %1 databits: %2 stopbits: %3 parity: %4 linkID: %5 ")
                .arg(baudrate).arg(databits).arg(stopbits).arg(parity).arg(linkID);
    line += QStringLiteral("current ip: ") + quote + socketIP(-1) + quote + QLatin1Char(' ');
    line += QStringLiteral("current port: %1 ").arg(port(-1));
    qDebug().noquote().nospace() << line;
}
