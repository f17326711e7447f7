#include "port/device_lock.h"
#include "port/system_error.h"

#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>

namespace {

// Where Debian keeps the UUCP-style locks (/var/lock points here).
const char* const LockFolder = "/run/lock";

QString inUse(const QString& path, qint64 pid)
{
    return pid > 0 ? QStringLiteral("%1 is in use by pid %2").arg(path).arg(pid)
                   : QStringLiteral("%1 is in use by another program").arg(path);
}

} // namespace

QString DeviceLock::lockFileName(const QString& path)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    QString name = resolved.isEmpty() ? path : resolved;
    if (name.startsWith(QLatin1String("/dev/")))
        name = name.mid(5);
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("LCK..") + name;
}

bool DeviceLock::takeLockFile(const QString& path, QString* error)
{
    release();
    if (!QFileInfo(QLatin1String(LockFolder)).isWritable())
        return true;
    auto file = std::make_unique<QLockFile>(QDir(QLatin1String(LockFolder)).filePath(lockFileName(path)));
    // Only a dead owner makes a lock stale, never its age: a poll runs for days.
    file->setStaleLockTime(0);
    if (file->tryLock(0)) {
        lockFile = std::move(file);
        return true;
    }
    if (file->error() != QLockFile::LockFailedError)
        return true; // the folder refused the file: flock and TIOCEXCL still hold
    qint64 pid = 0;
    QString host, application;
    file->getLockInfo(&pid, &host, &application);
    *error = inUse(path, pid);
    return false;
}

bool DeviceLock::lockDevice(const QString& path, int fd, QString* error)
{
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            qint64 pid = 0;
            QString host, application;
            if (lockFile == nullptr) // another program's lock file may name it
                QLockFile(QDir(QLatin1String(LockFolder)).filePath(lockFileName(path))).getLockInfo(&pid, &host, &application);
            *error = inUse(path, pid);
            return false;
        }
        // A device that knows no flock (some drivers): the other two locks remain.
    }
    ioctl(fd, TIOCEXCL);
    lockedFd = fd;
    return true;
}

void DeviceLock::release()
{
    // Before the descriptor closes: TIOCEXCL stays on a tty that someone else
    // keeps open (the other side of a pseudo-terminal does).
    if (lockedFd >= 0) {
        ioctl(lockedFd, TIOCNXCL);
        flock(lockedFd, LOCK_UN);
    }
    lockedFd = -1;
    if (lockFile) {
        lockFile->unlock();
        lockFile.reset();
    }
}
