#ifndef PORT_LINE_SETTINGS_H
#define PORT_LINE_SETTINGS_H

#include <QString>

class DeviceSetting;

// Serial line parameters as the port layer applies them.
struct LineSettings {
    QString lineType = QStringLiteral("RS485"); // RS232, RS422 or RS485
    int baud = 9600;
    char parity = 'N'; // 'N', 'E' or 'O'
    int dataBits = 8;  // 5..8
    int stopBits = 2;  // 1 or 2

    QString toString() const;
};

// The drivers' text form "RS485,9600,NONE,8,2": line type, baud, parity word,
// data bits, stop bits. False with a readable error for anything else.
bool parseLineSettings(const QString& text, LineSettings* settings, QString* error);

// A port record. Its parity and stop-bit codes are those of the panel's serial
// layer: parity 0 none, 1 odd, 2 even; stop bits 0 one, 2 two (1, one and a half,
// is refused). The record carries no line type; RS-485 is assumed.
bool lineSettingsFromDeviceSetting(const DeviceSetting& record, LineSettings* settings,
                                   QString* error);

// The same codes the other way, into a port record's line fields.
void writeLineSettings(const LineSettings& line, DeviceSetting* record);

// Baud rates the port layer can set; everything else is refused by name.
bool isSupportedBaud(int baud);

// Time one character takes on the line: start bit, data bits, parity, stop bits.
long long characterTimeNs(const LineSettings& line);

// The silence that ends a reply once its first byte came: a few characters,
// and a margin for the batches in which USB adapters deliver what they hear.
long long replySilenceNs(const LineSettings& line);

// Silence before each request: 3.5 characters of 11 bits at the line's baud,
// a fixed 1750 us above 19200 baud, where Modbus stops scaling it.
int interFrameGapMicros(int baud);

#endif
