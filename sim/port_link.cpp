#include "sim/port_link.h"

#include <QtCore/QFile>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

/// What a link says; empty when there is none.
QByteArray targetOf(const QByteArray &name)
{
    char target[4096];
    const ssize_t length = ::readlink(name.constData(), target, sizeof target);
    return length > 0 ? QByteArray(target, int(length)) : QByteArray();
}

bool isSame(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_ctim.tv_sec == b.st_ctim.tv_sec
           && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

} // namespace

bool PortLink::makeRoom(const QByteArray &name, const QByteArray &aim, QString *error) const
{
    struct stat found;
    if (::lstat(name.constData(), &found) != 0)
        return true;
    if (!S_ISLNK(found.st_mode)) {
        *error = QString::fromLatin1("--link '%1': expected a path where nothing or a symbolic link is").arg(path);
        return false;
    }
    // Left behind by a program that was killed; we may have got its terminal's number.
    if (targetOf(name) == aim || (::stat(name.constData(), &found) != 0 && errno == ENOENT)) {
        ::unlink(name.constData());
        return true;
    }
    *error =
        QString::fromLatin1("--link '%1': it leads to %2, and another program may be using it: expected a path where "
                            "nothing is; remove the link if nobody uses it")
            .arg(path, QFile::decodeName(targetOf(name)));
    return false;
}

bool PortLink::pointTo(const QString &target, QString *error)
{
    if (!isWanted())
        return true;
    const QByteArray name = QFile::encodeName(path), aim = QFile::encodeName(target);
    if (!makeRoom(name, aim, error))
        return false;
    // Fails when another program has made one meanwhile.
    if (::symlink(aim.constData(), name.constData()) != 0) {
        *error = QString::fromLatin1("--link '%1': cannot make the link: %2")
                     .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    isMade = ::lstat(name.constData(), &made) == 0;
    return true;
}

// Where it leads would not tell whose it is: once our terminal is closed, another program may have got its number.
void PortLink::remove()
{
    const QByteArray name = QFile::encodeName(path);
    struct stat found;
    if (isMade && ::lstat(name.constData(), &found) == 0 && isSame(found, made))
        ::unlink(name.constData());
    isMade = false;
}
