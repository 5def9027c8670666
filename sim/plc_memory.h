/// The memory of one simulated PLC: coils and holding registers by Modbus number.
#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

/// A cell that changes by itself. A counter32 takes two registers, high word first.
struct LiveCell {
    enum Kind { Counter, Counter32, Ramp, Sine, Toggle };
    Kind kind = Counter;
    int number = 0;

    /// Reads KIND@NUMBER, "sine@102". False, with a reason, when it is not one.
    static bool parse(const QString &text, LiveCell *cell, QString *error);
};

class PlcMemory {
public:
    enum { Cells = 65536 };

    /// Starts with a different pattern for every station, so that a value from a wrong place shows.
    explicit PlcMemory(int station);

    // Numbers are 0 .. Cells - 1; callers check.
    bool coil(int number) const { return coils.at(number); }
    int holdingRegister(int number) const { return registers.at(number); }
    void setCoil(int number, bool on) { coils[number] = on; }
    void setHoldingRegister(int number, quint16 value) { registers[number] = value; }

    /// Writes from the line: the same, but a stuck cell keeps its value.
    void writeCoil(int number, bool on);
    void writeRegister(int number, quint16 value);

    void addLiveCell(const LiveCell &cell) { live.append(cell); }
    /// The coil and the register of this number acknowledge writes and keep their values.
    void addStuckCell(int number) { stuck.insert(number); }
    /// Gives every live cell its value at a time, in milliseconds since the start.
    void advanceTo(qint64 milliseconds);

private:
    QVector<bool> coils;
    QVector<quint16> registers;
    QVector<LiveCell> live;
    QSet<int> stuck;
};
