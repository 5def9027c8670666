#include "serial_line.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

/// Milliseconds. 3.5 characters take 2.1; the PLC answers within the time-out, or a little later.
enum { Silence = 3, ReplyTimeout = 300, LateWindow = 100, Turnaround = 100 };

void rest(int milliseconds)
{
    ::poll(nullptr, 0, milliseconds);
}

/// The driver checks length and CRC: a late reply to another frame may have both right. An exception reply has the
/// function's highest bit set.
bool isReplyTo(const QByteArray &frame, const QByteArray &reply)
{
    return reply.size() < 2 || (reply[0] == frame[0] && (reply[1] & 0x7F) == frame[1]);
}

} // namespace

bool SerialLine::open(const QString &path)
{
    close();
    termios settings = {};
    ::cfmakeraw(&settings);
    settings.c_cflag = CLOCAL | CREAD | CS8 | CSTOPB;
    ::cfsetspeed(&settings, B19200);
    port = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (isOpen() && ::tcsetattr(port, TCSANOW, &settings) != 0)
        close();
    return isOpen();
}

void SerialLine::close()
{
    if (isOpen())
        ::close(port);
    port = -1;
}

QByteArray SerialLine::transact(const Protocol &request)
{
    rest(Silence);
    ::tcflush(port, TCIFLUSH);
    const ssize_t sent = ::write(port, request.frame.constData(), size_t(request.frameLen));
    if (sent != request.frameLen || ::tcdrain(port) != 0) {
        close();
        return QByteArray();
    }
    if (request.replyLen == 0) {
        rest(Turnaround);
        return QByteArray();
    }
    QByteArray reply, piece = hear(ReplyTimeout);
    while (!piece.isEmpty() && reply.size() <= request.replyLen) {
        reply += piece;
        piece = hear(reply.size() < request.replyLen ? ReplyTimeout : Silence);
    }
    const bool isWhole = reply.size() >= request.replyLen && isReplyTo(request.frame, reply);
    if (!isWhole) // What is missing may still come, and must not meet the next frame.
        rest(LateWindow);
    return isReplyTo(request.frame, reply) ? reply : QByteArray();
}

/// What is there as soon as something comes; nothing after so many milliseconds.
QByteArray SerialLine::hear(int milliseconds)
{
    pollfd entry = {port, POLLIN, 0};
    if (!isOpen() || ::poll(&entry, 1, milliseconds) == 0)
        return QByteArray();
    char bytes[256];
    const ssize_t count = ::read(port, bytes, sizeof bytes);
    if (count <= 0)
        close();
    return QByteArray(bytes, int(qMax<ssize_t>(0, count)));
}
