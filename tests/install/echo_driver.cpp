// A minimal second driver: it reads holding registers from a Modbus RTU station
// with nothing but the toolkit, against a port that answers with a canned reply.
// Exits 0 when the request on the wire, the decoded value and a settings record
// read back through its stream form are what a driver expects.
#include "interface/abstract_device_interface.h"
#include "interface/communicator_command.h"
#include "tools/byte_order.h"
#include "tools/crc.h"
#include "tools/data_pack.h"
#include "tools/driver_setting.h"
#include "tools/text_utilities.h"

#include <QByteArray>
#include <QDataStream>
#include <cstdio>

namespace {

QByteArray withModbusCrc(QByteArray frame)
{
    unsigned short crc = 0xFFFF;
    for (char byte : frame)
        crc = update_crc_16(crc, byte);
    frame.append(char(crc & 0xFF)).append(char(crc >> 8)); // low byte first on the wire
    return frame;
}

class CannedPort : public AbstractDeviceInterface {
public:
    QByteArray sent;
    QByteArray reply;
    int receive(char* buffer, int maxLength) override
    {
        const int length = qMin(maxLength, int(reply.size()));
        std::copy(reply.constData(), reply.constData() + length, buffer);
        reply.remove(0, length);
        return length;
    }
    int send(const char* data, int length) override
    {
        sent.append(data, length);
        return length;
    }
    bool setOption(int, const QVariant&) override { return true; }
    int getRetry() override { return 1; }
    int getStationId() override { return 1; }
    int getDelay() override { return 0; }
};

// Function 3: build the request, send, receive the known length, check, convert.
QByteArray readRegisters(AbstractDeviceInterface& port, const CommunicatorCommand& command)
{
    const int address = ExtractPLCDeviceAddress(command.deviceAddress, 10) - 1;
    unsigned char request[6];
    DataPack(request, "CCnn", port.getStationId(), 3, address, command.count);
    const QByteArray frame = withModbusCrc(QByteArray(reinterpret_cast<char*>(request), 6));
    port.send(frame.constData(), frame.size());
    QByteArray reply(5 + 2 * command.count, '\0');
    if (port.receive(reply.data(), reply.size()) != reply.size() || withModbusCrc(reply.left(reply.size() - 2)) != reply)
        return QByteArray();
    return fromBigEndianUShortArray(reinterpret_cast<const unsigned char*>(reply.constData() + 3), command.count);
}

} // namespace

int main()
{
    CannedPort port;
    // Ten registers from HR100, the first holding 1234 (0x04D2).
    port.reply = withModbusCrc(QByteArray::fromHex("01031404d2") + QByteArray(18, '\0'));
    const QByteArray value = readRegisters(port, CommunicatorCommand(Word, 10, QStringLiteral("HR100")));
    // The request as a servo line trace shows it.
    const bool requestRight = port.sent == QByteArray::fromHex("01030063000a35d3");
    const bool valueRight = value.size() == 20 && QByteArrayToWord(value) == 1234;

    QByteArray stream;
    QDataStream out(&stream, QIODevice::WriteOnly);
    out << DriverSetting(500, 3, 1, 0);
    DriverSetting back(0, 0, 0, 0);
    QDataStream in(stream);
    in >> back;
    const bool settingRight = back.timeout == 500 && back.retry == 3 && back.stationid == 1 && back.delay == 0;

    std::printf("request %s value %d settings %s\n", port.sent.toHex(' ').constData(), QByteArrayToWord(value),
                settingRight ? "round trip" : "changed");
    return requestRight && valueRight && settingRight ? 0 : 1;
}
