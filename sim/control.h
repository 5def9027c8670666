/// The line protocol on standard input and output: a command a line, an answer a line.
///
/// An answer is "ok", with values behind it where the command asks for some, or "error: " and the reason.
#pragma once

#include "sim/slave.h"

#include <QtCore/QString>

class Control {
public:
    explicit Control(Slave &slave) : slave(slave) {}

    /// Carries one command out. Empty for an empty line.
    QString answer(const QString &line);
    /// True after "quit".
    bool isFinished() const { return finished; }
    /// One line a command, for --help.
    static QString help();

private:
    QString carryOut(const QString &command, const QList<int> &numbers);
    QString cells(bool areCoils, const QList<int> &numbers);
    QString setCell(bool isCoil, const QList<int> &numbers);
    QString statistics() const;

    Slave &slave;
    bool finished = false;
};
