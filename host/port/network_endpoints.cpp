#include "port/network_endpoints.h"
#include "port/line_settings.h"

#include <QStringList>
#include <algorithm>

namespace {

const QLatin1String Scheme("tcp://");

// "HOST:PORT" or "[V6]:PORT" after the scheme.
bool parseEndpoint(const QString& text, uint lowestPort, DeviceSetting::Endpoint* endpoint)
{
    if (!text.startsWith(Scheme))
        return false;
    const QString rest = text.mid(Scheme.size());
    const int colon = rest.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0)
        return false;
    QString host = rest.left(colon);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(QLatin1Char(':')))
        return false; // an IPv6 address needs its brackets
    bool ok = false;
    const uint port = rest.mid(colon + 1).toUInt(&ok, 10);
    const bool plainHost = !host.isEmpty()
        && std::none_of(host.begin(), host.end(), [](QChar c) { return c.isSpace() || c == QLatin1Char('/') || c == QLatin1Char('[') || c == QLatin1Char(']'); });
    if (!ok || port < lowestPort || port > 65535 || !plainHost)
        return false;
    *endpoint = DeviceSetting::Endpoint(host, static_cast<unsigned short>(port));
    return true;
}

} // namespace

bool isNetworkDevice(const QString& device)
{
    return device.startsWith(Scheme);
}

bool parseNetworkEndpoints(const QString& text, QList<DeviceSetting::Endpoint>* endpoints, QString* error)
{
    QList<DeviceSetting::Endpoint> parsed;
    for (const QString& entry : text.split(QLatin1Char(','))) {
        DeviceSetting::Endpoint endpoint;
        if (!parseEndpoint(entry.trimmed(), 1, &endpoint)) {
            *error = QStringLiteral("bad network endpoint \"%1\": tcp://HOST:PORT with a port from 1 to 65535 "
                                    "(an IPv6 address in brackets), several separated by commas")
                         .arg(entry.trimmed());
            return false;
        }
        parsed << endpoint;
    }
    *endpoints = parsed;
    return true;
}

QString endpointText(const DeviceSetting::Endpoint& endpoint)
{
    const QString host = endpoint.first.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(endpoint.first) : endpoint.first;
    return QStringLiteral("%1%2:%3").arg(Scheme, host).arg(endpoint.second);
}

bool parseListenAddress(const QString& text, DeviceSetting::Endpoint* endpoint, QString* error)
{
    if (parseEndpoint(text.trimmed(), 0, endpoint))
        return true;
    *error = QStringLiteral("bad listen address \"%1\": tcp://HOST:PORT with a port from 0 (any free one) to 65535")
                 .arg(text.trimmed());
    return false;
}

bool deviceSettingFor(const QString& device, const LineSettings& line, DeviceSetting* record, QString* error)
{
    DeviceSetting built(SerialDevice, device, 0, 0, 0, 0);
    writeLineSettings(line, &built);
    if (isNetworkDevice(device)) {
        QList<DeviceSetting::Endpoint> endpoints;
        if (!parseNetworkEndpoints(device, &endpoints, error))
            return false;
        built.socketData = endpoints;
        built.setCurrentIPIndex(0);
    }
    *record = built;
    return true;
}
