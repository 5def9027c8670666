/// The simulator's end of a serial line.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>

class LineEnd {
public:
    virtual ~LineEnd() = default;

    /// False, with a reason, when that fails. A line that was closed can be opened again.
    virtual bool open(QString *error) = 0;
    virtual void close() = 0;
    /// What the host opens as its serial port; for a real port the other end of the cable is the host's, and this is
    /// ours.
    virtual QString path() const = 0;
    /// Never waits: bytes that the line does not take now are lost.
    virtual void send(const QByteArray &bytes) = 0;

    std::function<void(const QByteArray &)> received;
    /// The line is of no use any more, with the reason.
    std::function<void(const QString &)> failed;
};
