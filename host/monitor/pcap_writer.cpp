#include "monitor/pcap_writer.h"

#include <ctime>

namespace {

constexpr unsigned Snaplen = 65535;

// Little-endian, which the magic number announces to every reader.
void putU32(QByteArray* out, unsigned long value)
{
    for (int shift = 0; shift < 32; shift += 8)
        out->append(static_cast<char>((value >> shift) & 0xFF));
}

void putU16(QByteArray* out, unsigned value)
{
    out->append(static_cast<char>(value & 0xFF));
    out->append(static_cast<char>((value >> 8) & 0xFF));
}

long long clockNs(clockid_t clock)
{
    timespec now;
    clock_gettime(clock, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

} // namespace

bool PcapWriter::open(const QString& path, QString* error)
{
    close();
    failure.clear();
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        fail();
        if (error != nullptr)
            *error = failure;
        return false;
    }
    wallMinusMonotonicNs = clockNs(CLOCK_REALTIME) - clockNs(CLOCK_MONOTONIC);
    QByteArray header;
    putU32(&header, 0xA1B2C3D4); // microsecond time stamps
    putU16(&header, 2);
    putU16(&header, 4);
    putU32(&header, 0); // time zone: UTC
    putU32(&header, 0); // accuracy
    putU32(&header, Snaplen);
    putU32(&header, LinkType);
    if (file.write(header) != header.size() || !file.flush()) {
        fail();
        if (error != nullptr)
            *error = failure;
        close();
        return false;
    }
    return true;
}

bool PcapWriter::write(const LineFrame& frame)
{
    if (!file.isOpen() || frame.bytes.isEmpty())
        return false;
    const long long wallNs = frame.startNs + wallMinusMonotonicNs;
    const QByteArray bytes = frame.bytes.left(static_cast<int>(Snaplen));
    QByteArray record;
    putU32(&record, static_cast<unsigned long>(wallNs / 1000000000LL));
    putU32(&record, static_cast<unsigned long>(wallNs % 1000000000LL / 1000));
    putU32(&record, static_cast<unsigned long>(bytes.size()));
    putU32(&record, static_cast<unsigned long>(frame.bytes.size()));
    record += bytes;
    // Whole records only, so that a reader never meets half of one while we run.
    if (file.write(record) == record.size() && file.flush())
        return true;
    fail();
    return false;
}

void PcapWriter::fail()
{
    if (failure.isEmpty())
        failure = QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
}

void PcapWriter::close()
{
    if (file.isOpen())
        file.close();
}
