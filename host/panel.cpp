#include "host/panel.h"

namespace {

enum { IdleMicroseconds = 5000, LongestLook = 256 };
enum ResultCode { RepeatPending = 0, GoodReply = 1, GoodNotStored = 100 };
enum { BitAreas = 7, ReadCoils = 1, ReadRegisters = 3 };

bool isGoodCode(int resultCode)
{
    return resultCode == GoodReply || resultCode == GoodNotStored;
}

const char *discardName(Discarded::Reason reason)
{
    switch (reason) {
    case Discarded::BeforeRequest:
        return "before-request";
    case Discarded::Echo:
        return "echo";
    case Discarded::Noise:
        return "noise";
    case Discarded::Foreign:
        return "foreign";
    case Discarded::Late:
        return "late";
    }
    return "";
}

} // namespace

Reason reasonOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Good:
    case Outcome::NoReplyExpected:
        return Reason::None;
    case Outcome::Timeout:
        return Reason::Timeout;
    case Outcome::BadCrc:
        return Reason::Crc;
    case Outcome::WrongLength:
        return Reason::Length;
    case Outcome::Exception:
        return Reason::Exception;
    case Outcome::PortGone:
        return Reason::Port;
    }
    return Reason::None;
}

Panel::Panel(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags, Channel &channel,
             TraceWriter *trace)
    : settings(settings), tagList(tags), channel(channel),
      session(plugin, settings.comInfo(), trace, [&channel] { return channel.now(); }),
      line(channel, settings.line, plugin.calCrc), listener(&nobody), tagValues(tags.size())
{
    // With a reserve, emptying it keeps its memory.
    looked.reserve(LongestLook);
    for (const Tag &tag : tagList) {
        looks << piecesOf(tag, settings, PieceUse::Look);
        requests << piecesOf(tag, settings, PieceUse::Request);
        if (tag.station != 0)
            stationStates[tag.station];
    }
}

Panel::~Panel() = default;

bool Panel::start(QString *error)
{
    if (!channel.open(error))
        return false;
    wasOpen = true;
    isStarted = true;
    reopenPause = qint64(settings.line.reopenFirst) * 1000;
    session.note("port", {"open"});
    setPolling(isPolling);
    for (int tag = 0; tag < tagList.size(); ++tag) {
        if (!isPolling || !tagList.at(tag).isReadable || blockMap.isCovered(tag))
            continue;
        *error = QString::fromLatin1("tag %1: the driver made no block for all of code %2 at %3; expected one")
                     .arg(tagList.at(tag).name)
                     .arg(tagList.at(tag).type)
                     .arg(tagList.at(tag).address);
        return false;
    }
    return true;
}

void Panel::setPolling(bool on)
{
    isPolling = on;
    if (!isStarted)
        return;
    session.describe(on ? descriptionsOf(tagList, settings) : QList<VARDESC>());
    blockMap = BlockMap(session.readList(), tagList);
    blocks = QVector<BlockState>(blockMap.blocks());
    passStartedAt = -1;
    servedInPass = 0;
}

void Panel::step()
{
    if (!channel.isOpen()) {
        servePort();
    } else {
        probeStations();
        const Protocol *const protocol = session.next();
        settleWrites();
        if (protocol)
            serve(*protocol);
        else
            channel.sleepUntil(channel.now() + IdleMicroseconds);
    }
    refreshAges();
    updateQueueLengths();
}

Request Panel::requestOf(const Protocol &protocol) const
{
    Request request;
    request.frame = protocol.frame.left(protocol.frameLen);
    request.replyLen = protocol.replyLen;
    request.isRemote = settings.isRemote;
    request.station = protocol.var.station & 0xFF;
    if (!settings.isRemote && request.frame.size() > 1)
        request.function = static_cast<unsigned char>(request.frame.at(1));
    else if (protocol.var.rwFlag == 0)
        request.function = protocol.var.devType < BitAreas ? ReadCoils : ReadRegisters;
    return request;
}

void Panel::serve(const Protocol &protocol)
{
    // The record is the driver's and gone after the answer.
    const RW_VAR var = protocol.var;
    const int list = session.driver().driver->servedList;
    const int frameLen = protocol.frameLen;
    RW_VAR head;
    if (list == ServedWrite) {
        head = session.writeList().value(0);
        spoilCells(cellsOfWrite(head), head.varId);
        ledger.sent(head);
    }
    Transaction transaction;
    if (channel.isOpen()) {
        transaction = line.transact(requestOf(protocol));
    } else {
        transaction.outcome = Outcome::PortGone;
        transaction.doneAt = channel.now();
    }
    for (const Discarded &discarded : qAsConst(transaction.discarded))
        session.note("drop", {discardName(discarded.reason), trace::ofBytes(discarded.bytes)});
    countTransaction(var, list, transaction, transaction.sentAt > 0 ? frameLen : 0);

    int resultCode = session.answer(transaction.reply);
    // Without a port, and for a station on trial, the repeats are answered as missing without going out.
    const bool isLastTry = !channel.isOpen() || stationStates.value(var.station).isOnTrial;
    if (resultCode == RepeatPending && isLastTry) {
        session.note("unsent", {});
        while (resultCode == RepeatPending && session.next())
            resultCode = session.answer(QByteArray());
    }
    repeatFollows = resultCode == RepeatPending;
    listener->requestServed(var, transaction, resultCode);
    if (resultCode != RepeatPending)
        finish(var, list, head, transaction, isGoodCode(resultCode));
}

void Panel::countTransaction(const RW_VAR &var, int list, const Transaction &transaction, int bytesSent)
{
    counted.all.count(transaction, bytesSent, repeatFollows);
    counted.stations[var.station].count(transaction, bytesSent, repeatFollows);
    if (list >= ServedCyclic && list <= ServedOnce)
        counted.lists[list].count(transaction, bytesSent, repeatFollows);
}

void Panel::finish(const RW_VAR &var, int list, const RW_VAR &head, const Transaction &transaction, bool isGood)
{
    const qint64 at = transaction.doneAt;
    const Reason reason = reasonOf(transaction.outcome);
    const bool isFinished = !session.isInFlight();
    if (!isGood) {
        ++counted.all.failed;
        ++counted.stations[var.station].failed;
        if (list >= ServedCyclic && list <= ServedOnce)
            ++counted.lists[list].failed;
    }
    if (list == ServedCyclic) {
        if (isGood)
            blockAnswered(var, at);
        else
            blockFailed(var, reason, transaction.exceptionCode);
        countPass(var, at);
    }
    handleCallbacks(at);
    if (ledger.hasOpen())
        ledger.afterAnswer(list == ServedWrite ? &head : nullptr, isFinished, isGood, reason, transaction.exceptionCode,
                           session.writeList(), session.onceReadList(), at);
    settleWrites();
    // An exception reply is no value, but a sign of life.
    if (var.station != 0 && (isGood || transaction.outcome == Outcome::Exception))
        stationAnswered(var.station);
    else if (var.station != 0 && transaction.outcome != Outcome::PortGone)
        stationFailed(var.station, at - transaction.sentAt + qint64(settings.line.lateWindow) * 1000);
}

void Panel::handleCallbacks(qint64 at)
{
    const QVector<Callback> callbacks = session.callbacks();
    for (const Callback &callback : callbacks) {
        if (callback.isFailure || callback.connectNo == WriteRecord)
            continue;
        if (callback.connectNo == ConfirmRecord)
            confirmationRead(callback.varId, callback.status == 1, at);
        else
            onceReadDone(callback.varId, callback.status == 1);
    }
}

void Panel::countPass(const RW_VAR &var, qint64 at)
{
    if (passStartedAt < 0) {
        passStartedAt = at;
        servedInPass = 0;
        return;
    }
    if (stationStates.value(var.station).isOn)
        ++servedInPass;
    int wanted = 0;
    const QMap<int, int> &blocksOfStations = blockMap.blocksOfStations();
    for (auto station = blocksOfStations.begin(); station != blocksOfStations.end(); ++station)
        wanted += stationStates.value(station.key()).isOn ? station.value() : 0;
    if (servedInPass < wanted)
        return;
    counted.passTime.add(at - passStartedAt);
    passStartedAt = at;
    servedInPass = 0;
    listener->passFinished();
}

// The lists change in this thread alone, so their lengths can be looked at without the driver's lock.
void Panel::updateQueueLengths()
{
    const Emerson_EC_Series &driver = *session.driver().driver;
    counted.readLength = driver.readList.size();
    counted.writeLength = driver.writeList.size();
    counted.onceLength = driver.onceReadList.size();
    counted.writeMost = qMax(counted.writeMost, counted.writeLength);
    counted.onceMost = qMax(counted.onceMost, counted.onceLength);
}
