#include "sim/pty_line.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

PtyLine::~PtyLine()
{
    close();
}

void PtyLine::close()
{
    notifier.reset();
    for (int *const fd : {&slaveFd, &masterFd}) {
        if (*fd >= 0)
            ::close(*fd);
        *fd = -1;
    }
}

bool PtyLine::open(QString *error)
{
    close();
    masterFd = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (masterFd < 0 || ::grantpt(masterFd) != 0 || ::unlockpt(masterFd) != 0 || !openSlaveSide()) {
        *error = QLatin1String("cannot open a pseudo-terminal: ") + QString::fromLocal8Bit(std::strerror(errno));
        close();
        return false;
    }
    notifier = std::make_unique<QSocketNotifier>(masterFd, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] { readWhatCame(); });
    return true;
}

// Kept open: the terminal then stays raw, and reading the master does not fail, while no host has it open.
bool PtyLine::openSlaveSide()
{
    char name[128];
    if (::ptsname_r(masterFd, name, sizeof name) != 0)
        return false;
    slavePath = QString::fromLocal8Bit(name);
    slaveFd = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings;
    if (slaveFd < 0 || ::tcgetattr(slaveFd, &settings) != 0)
        return false;
    ::cfmakeraw(&settings);
    return ::tcsetattr(slaveFd, TCSANOW, &settings) == 0;
}

void PtyLine::readWhatCame()
{
    char bytes[4096];
    const ssize_t count = ::read(masterFd, bytes, sizeof bytes);
    if (count > 0) {
        received(QByteArray(bytes, int(count)));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        notifier->setEnabled(false);
        failed(QLatin1String("the pseudo-terminal cannot be read: ") + QString::fromLocal8Bit(std::strerror(errno)));
    }
}

void PtyLine::send(const QByteArray &bytes)
{
    int sent = 0;
    while (masterFd >= 0 && sent < bytes.size()) {
        const ssize_t count = ::write(masterFd, bytes.constData() + sent, size_t(bytes.size() - sent));
        if (count > 0)
            sent += int(count);
        else if (count == 0 || errno != EINTR)
            return;
    }
}
