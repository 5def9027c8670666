/// A panel and its simulated PLCs on a line whose time is made up, with a tap on the line.
#pragma once

#include "host/panel.h"
#include "sim/wire.h"
#include "tag_list.h"
#include "tests/virtual_line.h"

#include <memory>

/// Sees each frame that the host sends, and hands over what comes as adapters do: byte by byte, or in pieces.
class TappedLine : public VirtualLine {
public:
    explicit TappedLine(Wire &wire) : VirtualLine(wire), plcEnd(wire) {}
    bool send(const QByteArray &bytes) override;
    QByteArray receiveUntil(qint64 until) override;

    int pieceBytes = 1; ///< So many bytes in a row come together; fewer when there is a pause.
    QByteArray lastFrame;
    qint64 frames = 0;
    qint64 bytes = 0;

private:
    const Wire &plcEnd;
};

struct RigOptions {
    int stations = 3; ///< 1: one PLC, whose values the driver keeps in fixed areas.
    quint32 seed = 1;
    bool isGuarded = true;
    qint64 beginAt = 0; ///< Moment at which the panel starts.
};

class SoakRig {
public:
    /// Ends the program when the tags have a problem or the panel does not start.
    explicit SoakRig(const RigOptions &options);

    enum { ReplyTimeout = 100, LateWindow = 150, LateReply = 180, StaleAfter = 60000, BlockWords = 60 };

    /// What a unit shows now.
    int cell(const Unit &unit) const;
    /// Belongs to a tag that can be written: shows what was written last, not epochs.
    bool isWritten(const Unit &unit) const { return (unit.isCoil ? writtenCoils : writtenRegisters).at(unit.number); }
    qint64 now() const { return line->now(); }
    const Tag &tag(int index) const { return panel->tags().at(index); }

    const int stations;
    PanelSettings settings;
    std::unique_ptr<Slave> slave;
    std::unique_ptr<Faults> faults;
    std::unique_ptr<Wire> plcEnd;
    std::unique_ptr<TappedLine> line;
    std::unique_ptr<Panel> panel;
    QVector<TagUse> uses;
    QVector<QVector<Unit>> units; ///< Of each tag.

private:
    void prepareCells();
    void prepareStation(PlcMemory &memory);

    QVector<bool> writtenCoils, writtenRegisters; ///< Of any station.
};
