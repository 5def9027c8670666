/// The line protocol on standard input and output: a command a line, an answer a line.
///
/// An answer is "ok", with values behind it where the command asks for some, or "error: " and the reason.
#pragma once

#include "sim/wire.h"

#include <QtCore/QString>

#include <functional>

class Control {
public:
    /// The moment is that of the wire, in microseconds.
    Control(Slave &slave, Faults &faults, Wire &wire, std::function<qint64()> moment)
        : slave(slave), faults(faults), wire(wire), moment(std::move(moment))
    {
    }

    /// Carries one command out. Empty for an empty line.
    QString answer(const QString &line);
    /// True after "quit".
    bool isFinished() const { return finished; }
    /// One line a command, for --help.
    static QString help();

private:
    QString carryOut(const QString &command, const QList<int> &numbers, const QString &text);
    QString cells(bool areCoils, const QList<int> &numbers);
    QString setCell(bool isCoil, const QList<int> &numbers);
    QString statistics() const;
    QString addFault(const QString &text);
    QString ledger() const;
    QString dump(int station, const QString &fileName);
    QString vanish(int milliseconds);

    Slave &slave;
    Faults &faults;
    Wire &wire;
    const std::function<qint64()> moment;
    bool finished = false;
};
