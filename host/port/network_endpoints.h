#ifndef PORT_NETWORK_ENDPOINTS_H
#define PORT_NETWORK_ENDPOINTS_H

#include <QList>
#include <QString>

#include "tools/device_setting.h"

struct LineSettings;

// A serial line behind serial device servers in "TCP server" mode is named
// "tcp://HOST:PORT" (an IPv6 address in brackets, "tcp://[::1]:4001"); several
// endpoints of one line, tried in this order, are separated by commas.
bool isNetworkDevice(const QString& device);
// False with a readable error for anything but such a list of ports 1..65535.
bool parseNetworkEndpoints(const QString& text, QList<DeviceSetting::Endpoint>* endpoints, QString* error);
QString endpointText(const DeviceSetting::Endpoint& endpoint);
// One endpoint to listen on; port 0 asks the system for a free one.
bool parseListenAddress(const QString& text, DeviceSetting::Endpoint* endpoint, QString* error);

// The port record a device text names, as the panel keeps it: the text itself,
// the line's settings and, for a network line, its endpoints with the first one
// current. A network line is still a serial line (type 16), reached otherwise.
bool deviceSettingFor(const QString& device, const LineSettings& line, DeviceSetting* record, QString* error);

#endif
