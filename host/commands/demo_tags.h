/// The sample tags of the demo, each with the place of its cells in the PLC.
#pragma once

#include "host/simulator.h"
#include "host/tags.h"

/// A run of neighbouring cells by Modbus number: coils of a bit tag, holding registers of every other.
struct CellRun {
    int first;
    int count;
};

struct DemoTag {
    const char *row; ///< A row of a tag file.
    QVector<CellRun> cells;
    int bit = 0;                ///< Of bits inside words.
    const char *live = nullptr; ///< How the PLC changes it by itself; null when it does not.

    QString name() const;
};

/// Stations of the simulated PLC. The tags of most kinds are the first one's.
enum DemoStation { FirstStation = 1, SecondStation = 2 };
/// A register in which the PLC ignores writes.
enum { LockedRegister = 9520 };

const QVector<DemoTag> &demoTags();
/// The same as the host reads them from a file, in the same order.
QList<Tag> parseDemoTags(const PanelSettings &settings, QStringList *problems);
/// Index of the tag of this name, which has to exist.
int demoIndex(const char *name);

bool isBitTag(const Tag &tag);
/// The tag's cells out of the simulated PLC, in their order, asked for over its own protocol.
QVector<int> cellsInPlc(Simulator &simulator, int station, const Tag &tag, const DemoTag &place);
/// What the driver should give for these cells.
QByteArray hostBytesOf(const Tag &tag, const DemoTag &place, const QVector<int> &cells);
/// --live options that make the simulated PLC change the live tags.
QStringList liveOptions();
