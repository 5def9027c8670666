/// A pseudo-terminal that stands for the serial line: the simulator's end of it.
#pragma once

#include "sim/line_end.h"

#include <QtCore/QSocketNotifier>

#include <memory>

class PtyLine : public LineEnd {
public:
    PtyLine() = default;
    ~PtyLine() override;
    PtyLine(const PtyLine &) = delete;
    PtyLine &operator=(const PtyLine &) = delete;

    /// Opens a pseudo-terminal in raw mode, each time a new one.
    bool open(QString *error) override;
    /// Whoever has the other side open can neither read nor write any more.
    void close() override;
    QString path() const override { return slavePath; }
    /// Bytes that the other side leaves unread beyond the terminal's buffer are lost, as on a wire.
    void send(const QByteArray &bytes) override;

private:
    bool openSlaveSide();
    void readWhatCame();

    std::unique_ptr<QSocketNotifier> notifier;
    int masterFd = -1;
    int slaveFd = -1;
    QString slavePath;
};
