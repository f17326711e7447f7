#ifndef MONITOR_PCAP_WRITER_H
#define MONITOR_PCAP_WRITER_H

#include "monitor/line_frame.h"

#include <QFile>
#include <QString>

// Frames saved for Wireshark: classic pcap, link type 147 (LINKTYPE_USER0), one
// record per frame holding exactly its bytes, stamped with the time its first
// byte was on the line. Wireshark decodes it as Modbus RTU once its DLT_USER
// table maps "User 0 (DLT=147)" to the mbrtu dissector.
class PcapWriter {
public:
    static constexpr unsigned LinkType = 147;

    // Creates or truncates the file and writes the global header through to the
    // system, so that a full disk is known before the first frame.
    bool open(const QString& path, QString* error = nullptr);
    // False when the frame could not be written; failed() then stays true.
    bool write(const LineFrame& frame);
    void close();
    bool isOpen() const { return file.isOpen(); }
    bool failed() const { return !failure.isEmpty(); }
    // "cannot write PATH: No space left on device"
    QString errorString() const { return failure; }

private:
    void fail();

    QFile file;
    QString failure;
    long long wallMinusMonotonicNs = 0; // frames carry the monotonic clock; pcap wants Unix time
};

#endif
