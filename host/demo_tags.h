/// The sample tags of the demo, each with the place of its cells in the PLC, and their values in both worlds.
#pragma once

#include "host/simulator.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

enum class TagKind { Bit, Word, Pair, Special, BitInWord };

/// A run of neighbouring cells by Modbus number: coils of a bit tag, holding registers of every other.
struct CellRun {
    int first;
    int count;
};

struct DemoTag {
    const char *name;
    TagKind kind;
    int devType;
    const char *address; ///< As an engineer writes it.
    int count;           ///< Bits, words, or two a value for the 32-bit kinds.
    QVector<CellRun> cells;
    int bit;          ///< Bit inside the word, for TagKind::BitInWord.
    const char *live; ///< How the PLC changes it by itself; null when it does not.
};

const QVector<DemoTag> &demoTags();
/// The tag of this name, which has to exist.
const DemoTag &demoTag(const char *name);

/// "bit", "word", "32-bit", "special 32-bit", "bit in word".
QString kindText(TagKind kind);
/// Modbus numbers of the tag's cells, "4044-4047, 12000-12003".
QString cellText(const DemoTag &tag);
/// One value a bit, word or 32-bit value: bits together, others in decimal.
QString valueText(const DemoTag &tag, const QVector<quint32> &values);

/// The values in an array that the driver has filled.
QVector<quint32> valuesOfHostBytes(const DemoTag &tag, const QByteArray &bytes);
/// The array that the driver takes for a write.
QByteArray hostBytesOfValues(const DemoTag &tag, const QVector<quint32> &values);
/// The values in the PLC's memory, from the tag's cells in their order.
QVector<quint32> valuesOfCells(const DemoTag &tag, const QVector<int> &cells);
/// The tag's cells out of the simulated PLC, asked for over its own protocol.
QVector<int> cellsInPlc(Simulator &simulator, int station, const DemoTag &tag);
/// --live options that make the simulated PLC change the live tags.
QStringList liveOptions();
