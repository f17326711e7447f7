#ifndef PORT_DEVICE_LOCK_H
#define PORT_DEVICE_LOCK_H

#include <QLockFile>
#include <QString>
#include <memory>

// One master on a serial device, taken the ways Linux serial programs take it:
// a lock file LCK..NAME in /run/lock (QLockFile, as Qt's QSerialPort writes it),
// an flock on the open device and TIOCEXCL. Root passes TIOCEXCL, so the two
// advisory locks are what keep a second drvctl out. A lock file whose process
// no longer runs is taken over.
class DeviceLock {
public:
    DeviceLock() = default;
    ~DeviceLock() { release(); }
    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

    // Before the device is opened: the lock file. False, with "PATH is in use by
    // pid N", when another process holds it. A lock folder we may not write
    // leaves this lock out (the other two still hold).
    bool takeLockFile(const QString& path, QString* error);
    // On the open device: flock and TIOCEXCL. False when another program holds
    // the flock.
    bool lockDevice(const QString& path, int fd, QString* error);
    void release();

    // The lock file's name for a device path: LCK.. and the path below /dev with
    // '/' as '_' (LCK..ttyUSB0, LCK..pts_3), symbolic links resolved first.
    static QString lockFileName(const QString& path);

private:
    std::unique_ptr<QLockFile> lockFile;
    int lockedFd = -1;
};

#endif
