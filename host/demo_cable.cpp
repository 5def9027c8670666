// A cable that is pulled and plugged in again.
#include "host/demo.h"

namespace {

enum { FirstVarId = 201, StatusFailed = 2, ResultRepeat = 0, ResultGood = 1, TimeoutCodes = 41, LongWait = 10000 };

/// A write that never reaches the PLC.
struct LostWrite {
    const char *tag;
    QVector<quint32> values;
    int reportedStatus; ///< Status of its callback; 0 = none is made.
};

// The driver gives up the first; as it does so, it throws away whatever is queued behind without a word.
const QVector<LostWrite> &lostWrites()
{
    static const QVector<LostWrite> writes{{"set-point", {4321}, StatusFailed}, {"drive-command", {5}, 0}};
    return writes;
}

QString meaningOf(const Exchange &exchange)
{
    if (exchange.resultCode == ResultRepeat)
        return QStringLiteral("will be repeated");
    if (exchange.resultCode == TimeoutCodes + exchange.var.connectNo)
        return QString::fromLatin1("time-out, connection %1: given up").arg(exchange.var.connectNo);
    return QStringLiteral("another error");
}

} // namespace

bool Demo::pullTheCable()
{
    screen.heading(QStringLiteral("The cable is pulled, and plugged in again"));
    const int failuresBefore = cycle->failures().size();
    cycle->keepExchanges(500);
    // Between two requests, so that the first write is the next request and not thrown away behind a read.
    cycle->betweenRequests([this] {
        simulator.ask(QStringLiteral("unplug"));
        for (int i = 0; i < lostWrites().size(); ++i)
            queueWrite(demoTag(lostWrites().at(i).tag), lostWrites().at(i).values, FirstVarId + i);
    });
    if (!waitFor(QStringLiteral("a write and a read to be given up"), LongWait,
                 [this, failuresBefore] { return cycle->failures().size() >= failuresBefore + 2; }))
        return false;
    showFailures();
    showLostWrites();
    return plugIn();
}

void Demo::showFailures()
{
    Table table({"request", "reply", "result code", "meaning"}, "llrl");
    QList<int> codes;
    for (const Exchange &exchange : cycle->keptExchanges()) {
        if (exchange.resultCode == ResultGood)
            continue;
        codes << exchange.resultCode;
        table.addRow({QString::fromLatin1(exchange.request.toHex(' ').toUpper()),
                      exchange.reply.isEmpty() ? QStringLiteral("none")
                                               : QString::fromLatin1(exchange.reply.toHex(' ').toUpper()),
                      QString::number(exchange.resultCode), meaningOf(exchange)});
    }
    cycle->keepExchanges(0);
    screen.table(table);
    QStringList connections;
    for (const int connectNo : cycle->failures())
        connections << QString::number(connectNo);
    screen.line();
    screen.line(QString::fromLatin1("  Failure callbacks: for a request of connection %1.")
                    .arg(connections.join(QLatin1String(", then of "))));
    check(codes.contains(ResultRepeat), QStringLiteral("no request was repeated"));
    check(codes.contains(TimeoutCodes), QStringLiteral("no read ended with code 41, a time-out on connection 0"));
    check(codes.contains(TimeoutCodes + WriteConnection),
          QStringLiteral("the write did not end with code 42, a time-out on connection 1"));
    check(cycle->failures().contains(0) && cycle->failures().contains(WriteConnection),
          QStringLiteral("the failure callback was not made for both the read and the write"));
}

void Demo::showLostWrites()
{
    Table table({"queued meanwhile", "value", "outcome", "in the driver", "in the PLC"}, "lrlrr");
    for (int i = 0; i < lostWrites().size(); ++i) {
        const LostWrite &write = lostWrites().at(i);
        const DemoTag &tag = demoTag(write.tag);
        const int status = statusOf(FirstVarId + i);
        table.addRow({QLatin1String(write.tag), valueText(tag, write.values),
                      QLatin1String(status == 0 ? "dropped, no callback" : "reported as failed"),
                      valueText(tag, valuesInDriver(tag)), valueText(tag, valuesInPlc(tag, PolledStation))});
        check(status == write.reportedStatus,
              QString::fromLatin1("status %1 was reported for the write of %2, expected %3")
                  .arg(status)
                  .arg(QLatin1String(write.tag))
                  .arg(write.reportedStatus));
    }
    screen.line();
    screen.table(table);
}

bool Demo::plugIn()
{
    const qint64 goodBefore = cycle->counters().cyclicReplies;
    QElapsedTimer sincePlugged;
    simulator.ask(QStringLiteral("plug"));
    sincePlugged.start();
    if (!waitFor(QStringLiteral("a good reply from the plugged-in PLC"), LongWait,
                 [this, goodBefore] { return cycle->counters().cyclicReplies > goodBefore; }))
        return false;
    const qint64 milliseconds = sincePlugged.elapsed();
    if (!waitForFreshValues())
        return false;
    compareLostWrites();
    const int compared = compareAllTags(nullptr);
    screen.line();
    screen.line(QString::fromLatin1("  Plugged in again: a good reply after %1 ms, %2 tags read and compared.")
                    .arg(milliseconds)
                    .arg(compared));
    return !interrupted;
}

void Demo::compareLostWrites()
{
    for (const LostWrite &write : lostWrites()) {
        const DemoTag &tag = demoTag(write.tag);
        check(valuesInPlc(tag, PolledStation) != write.values,
              QString::fromLatin1("%1 reached the PLC, expected it to be lost").arg(QLatin1String(write.tag)));
    }
}
