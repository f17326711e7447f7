// Settings records read from any bytes, in every stream version Qt accepts and
// both byte orders. A record read cleanly writes back to the bytes it came from;
// nothing read can claim more entries than the bytes hold.
#include <QBuffer>
#include <QDataStream>
#include <cstddef>
#include <cstdint>

#include "common/fuzz_check.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

namespace {

struct StreamForm {
    int version;
    QDataStream::ByteOrder order;
};

QByteArray written(const StreamForm& form, const DeviceSetting& device, const DriverSetting* driver)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(form.version);
    out.setByteOrder(form.order);
    if (driver != nullptr)
        out << *driver;
    else
        out << device;
    return bytes;
}

bool sameDevice(const DeviceSetting& a, const DeviceSetting& b)
{
    return a.type == b.type && a.string == b.string && a.baudrate == b.baudrate && a.databits == b.databits
        && a.stopbits == b.stopbits && a.parity == b.parity && a.extraInt == b.extraInt && a.linkID == b.linkID
        && a.currentIPIndex == b.currentIPIndex && a.socketData == b.socketData;
}

template <typename Record>
void readFrom(const QByteArray& bytes, const StreamForm& form, Record& record, qint64* consumed, bool* clean)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream in(&buffer);
    in.setVersion(form.version);
    in.setByteOrder(form.order);
    in >> record;
    *consumed = buffer.pos();
    *clean = in.status() == QDataStream::Ok;
}

} // namespace

// Input: one byte for record and byte order, one for the stream version, then the stream.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const StreamForm form{1 + data[1] % QDataStream::Qt_DefaultCompiledVersion,
                          (data[0] & 2) ? QDataStream::LittleEndian : QDataStream::BigEndian};
    const QByteArray stream(reinterpret_cast<const char*>(data + 2), static_cast<int>(size - 2));
    qint64 consumed = 0;
    bool clean = false;

    if (data[0] & 1) {
        DriverSetting driver(1, 2, 3, 4);
        readFrom(stream, form, driver, &consumed, &clean);
        FUZZ_REQUIRE(clean == (stream.size() >= 16), "a driver record is 16 bytes");
        if (clean)
            FUZZ_REQUIRE(written(form, DeviceSetting(SerialDevice, {}, 0, 0, 0, 0), &driver) == stream.left(16),
                         "a driver record writes back to its bytes");
        return 0;
    }

    DeviceSetting device(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
    readFrom(stream, form, device, &consumed, &clean);
    // Each entry takes at least a text length and a port: 6 bytes.
    FUZZ_REQUIRE(device.socketData.size() <= stream.size() / 6 + 1, "entries are bounded by the bytes");
    FUZZ_REQUIRE(device.currentIPIndex == 0 || device.currentIPIndex < device.socketData.size(),
                 "the current index names an entry or keeps its value");
    if (!clean)
        return 0;
    const QByteArray again = written(form, device, nullptr);
    DeviceSetting reread(SerialDevice, {}, 0, 0, 0, 0);
    qint64 rereadConsumed = 0;
    bool rereadClean = false;
    readFrom(again, form, reread, &rereadConsumed, &rereadClean);
    FUZZ_REQUIRE(rereadClean && rereadConsumed == again.size() && sameDevice(reread, device),
                 "a record written and read back is the same record");
    // Version 1 streams texts as Latin-1 up to the first zero byte, and versions
    // 1 and 2 write a null text as an empty one: only later versions keep every byte.
    if (form.version < QDataStream::Qt_2_1)
        return 0;
    QByteArray expected = stream.left(static_cast<int>(consumed));
    DeviceSetting withoutList = device;
    withoutList.socketData.clear();
    const int indexAt = written(form, withoutList, nullptr).size() - 8;
    QDataStream countField(expected.mid(indexAt + 4, 4));
    countField.setByteOrder(form.order);
    quint32 claimed = 0;
    countField >> claimed;
    // A list that ends before its count is read without complaint, but is not a
    // well-formed record.
    if (claimed != static_cast<quint32>(device.socketData.size()))
        return 0;
    // An index that named no entry was not taken, and writes back as 0.
    if (device.currentIPIndex == 0)
        expected.replace(indexAt, 4, again.mid(indexAt, 4));
    FUZZ_REQUIRE(again == expected, "a record read cleanly writes back to its bytes");
    return 0;
}
