#include "value_watch.h"

namespace {

enum { ReadCoils = 1, ReadRegisters = 3 };

int byteOf(const QByteArray &bytes, int at)
{
    return quint8(bytes.at(at));
}

int wordOf(const QByteArray &bytes, int at)
{
    return byteOf(bytes, at) << 8 | byteOf(bytes, at + 1);
}

} // namespace

ValueWatch::ValueWatch(SoakRig &rig, Findings &findings)
    : rig(rig), findings(findings), coilEpochs(rig.stations + 1), registerEpochs(rig.stations + 1)
{
    for (int station = 1; station <= rig.stations; ++station) {
        coilEpochs[station].resize(PlcMemory::Cells);
        registerEpochs[station].resize(PlcMemory::Cells);
    }
}

void ValueWatch::served(const RW_VAR &var, int list, const Transaction &transaction, bool isGood)
{
    if (!isGood || transaction.outcome != Outcome::Good)
        return;
    sentAt = transaction.sentAt;
    doneAt = transaction.doneAt;
    takeEpochs(rig.line->lastFrame);
    if (list == ServedCyclic)
        readBlock = rig.panel->plan().blockOf(var);
}

void ValueWatch::takeEpochs(const QByteArray &request)
{
    const int function = byteOf(request, 1), first = wordOf(request, 2), count = wordOf(request, 4);
    if (function != ReadCoils && function != ReadRegisters)
        return;
    QVector<int> &epochs = (function == ReadCoils ? coilEpochs : registerEpochs)[byteOf(request, 0)];
    std::fill_n(epochs.begin() + first, count, rig.slave->epoch());
}

int ValueWatch::expected(const Unit &unit) const
{
    if (rig.isWritten(unit))
        return rig.cell(unit);
    if (unit.isCoil)
        return PlcMemory::epochCoil(unit.station, unit.number, coilEpochs.at(unit.station).at(unit.number));
    const int value =
        PlcMemory::epochRegister(unit.station, unit.number, registerEpochs.at(unit.station).at(unit.number));
    return unit.bit < 0 ? value : value >> unit.bit & 1;
}

bool ValueWatch::isRight(int tag, const QByteArray &bytes) const
{
    if (rig.uses.at(tag) == TagUse::Live)
        return isLiveRight(bytes);
    int at = 0;
    for (const Unit &unit : rig.units.at(tag)) {
        const int value = expected(unit);
        if (at + unit.bytes() > bytes.size() || byteOf(bytes, at) != (value & 0xFF)
            || (unit.bytes() == 2 && byteOf(bytes, at + 1) != value >> 8))
            return false;
        at += unit.bytes();
    }
    return at == bytes.size();
}

// A counter of milliseconds since the start, in 32 bits, taken between request and reply.
bool ValueWatch::isLiveRight(const QByteArray &bytes) const
{
    if (bytes.size() != 4)
        return false;
    quint32 shown = 0;
    for (int at = 3; at >= 0; --at)
        shown = shown << 8 | quint32(byteOf(bytes, at));
    return shown - quint32(sentAt / 1000) <= quint32(doneAt / 1000 - sentAt / 1000);
}

void ValueWatch::lookAt(int tag)
{
    const TagValue &value = rig.panel->values().at(tag);
    const bool isLive = rig.uses.at(tag) == TagUse::Live;
    findings.look(isLive ? Findings::LiveValues : Findings::Values, isRight(tag, value.bytes), [&] {
        return QStringLiteral("%1 shows %2").arg(rig.tag(tag).name, QString::fromLatin1(value.bytes.toHex().left(80)));
    });
}

// A tag over several blocks is read again only when all of them are good: then at least one of its bytes has changed,
// as each request begins an epoch.
void ValueWatch::look()
{
    if (readBlock >= 0) {
        const BlockMap &map = rig.panel->plan();
        for (const int tag : map.tagsOfBlock(readBlock)) {
            const bool isRead = changedTags.contains(tag) || map.blocksOfTag(tag).size() == 1;
            if (isRead && rig.panel->values().at(tag).quality == Quality::Good)
                lookAt(tag);
        }
        readBlock = -1;
    }
    changedTags.clear();
}

void ValueWatch::lookAtAges()
{
    // One look at the ages in 100 ms, and one request in between.
    const qint64 most = (SoakRig::StaleAfter + 1000) * qint64(1000);
    for (int tag = 0; tag < rig.panel->values().size(); ++tag) {
        const TagValue &value = rig.panel->values().at(tag);
        const qint64 age = rig.now() - value.readAt;
        findings.look(Findings::Time, value.quality != Quality::Good || (age >= 0 && age <= most),
                      [&] { return QStringLiteral("%1 is good and %2 us old").arg(rig.tag(tag).name).arg(age); });
    }
}
