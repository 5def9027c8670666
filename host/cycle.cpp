#include "host/cycle.h"

namespace {

enum { IdleMilliseconds = 5, GoodReply = 1, GoodReplyNotStored = 100, CyclicVarId = -1 };

// The driver's callbacks carry no pointer of the host's, so there is one cycle at a time.
std::atomic<Cycle *> activeCycle{nullptr};

bool isGood(int resultCode)
{
    return resultCode == GoodReply || resultCode == GoodReplyNotStored;
}

} // namespace

Cycle::Cycle(const Plugin &plugin, COMINFO &comInfo, const LineSettings &settings)
    : plugin(plugin), comInfo(comInfo), settings(settings)
{
}

Cycle::~Cycle()
{
    stop();
}

bool Cycle::start(QString *error)
{
    activeCycle = this;
    plugin.registCallBackFuncIntf(noteRequestDone, noteFailure);
    QThread::start();
    opened.acquire();
    *error = openError;
    return openError.isEmpty();
}

void Cycle::stop()
{
    stopping = true;
    wait();
    if (activeCycle == this) {
        plugin.registCallBackFuncIntf(nullptr, nullptr);
        activeCycle = nullptr;
    }
}

// The port lives in this thread from opening to closing.
void Cycle::run()
{
    SerialLine line(settings);
    const bool isOpen = line.open(&openError);
    opened.release();
    while (isOpen && !stopping) {
        // A frame that waits to be repeated, or the second of two, is part of a request in flight.
        if (pausing && plugin.driver->protocolList.isEmpty()) {
            paused.release();
            resumed.acquire();
        }
        if (const Protocol *const protocol = plugin.comCommunication())
            serveOne(line, *protocol);
        else
            msleep(IdleMilliseconds);
    }
}

void Cycle::betweenRequests(const std::function<void()> &action)
{
    pausing = true;
    paused.acquire();
    action();
    pausing = false;
    resumed.release();
}

void Cycle::serveOne(SerialLine &line, const Protocol &protocol)
{
    // The record belongs to the driver and is gone after DataCom.
    Exchange exchange;
    exchange.request = protocol.frame.left(protocol.frameLen);
    exchange.replyLen = protocol.replyLen;
    exchange.isRepeat = repeatFollows;
    exchange.var = protocol.var;
    exchange.reply = line.transact(exchange.request, exchange.replyLen);
    QByteArray reply = exchange.reply;
    exchange.resultCode = plugin.dataCom(&reply, reply.size())->resultCode;
    repeatFollows = exchange.resultCode == 0;

    const QMutexLocker locker(&mutex);
    ++counted.requests;
    counted.repeats += exchange.isRepeat;
    if (isGood(exchange.resultCode))
        counted.cyclicReplies += exchange.var.varId == CyclicVarId;
    else if (exchange.reply.isEmpty())
        ++counted.timeouts;
    else
        ++counted.badReplies;
    counted.passFinished = comInfo.finishFlag == 1;
    if (exchanges.size() < exchangeLimit)
        exchanges << exchange;
}

// Both callbacks run in the cycle thread, under the driver's list lock: they only take notes.
void Cycle::noteRequestDone(int, int connectNo, int varId, int status)
{
    Cycle *const cycle = activeCycle;
    if (!cycle)
        return;
    const QMutexLocker locker(&cycle->mutex);
    cycle->done << RequestDone{connectNo, varId, status};
    ++(status == 1 ? cycle->counted.writesDone : cycle->counted.writesFailed);
}

void Cycle::noteFailure(QList<RW_VAR> &, int connectNo, int)
{
    Cycle *const cycle = activeCycle;
    if (!cycle)
        return;
    const QMutexLocker locker(&cycle->mutex);
    cycle->failed << connectNo;
    ++cycle->counted.failures;
}

CycleCounters Cycle::counters() const
{
    const QMutexLocker locker(&mutex);
    return counted;
}

void Cycle::keepExchanges(int limit)
{
    const QMutexLocker locker(&mutex);
    exchanges.clear();
    exchangeLimit = limit;
}

QList<Exchange> Cycle::keptExchanges() const
{
    const QMutexLocker locker(&mutex);
    return exchanges;
}

QList<RequestDone> Cycle::requestsDone() const
{
    const QMutexLocker locker(&mutex);
    return done;
}

QList<int> Cycle::failures() const
{
    const QMutexLocker locker(&mutex);
    return failed;
}
