/// Commands on standard input, a line each, answered on standard output.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <functional>

/// Ends the event loop when standard input closes, or after a command when it is finished.
class CommandReader {
public:
    CommandReader(std::function<QString(const QString &)> answer, std::function<bool()> isFinished);

private:
    void readWhatCame();
    void finish();

    const std::function<QString(const QString &)> answer;
    const std::function<bool()> isFinished;
    QSocketNotifier notifier;
    QByteArray pending;
};
