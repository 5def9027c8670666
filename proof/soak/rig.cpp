#include "rig.h"

#include "tests/panel_rig.h"

bool TappedLine::send(const QByteArray &sent)
{
    const bool isTaken = VirtualLine::send(sent);
    lastFrame = sent;
    ++frames;
    bytes += sent.size();
    return isTaken;
}

QByteArray TappedLine::receiveUntil(qint64 until)
{
    enum { LongerThanAByte = 600 }; // Of the 573 microseconds at 19200 baud.
    QByteArray bytes = VirtualLine::receiveUntil(until);
    while (!bytes.isEmpty() && bytes.size() < pieceBytes && now() < until) {
        // The moment of the last byte stays what it is: time passes only when there is another.
        const qint64 next = plcEnd.nextMoment();
        if (next < 0 || next > qMin(now() + LongerThanAByte, until))
            break;
        bytes += VirtualLine::receiveUntil(next);
    }
    return bytes;
}

SoakRig::SoakRig(const RigOptions &options) : stations(options.stations)
{
    settings.line.baud = 19200;
    settings.line.stopBits = 2;
    settings.line.replyTimeout = ReplyTimeout;
    settings.line.lateWindow = options.isGuarded ? int(LateWindow) : 0;
    settings.line.isGuarded = options.isGuarded;
    settings.maxBlockLen = BlockWords;
    settings.retries = 2;
    settings.hasSeveral = stations > 1;
    settings.staleAfter = StaleAfter;
    QStringList problems;
    const QByteArray header = "name,type,address,station,count,format,order,scale,unit,rw\n";
    const TagFile file = parseTags(header + tagRows(stations), QStringLiteral("tags.csv"), settings, &problems);
    if (!problems.isEmpty())
        qFatal("%s", qPrintable(problems.join(QLatin1Char('\n'))));
    for (const Tag &tag : file.tags) {
        uses << useOf(tag);
        units << unitsOf(tag, qMax(tag.station, 1));
    }
    slave.reset(new Slave);
    prepareCells();
    faults.reset(new Faults(options.seed));
    WireSettings wire;
    wire.baud = settings.line.baud;
    plcEnd.reset(new Wire(*slave, *faults, wire));
    line.reset(new TappedLine(*plcEnd));
    line->sleepUntil(options.beginAt);
    panel.reset(new Panel(loadedDriver(), settings, file.tags, *line, nullptr));
    QString error;
    if (!panel->start(&error))
        qFatal("%s", qPrintable(error));
}

/// Cells that are written show what was written from the start; all others show epochs.
void SoakRig::prepareCells()
{
    writtenCoils.resize(PlcMemory::Cells);
    writtenRegisters.resize(PlcMemory::Cells);
    for (int tag = 0; tag < units.size(); ++tag)
        for (const Unit &unit : qAsConst(units[tag]))
            if (uses.at(tag) != TagUse::Polled && uses.at(tag) != TagUse::Live)
                (unit.isCoil ? writtenCoils : writtenRegisters)[unit.number] = true;
    for (int station = 1; station <= stations; ++station)
        prepareStation(*slave->addStation(station));
}

void SoakRig::prepareStation(PlcMemory &memory)
{
    memory.showEpochs();
    memory.addStuckCell(StuckRegister);
    LiveCell live;
    live.kind = LiveCell::Counter32;
    live.number = LiveRegister;
    memory.addLiveCell(live);
    for (int number = 0; number < PlcMemory::Cells; ++number) {
        if (writtenCoils.at(number))
            memory.setCoil(number, false);
        if (writtenRegisters.at(number))
            memory.setHoldingRegister(number, 0);
    }
}

int SoakRig::cell(const Unit &unit) const
{
    const PlcMemory &memory = *slave->memory(unit.station);
    if (unit.isCoil)
        return memory.coil(unit.number);
    const int value = memory.holdingRegister(unit.number);
    return unit.bit < 0 ? value : value >> unit.bit & 1;
}
