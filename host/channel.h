/// A way to the other end of the line, with the clock that belongs to it: a serial port, or a simulated line in tests.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// To be opened, used and closed by one thread. Moments are microseconds on a clock that never jumps back.
class Channel {
public:
    virtual ~Channel() = default;

    /// False, with what, where and what was expected, when it cannot be opened.
    virtual bool open(QString *error) = 0;
    virtual void close() = 0;
    /// False as soon as the port is known to be gone.
    virtual bool isOpen() const = 0;

    virtual qint64 now() = 0;
    /// Hands all bytes to the line; returns when they are handed over, which may be before they have left. False when
    /// the port is gone.
    virtual bool send(const QByteArray &bytes) = 0;
    /// Waits for bytes until the moment: whatever came first, or nothing when the moment has come or the port is gone.
    /// A moment in the past only looks.
    virtual QByteArray receiveUntil(qint64 moment) = 0;
    /// Whatever comes before the moment is not wanted earlier: a channel that would wake up for every byte sleeps,
    /// until then or until the port is gone. It may return at once.
    virtual void restUntil(qint64) {}
    /// Returns at the moment, or earlier when wake() was called from another thread.
    virtual void sleepUntil(qint64 moment) = 0;
    virtual void wake() {}
    /// From another thread: ends whatever wait there is, also that of a request in flight, and takes the port away.
    virtual void abort() {}
};
