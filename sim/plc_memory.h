/// The memory of one simulated PLC: coils and holding registers by Modbus number.
#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

/// A cell that changes by itself. A counter32 takes two registers, high word first; an echo shows another register
/// (a coil echo another coil); a toggle is a coil.
struct LiveCell {
    enum Kind { Counter, Counter32, Ramp, Sine, Toggle, Echo, CoilEcho };
    Kind kind = Counter;
    int number = 0;
    int source = 0; ///< Echo and CoilEcho: the cell shown.
    /// Of a full turn, or of a step for counters and toggle; 0 = the kind's own: a step of 100 ms for a counter, 1 ms
    /// for a counter32 and 700 ms for a toggle, a turn of 10 s for a ramp (0 to 999) and 4 s for a sine (-1000 to
    /// 1000).
    int periodMilliseconds = 0;

    /// Reads KIND@NUMBER, "sine@102", or "echo@102=100" and "coil-echo@9=8". False, with a reason, when it is not one
    /// or the PLC has no such cell.
    static bool parse(const QString &text, LiveCell *cell, QString *error);
    /// False when there is no kind of that name.
    static bool kindByName(const QString &name, Kind *kind);
    static QString kindNames(); ///< "counter, counter32, ..."

    bool isEcho() const { return kind == Echo || kind == CoilEcho; }
    bool isCoil() const { return kind == Toggle || kind == CoilEcho; }
    /// True when the PLC has every cell that it takes, if it starts at the number.
    bool fitsAt(int number) const;
    QString cellName() const; ///< What it takes: "a register", "two registers" or "a coil".
};

class PlcMemory {
public:
    enum { Cells = 65536 };

    /// Starts with a different pattern for every station, so that a value from a wrong place shows.
    explicit PlcMemory(int station);

    // Numbers are 0 .. Cells - 1; callers check.
    bool coil(int number) const;
    int holdingRegister(int number) const;
    void setCoil(int number, bool on);
    void setHoldingRegister(int number, quint16 value);

    /// Writes from the line: the same, but a stuck cell keeps its value.
    void writeCoil(int number, bool on);
    void writeRegister(int number, quint16 value);

    void addLiveCell(const LiveCell &cell) { live.append(cell); }
    /// The coil and the register of this number acknowledge writes and keep their values.
    void addStuckCell(int number) { stuck.insert(number); }
    /// Gives every live cell its value at a time, in milliseconds since the start.
    void advanceTo(qint64 milliseconds);

    /// From now on every cell that nobody has written shows epochRegister or epochCoil of the epoch set last.
    void showEpochs();
    bool showsEpochs() const { return epochs; }
    void setEpoch(int epoch) { currentEpoch = epoch; }
    /// A hash of station, number and epoch. While two of the three stay the same, no two values of the third give the
    /// same register value (epochs: no two of 65536 in a row).
    static quint16 epochRegister(int station, int number, int epoch);
    static bool epochCoil(int station, int number, int epoch);

private:
    void advance(const LiveCell &cell, qint64 milliseconds);

    int station;
    QVector<bool> coils;
    QVector<quint16> registers;
    QVector<LiveCell> live;
    QSet<int> stuck;
    bool epochs = false;
    int currentEpoch = 0;
    QSet<int> writtenCoils, writtenRegisters; ///< With epochs: cells that keep what was written.
};
