#include "host/serial_channel.h"

#include <cerrno>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

namespace {

/// A port that takes no byte for this long, beyond the time that the frame needs, is as good as gone.
constexpr qint64 StuckMicroseconds = 1000000;
constexpr quint32 GoneEvents = EPOLLERR | EPOLLHUP;

bool isPassing(int error)
{
    return error == EAGAIN || error == EINTR;
}

bool isPseudoTerminal(int descriptor)
{
    constexpr unsigned FirstMajor = 136, LastMajor = 143;
    struct stat state;
    return ::fstat(descriptor, &state) == 0 && S_ISCHR(state.st_mode) && major(state.st_rdev) >= FirstMajor
           && major(state.st_rdev) <= LastMajor;
}

bool watch(int watchDescriptor, int descriptor, quint32 events)
{
    epoll_event event = {};
    event.events = events;
    event.data.fd = descriptor;
    return ::epoll_ctl(watchDescriptor, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

/// As epoll_pwait2, also where the kernel does not have it, before 5.11.
int waitOn(int watchDescriptor, epoll_event *events, int most, const timespec &time)
{
    const int count = ::epoll_pwait2(watchDescriptor, events, most, &time, nullptr);
    if (count >= 0 || errno != ENOSYS)
        return count;
    pollfd entry = {watchDescriptor, POLLIN, 0};
    const int ready = ::ppoll(&entry, 1, &time, nullptr);
    return ready > 0 ? ::epoll_wait(watchDescriptor, events, most, 0) : ready;
}

} // namespace

SerialChannel::SerialChannel(const LineSettings &settings)
    : settings(settings), wakeDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      abortDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), watchDescriptor(::epoll_create1(EPOLL_CLOEXEC))
{
    watch(watchDescriptor, abortDescriptor, EPOLLIN);
    clock.start();
}

SerialChannel::~SerialChannel()
{
    for (const int descriptor : {wakeDescriptor, abortDescriptor, watchDescriptor})
        if (descriptor >= 0)
            ::close(descriptor);
}

bool SerialChannel::open(QString *error)
{
    close();
    port = std::make_unique<QSerialPort>(settings.port);
    const bool isSetUp = port->open(QIODevice::ReadWrite) && setUp();
    untold = 0;
    // Only what is new: the port is then not asked again after each read. Closing it ends the watch.
    if (isSetUp && watch(watchDescriptor, port->handle(), EPOLLIN | EPOLLET))
        return true;
    QString reason = isSetUp ? qt_error_string(errno) : port->errorString();
    // Only this text tells a lock of another program from missing rights.
    if (reason.contains(QLatin1String("locking the device")))
        reason = QStringLiteral("another program has it open");
    *error = QString::fromLatin1("cannot open port %1: %2; expected a serial port that takes %3")
                 .arg(settings.port, reason, settings.text());
    close();
    return false;
}

bool SerialChannel::setUp()
{
    const QSerialPort::Parity parity = settings.parity == Parity::None   ? QSerialPort::NoParity
                                       : settings.parity == Parity::Even ? QSerialPort::EvenParity
                                                                         : QSerialPort::OddParity;
    // It carries bytes, no parity bits, and refuses to be set to any.
    const bool hasParity = !isPseudoTerminal(port->handle());
    return port->setBaudRate(settings.baud) && port->setDataBits(QSerialPort::Data8)
           && port->setParity(hasParity ? parity : QSerialPort::NoParity)
           && port->setStopBits(settings.stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop)
           && port->setFlowControl(QSerialPort::NoFlowControl);
}

void SerialChannel::close()
{
    port.reset();
}

qint64 SerialChannel::now()
{
    latest = clock.nsecsElapsed() / 1000;
    return latest;
}

timespec SerialChannel::timeUntil(qint64 moment)
{
    // A moment that was passed when the clock was last read is passed.
    const qint64 rest = moment <= latest ? 0 : qMax<qint64>(0, moment - now());
    return {static_cast<time_t>(rest / 1000000), static_cast<long>(rest % 1000000 * 1000)};
}

/// The descriptor's events; 0 when the moment has come.
short SerialChannel::waitFor(int descriptor, short events, qint64 moment)
{
    for (;;) {
        const timespec time = timeUntil(moment);
        pollfd entries[] = {{descriptor, events, 0}, {abortDescriptor, POLLIN, 0}};
        const int count = ::ppoll(entries, 2, &time, nullptr);
        if (count >= 0)
            return entries[1].revents != 0 ? short(POLLHUP) : entries[0].revents;
        if (errno != EINTR)
            return POLLERR;
    }
}

/// What is new on the port; 0 when the moment has come. It is watched all the time: a look costs a fifth of a poll.
quint32 SerialChannel::waitForBytes(qint64 moment)
{
    for (;;) {
        const timespec time = timeUntil(moment);
        epoll_event events[2];
        const int count = waitOn(watchDescriptor, events, 2, time);
        for (int i = 0; i < count; ++i)
            if (events[i].data.fd == abortDescriptor)
                return EPOLLHUP;
        if (count >= 0)
            return count > 0 ? events[0].events : 0;
        if (errno != EINTR)
            return EPOLLERR;
    }
}

bool SerialChannel::send(const QByteArray &bytes)
{
    qint64 giveUpAt = -1;
    int sent = 0;
    while (isOpen() && sent < bytes.size()) {
        const int descriptor = port->handle();
        const ssize_t count = ::write(descriptor, bytes.constData() + sent, size_t(bytes.size() - sent));
        if (count > 0) {
            sent += int(count);
            continue;
        }
        if (count < 0 && !isPassing(errno)) {
            close();
            break;
        }
        if (giveUpAt < 0)
            giveUpAt = now() + settings.charactersTime(bytes.size()) + StuckMicroseconds;
        if (waitFor(descriptor, POLLOUT, giveUpAt) != POLLOUT || now() >= giveUpAt) {
            // Closing would wait for the bytes that nobody takes.
            ::tcflush(descriptor, TCIOFLUSH);
            close();
        }
    }
    return isOpen();
}

QByteArray SerialChannel::receiveUntil(qint64 moment)
{
    while (isOpen()) {
        // An event loop of this thread would have let Qt read them.
        if (port->bytesAvailable() > 0)
            return port->readAll();
        const bool isAgain = untold != 0;
        const quint32 events = isAgain ? untold : waitForBytes(moment);
        if (events == 0)
            break;
        untold = 0;
        char bytes[1024];
        const ssize_t count = ::read(port->handle(), bytes, sizeof bytes);
        if (count > 0) {
            // More may wait, or a hang-up, and would not be told again.
            if (size_t(count) == sizeof bytes || (events & GoneEvents) != 0)
                untold = events;
            return QByteArray(bytes, int(count));
        }
        // All had been read already. A port without bytes gives 0 too, as Qt sets it up.
        if (count == 0 && isAgain && (events & GoneEvents) == 0)
            continue;
        // Readable, and nothing to read: the end of the file. A port that was hung up stays like this.
        if (count == 0 || (events & GoneEvents) != 0 || !isPassing(errno))
            close();
        else if (now() >= moment)
            break;
    }
    return QByteArray();
}

void SerialChannel::restUntil(qint64 moment)
{
    // Asked for no event, the port still tells that it is gone.
    if (isOpen())
        waitFor(port->handle(), 0, moment);
}

void SerialChannel::sleepUntil(qint64 moment)
{
    if (waitFor(wakeDescriptor, POLLIN, moment) == 0)
        return;
    eventfd_t ignored;
    ::eventfd_read(wakeDescriptor, &ignored);
}

void SerialChannel::abort()
{
    ::eventfd_write(abortDescriptor, 1);
}

void SerialChannel::wake()
{
    ::eventfd_write(wakeDescriptor, 1);
}
