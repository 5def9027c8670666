/// Texts of ages, times, writes and counters as people read them, and the same as JSON.
#include "host/report.h"

#include <QtTest/QtTest>

Q_DECLARE_METATYPE(WriteEntry)

namespace {

constexpr qint64 Second = 1000000;

Tag speed(bool isReadable = true)
{
    Tag tag;
    tag.name = QStringLiteral("speed");
    tag.type = 7;
    tag.address = QStringLiteral("100");
    tag.format = Format::Uint16;
    tag.isReadable = isReadable;
    tag.isWritable = true;
    return tag;
}

WriteEntry ended(WriteState state, Reason reason = Reason::None)
{
    WriteEntry write;
    write.id = 3;
    write.bytes = QByteArray("\x07\x00", 2);
    write.readBack = QByteArray("\x09\x00", 2);
    write.state = state;
    write.reason = reason;
    write.exceptionCode = 2;
    return write;
}

} // namespace

class TstPanelReport : public QObject {
    Q_OBJECT

private slots:
    void agesAreShortTexts_data();
    void agesAreShortTexts();
    void noTimeIsADash();
    void everyEndOfAWriteHasItsText_data();
    void everyEndOfAWriteHasItsText();
    void aWriteThatIsNotToBeConfirmedIsDone();
    void everyStateHasAName();
    void aWriteOnItsWayIsDoneInJson();
    void eventsOfStationsAreJson();
    void requestsAndOneShotReadsAreNoEvents();
    void whatNoTableHoldsIsALine();
    void aSummaryLeavesOutWhatNoWriteEndedAs();
};

void TstPanelReport::agesAreShortTexts_data()
{
    QTest::addColumn<qint64>("microseconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("never") << qint64(-1) << "-";
    QTest::newRow("now") << qint64(0) << "0.0 s";
    QTest::newRow("tenths") << qint64(9940000) << "9.9 s";
    QTest::newRow("no tenths from 10 s on") << qint64(9960000) << "10 s";
    QTest::newRow("last seconds") << 99 * Second << "99 s";
    QTest::newRow("minutes") << 100 * Second << "2 min";
    QTest::newRow("last minutes") << 99 * 60 * Second << "99 min";
    QTest::newRow("hours") << 100 * 60 * Second << "2 h";
    QTest::newRow("last hours") << 47 * 3600 * Second << "47 h";
    QTest::newRow("days") << 48 * 3600 * Second << "2 d";
    QTest::newRow("a year") << 365 * 86400 * Second << "365 d";
}

void TstPanelReport::agesAreShortTexts()
{
    QFETCH(qint64, microseconds);
    QTEST(ageText(microseconds), "text");
}

void TstPanelReport::noTimeIsADash()
{
    QCOMPARE(millisecondsText(-1), QStringLiteral("-"));
    QCOMPARE(millisecondsText(0), QStringLiteral("0.000 ms"));
    QCOMPARE(millisecondsText(1234.5), QStringLiteral("1.234 ms"));
}

void TstPanelReport::everyEndOfAWriteHasItsText_data()
{
    QTest::addColumn<WriteEntry>("write");
    QTest::addColumn<QString>("text");
    WriteEntry sent = ended(WriteState::Queued);
    sent.isSent = true;
    QTest::newRow("not sent") << ended(WriteState::Queued) << "not sent";
    QTest::newRow("sent") << sent << "unknown (sent, not answered)";
    QTest::newRow("being read back") << ended(WriteState::Confirming) << "done (not read back)";
    QTest::newRow("not read back") << ended(WriteState::Done) << "done (not read back)";
    QTest::newRow("confirmed") << ended(WriteState::Confirmed) << "confirmed";
    QTest::newRow("reverted") << ended(WriteState::Reverted) << "reverted, reads back 9";
    QTest::newRow("failed") << ended(WriteState::Failed, Reason::Timeout) << "failed (timeout)";
    QTest::newRow("failed by exception") << ended(WriteState::Failed, Reason::Exception)
                                         << "failed (exception: illegal data address)";
    QTest::newRow("purged") << ended(WriteState::Purged) << "purged";
}

void TstPanelReport::everyEndOfAWriteHasItsText()
{
    QFETCH(WriteEntry, write);
    QTEST(writeText(speed(), write, true), "text");
}

void TstPanelReport::aWriteThatIsNotToBeConfirmedIsDone()
{
    QCOMPARE(writeText(speed(), ended(WriteState::Done), false), QStringLiteral("done"));
    QCOMPARE(writeText(speed(false), ended(WriteState::Done), true), QStringLiteral("done"));
    QCOMPARE(writeText(speed(false), ended(WriteState::Confirming), true), QStringLiteral("confirming"));
}

void TstPanelReport::everyStateHasAName()
{
    QStringList names;
    for (int state = 0; state < WriteStates; ++state)
        names << writeStateName(WriteState(state));
    QCOMPARE(names.join(QLatin1Char(' ')),
             QStringLiteral("queued confirming confirmed done failed superseded purged dropped-queue-full "
                            "dropped-station-off reverted refused"));
}

void TstPanelReport::aWriteOnItsWayIsDoneInJson()
{
    const auto state = [](WriteEntry write) { return writeObject(speed(), write).value(QStringLiteral("state")); };
    QCOMPARE(state(ended(WriteState::Confirming)).toString(), QStringLiteral("done"));
    QCOMPARE(state(ended(WriteState::Queued)).toString(), QStringLiteral("not-sent"));
    QCOMPARE(state(ended(WriteState::Purged)).toString(), QStringLiteral("purged"));
    QVERIFY(!writeObject(speed(), ended(WriteState::Queued)).contains(QStringLiteral("seconds")));
}

void TstPanelReport::eventsOfStationsAreJson()
{
    for (const bool isOn : {true, false}) {
        QJsonObject object = eventObject(PanelEvent(PanelEvent::StationSwitched, 5, isOn), {}, 0);
        QVERIFY(!object.take(QStringLiteral("time")).toString().isEmpty());
        const QJsonObject expected{{"event", "station"}, {"station", 5}, {"on", isOn}};
        QCOMPARE(object, expected);
    }
}

void TstPanelReport::requestsAndOneShotReadsAreNoEvents()
{
    for (const PanelEvent::Kind kind : {PanelEvent::ReadDone, PanelEvent::Served})
        QVERIFY(eventObject(PanelEvent(kind, 1, true), {}, 0).isEmpty());
}

void TstPanelReport::whatNoTableHoldsIsALine()
{
    PanelCounters counters;
    counters.writeLength = 1;
    counters.writeMost = 2;
    counters.onceLength = 3;
    counters.onceMost = 4;
    const QString queues = QStringLiteral("queues: write 1 (longest 2), one-shot read 3 (longest 4)");
    QCOMPARE(counterLines(counters), QStringList{queues});
    counters.all.exceptionCodes = {{2, 7}, {4, 1}};
    counters.all.discardedBytes = 12;
    counters.reopened = 5;
    QCOMPARE(
        counterLines(counters),
        QStringList({queues, QStringLiteral("exceptions: illegal data address 7, server device failure 1"),
                     QStringLiteral("discarded bytes: 12"), QStringLiteral("the port was lost and came back: 5")}));
}

void TstPanelReport::aSummaryLeavesOutWhatNoWriteEndedAs()
{
    QCOMPARE(writeSummary({{"writes", 0}, {"confirmed", 0}}), QString());
    QCOMPARE(writeSummary({{"writes", 3}, {"confirmed", 2}, {"failed", 0}, {"purged", 1}}),
             QStringLiteral("writes: 3 in all: confirmed 2, purged 1"));
}

QTEST_APPLESS_MAIN(TstPanelReport)
#include "tst_panel_report.moc"
