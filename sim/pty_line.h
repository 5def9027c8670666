/// A pseudo-terminal that stands for the serial line: the simulator's end of it.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <functional>
#include <memory>

class PtyLine {
public:
    explicit PtyLine(std::function<void(const QByteArray &)> received);
    ~PtyLine();
    PtyLine(const PtyLine &) = delete;
    PtyLine &operator=(const PtyLine &) = delete;

    /// Opens a pseudo-terminal in raw mode. False, with a reason, when that fails.
    bool open(QString *error);
    /// The path that the other side opens as its serial port.
    QString slavePath() const { return path; }
    /// Bytes that the other side leaves unread beyond the terminal's buffer are lost, as on a wire.
    void send(const QByteArray &bytes);

private:
    bool openSlaveSide();
    void readWhatCame();

    std::function<void(const QByteArray &)> received;
    std::unique_ptr<QSocketNotifier> notifier;
    int masterFd = -1;
    int slaveFd = -1;
    QString path;
};
