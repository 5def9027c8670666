/// The line around a transaction: silence before the request, late answers, the turnaround after a broadcast.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

/// Sent at 2005 it has left at 6588, and waits until 110598.
Request word()
{
    return {hex("01 03 07 D0 00 01 84 87"), 7, 1, 0x03, false};
}
Request broadcast()
{
    return {hex("00 06 00 64 12 34 C4 B3"), 0, 0, 0x06, false};
}

QString transact(const Request &request, const QString &script)
{
    ScriptedChannel channel;
    play(channel, script);
    return textOf(Line(channel, evenParity(), bitwiseCrc).transact(request));
}

/// Both of two transactions that follow each other at once.
QStringList transactTwice(const Request &request, const QString &script)
{
    ScriptedChannel channel;
    play(channel, script);
    Line line(channel, evenParity(), bitwiseCrc);
    const QString first = textOf(line.transact(request));
    return {first, textOf(line.transact(request))};
}

} // namespace

class TstPanelLineSilence : public QObject {
    Q_OBJECT

private slots:
    void charactersTakeTheirTime_data();
    void charactersTakeTheirTime();
    void requestWaitsForTheSilentInterval_data();
    void requestWaitsForTheSilentInterval();
    void bytesBeforeTheRequestAreDiscarded();
    void whatCameBetweenTheRequestsIsDiscarded();
    void silenceAfterTheReplyIsNotWaitedForTwice();
    void lineThatIsNeverSilentIsUsedInTheEnd();
    void lateAnswerIsDiscarded_data();
    void lateAnswerIsDiscarded();
    void lateWindowFollowsOnlyAWaitInVain_data();
    void lateWindowFollowsOnlyAWaitInVain();
    void broadcastIsFollowedByTheTurnaround_data();
    void broadcastIsFollowedByTheTurnaround();
    void requestAfterABroadcastComesRightAfterTheTurnaround();
    void silenceFollowsABroadcastWithoutTurnaround();
    void lateWindowFollowsACutOffReplyOfAnyLength();
};

void TstPanelLineSilence::charactersTakeTheirTime_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("parity");
    QTest::addColumn<int>("stopBits");
    QTest::addColumn<int>("silence");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bits");
    QTest::addColumn<qint64>("hundred");
    QTest::addColumn<qint64>("interval");
    const int none = int(Parity::None), even = int(Parity::Even), odd = int(Parity::Odd);
    QTest::newRow("1200 8E1") << 1200 << even << 1 << -1 << "1200 baud 8E1" << 11 << 916666LL << 32083LL;
    QTest::newRow("9600 8E1") << 9600 << even << 1 << -1 << "9600 baud 8E1" << 11 << 114583LL << 4010LL;
    QTest::newRow("9600 8N1") << 9600 << none << 1 << -1 << "9600 baud 8N1" << 10 << 104166LL << 3645LL;
    QTest::newRow("9600 8O2") << 9600 << odd << 2 << -1 << "9600 baud 8O2" << 12 << 125000LL << 4375LL;
    QTest::newRow("19200 8N2") << 19200 << none << 2 << -1 << "19200 baud 8N2" << 11 << 57291LL << 2005LL;
    QTest::newRow("38400 8E1") << 38400 << even << 1 << -1 << "38400 baud 8E1" << 11 << 28645LL << 1750LL;
    QTest::newRow("115200 8N1") << 115200 << none << 1 << -1 << "115200 baud 8N1" << 10 << 8680LL << 1750LL;
    QTest::newRow("set") << 9600 << even << 1 << 700 << "9600 baud 8E1" << 11 << 114583LL << 700LL;
    QTest::newRow("set to none") << 9600 << even << 1 << 0 << "9600 baud 8E1" << 11 << 114583LL << 0LL;
}

void TstPanelLineSilence::charactersTakeTheirTime()
{
    QFETCH(int, baud);
    QFETCH(int, parity);
    QFETCH(int, stopBits);
    QFETCH(int, silence);
    LineSettings settings;
    settings.baud = baud;
    settings.parity = Parity(parity);
    settings.stopBits = stopBits;
    settings.silence = silence;
    QTEST(settings.text(), "text");
    QTEST(settings.characterBits(), "bits");
    QTEST(settings.charactersTime(100), "hundred");
    QTEST(settings.silentInterval(), "interval");
}

void TstPanelLineSilence::requestWaitsForTheSilentInterval_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("silence");
    QTest::addColumn<qint64>("sentAt");
    QTest::newRow("9600") << 9600 << -1 << 4010LL;
    QTest::newRow("19200") << 19200 << -1 << 2005LL;
    QTest::newRow("38400") << 38400 << -1 << 1750LL;
    QTest::newRow("set") << 19200 << 700 << 700LL;
    QTest::newRow("none") << 19200 << 0 << 0LL;
}

void TstPanelLineSilence::requestWaitsForTheSilentInterval()
{
    QFETCH(int, baud);
    QFETCH(int, silence);
    QFETCH(qint64, sentAt);
    LineSettings settings = evenParity();
    settings.baud = baud;
    settings.silence = silence;
    ScriptedChannel channel;
    channel.moment = 5000000;
    QCOMPARE(Line(channel, settings, bitwiseCrc).transact(word()).sentAt, 5000000 + sentAt);
}

void TstPanelLineSilence::bytesBeforeTheRequestAreDiscarded()
{
    QCOMPARE(transact(word(), "1000 AA; 2500 BB; 4505 CC; 20000 01 03 02 12 34 B5 33"),
             QStringLiteral("good sent 6510 done 22005 after 8907: 01 03 02 12 34 B5 33; before 1000: AA BB CC"));
}

// A twin of the last answer that came while nobody listened.
void TstPanelLineSilence::whatCameBetweenTheRequestsIsDiscarded()
{
    ScriptedChannel channel;
    play(channel, "12000 01 03 02 12 34 B5 33; 15000 01 03 02 12 34 B5 33; 30000 01 03 02 56 78 87 C6");
    Line line(channel, evenParity(), bitwiseCrc);
    QCOMPARE(line.transact(word()).outcome, Outcome::Good);
    channel.sleepUntil(20000);
    QCOMPARE(textOf(line.transact(word())),
             QStringLiteral("good sent 22005 done 32005 after 3412: 01 03 02 56 78 87 C6; "
                            "before 20000: 01 03 02 12 34 B5 33"));
}

void TstPanelLineSilence::silenceAfterTheReplyIsNotWaitedForTwice()
{
    QCOMPARE(transactTwice(word(), "12000 01 03 02 12 34 B5 33; 30000 01 03 02 12 34 B5 33"),
             QStringList({"good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33",
                          "good sent 14005 done 32005 after 11412: 01 03 02 12 34 B5 33"}));
}

void TstPanelLineSilence::lineThatIsNeverSilentIsUsedInTheEnd()
{
    ScriptedChannel channel;
    channel.trickle(500, 1000, QByteArray(1000, '\x55'));
    const Transaction transaction = Line(channel, evenParity(), bitwiseCrc).transact(word());
    QCOMPARE(transaction.sentAt, 150000);
    QCOMPARE(transaction.discarded.first().reason, Discarded::BeforeRequest);
    QCOMPARE(transaction.discarded.first().bytes, QByteArray(150, '\x55'));
    QCOMPARE(transaction.outcome, Outcome::Timeout);
}

// The first wait ends in vain at 110598, its late window at 160598.
void TstPanelLineSilence::lateAnswerIsDiscarded_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("second");
    QTest::newRow("none") << "170000 01 03 02 12 34 B5 33"
                          << "good sent 160598 done 172005 after 4819: 01 03 02 12 34 B5 33";
    QTest::newRow("early in the window")
        << "111000 01 03 02 56 78 87 C6; 170000 01 03 02 12 34 B5 33"
        << "good sent 160598 done 172005 after 4819: 01 03 02 12 34 B5 33; late 111000: 01 03 02 56 78 87 C6";
    QTest::newRow("two bursts") << "111000 01 03; 120000 02 56; 170000 01 03 02 12 34 B5 33"
                                << "good sent 160598 done 172005 after 4819: 01 03 02 12 34 B5 33; "
                                   "late 111000: 01 03; late 120000: 02 56";
    QTest::newRow("across the window's end")
        << "160000 01 03 02; 161000 56 78 87 C6; 170000 01 03 02 12 34 B5 33"
        << "good sent 163005 done 172005 after 2412: 01 03 02 12 34 B5 33; late 160000: 01 03 02 56 78 87 C6";
    QTest::newRow("at the window's end")
        << "160598 01 03 02 56 78 87 C6; 170000 01 03 02 12 34 B5 33"
        << "good sent 162603 done 172005 after 2814: 01 03 02 12 34 B5 33; before 160598: 01 03 02 56 78 87 C6";
}

void TstPanelLineSilence::lateAnswerIsDiscarded()
{
    QFETCH(QString, script);
    const QStringList results = transactTwice(word(), script);
    QCOMPARE(results[0], QStringLiteral("timeout sent 2005 done 110598: -"));
    QTEST(results[1], "second");
}

void TstPanelLineSilence::lateWindowFollowsOnlyAWaitInVain_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<qint64>("secondAt");
    QTest::newRow("nothing") << "" << 160598LL;
    QTest::newRow("foreign") << "12000 FF" << 160598LL;
    QTest::newRow("cut off") << "12000 01 03 02 12 34" << 160598LL;
    QTest::newRow("answer") << "12000 01 03 02 12 34 B5 33" << 14005LL;
    QTest::newRow("wrong CRC") << "12000 01 03 02 12 34 B5 34" << 14005LL;
    QTest::newRow("too long") << "12000 01 03 02 12 34 B5 33 00" << 14005LL;
    QTest::newRow("exception") << "12000 01 83 02 C0 F1" << 14005LL;
}

void TstPanelLineSilence::lateWindowFollowsOnlyAWaitInVain()
{
    QFETCH(QString, script);
    ScriptedChannel channel;
    play(channel, script);
    Line line(channel, evenParity(), bitwiseCrc);
    line.transact(word());
    QTEST(line.transact(word()).sentAt, "secondAt");
}

void TstPanelLineSilence::broadcastIsFollowedByTheTurnaround_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
    QTest::newRow("nothing comes") << ""
                                   << "no-reply sent 2005 done 106588: -";
    QTest::newRow("something comes") << "9000 00 06 00 64; 20000 12 34; 106588 C4"
                                     << "no-reply sent 2005 done 106588: -; foreign 9000: 00 06 00 64 12 34 C4";
    QTest::newRow("something comes later") << "106589 00"
                                           << "no-reply sent 2005 done 106588: -";
}

void TstPanelLineSilence::broadcastIsFollowedByTheTurnaround()
{
    QFETCH(QString, script);
    QTEST(transact(broadcast(), script), "result");
}

void TstPanelLineSilence::requestAfterABroadcastComesRightAfterTheTurnaround()
{
    QCOMPARE(transactTwice(broadcast(), QString())[1], QStringLiteral("no-reply sent 106588 done 211171: -"));
}

void TstPanelLineSilence::silenceFollowsABroadcastWithoutTurnaround()
{
    LineSettings settings = evenParity();
    settings.turnaround = 0;
    ScriptedChannel channel;
    Line line(channel, settings, bitwiseCrc);
    QCOMPARE(textOf(line.transact(broadcast())), QStringLiteral("no-reply sent 2005 done 6588: -"));
    QCOMPARE(textOf(line.transact(broadcast())), QStringLiteral("no-reply sent 8593 done 13176: -"));
}

void TstPanelLineSilence::lateWindowFollowsACutOffReplyOfAnyLength()
{
    const Request request = {hex("01 03 07 D0 00 01 84 87"), -1, 1, 0x03, false};
    const QStringList results = transactTwice(request, "12000 01 03; 320000 01 03 02 12 34 B5 33");
    QCOMPARE(results[0], QStringLiteral("length sent 2005 done 253254: 01 03"));
    QCOMPARE(results[1], QStringLiteral("good sent 303254 done 340000 after 12163: 01 03 02 12 34 B5 33"));
}

QTEST_GUILESS_MAIN(TstPanelLineSilence)
#include "tst_panel_line_silence.moc"
