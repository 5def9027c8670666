/// Replies that come byte by byte, one like the other, wake the host once each: it sleeps until all of one is expected.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

// A reply ends 14035 us after its request leaves at the earliest: 8 characters, a silence of 2005 us, 13 characters of
// 572.9 us. 250 us are an eighth of a silence.

enum { Earliest = 14035, Character = 573 };

Request words()
{
    return {hex("01 03 2F 0C 00 04 8C DE"), 13, 1, 0x03, false};
}
const char *const Answer = "01 03 08 11 22 33 44 55 66 77 88 74 9C";

LineSettings longTimeOut()
{
    LineSettings settings = evenParity();
    settings.replyTimeout = 200;
    return settings;
}

/// A line on which replies came byte by byte, each so long after its earliest end. The next request leaves at 100000.
struct Learned {
    ScriptedChannel channel;
    Line line;

    explicit Learned(const QList<qint64> &delays, const LineSettings &settings = longTimeOut())
        : line(channel, settings, bitwiseCrc)
    {
        for (const qint64 delay : delays) {
            const qint64 sent = qMax(channel.moment, qint64(2005));
            channel.trickle(sent + Earliest + delay - 12 * Character, Character, hex(Answer));
            transact();
        }
        channel.sleepUntil(100000);
        channel.rests.clear();
        channel.takesRests = true;
    }

    QString transact(const Request &request = words()) { return textOf(line.transact(request)); }
    void answerAt(qint64 moment, const char *bytes = Answer) { channel.at(moment, hex(bytes)); }
    QString rests() const { return textOf(channel.rests); }
};

bool isGood(const QString &result)
{
    return result.startsWith(QLatin1String("good "));
}

} // namespace

class TstPanelLineSleep : public QObject {
    Q_OBJECT

private slots:
    void aReplyIsExpectedALittleLaterThanTheLast_data();
    void aReplyIsExpectedALittleLaterThanTheLast();
    void fourInARowHaveToBeAlike_data();
    void fourInARowHaveToBeAlike();
    void repliesThatComeAtOnceSaveNoWakeUp_data();
    void repliesThatComeAtOnceSaveNoWakeUp();
    void whatIsThereInTimeIsExpectedSooner();
    void whatIsNotThereInTimeIsWaitedFor();
    void afterSixteenTheHostStaysAwakeForOne();
    void aPlcThatHasBecomeFasterIsNoticed();
    void notBeyondTheTimeOut();
    void afterAnythingButAGoodReplyFourAreLookedAtAgain_data();
    void afterAnythingButAGoodReplyFourAreLookedAtAgain();
    void whatElseCameMeanwhileHasItsOutcome_data();
    void whatElseCameMeanwhileHasItsOutcome();
    void aReplyOfAnyLengthIsNotSleptThrough();
    void aBroadcastIsFollowedByFourThatAreLookedAt();
    void withAnEchoNothingIsSleptThrough();
    void withoutASilentIntervalNothingIsSleptThrough();
    void aPortThatGoesEndsIt();
};

void TstPanelLineSleep::aReplyIsExpectedALittleLaterThanTheLast_data()
{
    QTest::addColumn<qint64>("delay");
    QTest::addColumn<QString>("rests");

    QTest::newRow("sooner than a silence") << qint64(-1) << "";
    QTest::newRow("after just a silence") << qint64(0) << "114285";
    QTest::newRow("soon") << qint64(65) << "114350";
    QTest::newRow("less than a silence more") << qint64(1754) << "116039";
    QTest::newRow("about a silence more") << qint64(1755) << "";
    QTest::newRow("late") << qint64(9000) << "";
}

void TstPanelLineSleep::aReplyIsExpectedALittleLaterThanTheLast()
{
    QFETCH(qint64, delay);
    Learned learned({delay, delay, delay, delay});
    learned.answerAt(114100);
    QVERIFY(isGood(learned.transact()));
    QTEST(learned.rests(), "rests");
}

void TstPanelLineSleep::fourInARowHaveToBeAlike_data()
{
    QTest::addColumn<QList<qint64>>("delays");
    QTest::addColumn<QString>("rests");

    QTest::newRow("three") << QList<qint64>{65, 65, 65} << "";
    QTest::newRow("the last is too soon") << QList<qint64>{65, 65, 65, -1} << "";
    QTest::newRow("the last is too late") << QList<qint64>{65, 65, 65, 1755} << "";
    QTest::newRow("three since one that was too soon") << QList<qint64>{65, -1, 65, 65, 65} << "";
    QTest::newRow("four since then") << QList<qint64>{-1, 65, 65, 65, 65} << "114350";
    QTest::newRow("the last of them counts") << QList<qint64>{900, 20, 400, 65} << "114350";
}

void TstPanelLineSleep::fourInARowHaveToBeAlike()
{
    QFETCH(QList<qint64>, delays);
    Learned learned(delays);
    learned.answerAt(114100);
    QVERIFY(isGood(learned.transact()));
    QTEST(learned.rests(), "rests");
}

// As a gateway or a USB adapter hands them over.
void TstPanelLineSleep::repliesThatComeAtOnceSaveNoWakeUp_data()
{
    QTest::addColumn<int>("spread");
    QTest::addColumn<bool>("isSleptThrough");

    QTest::newRow("at once") << 0 << false;
    QTest::newRow("within less than half their time") << 3436 << false;
    QTest::newRow("within half their time") << 3438 << true;
}

void TstPanelLineSleep::repliesThatComeAtOnceSaveNoWakeUp()
{
    QFETCH(int, spread);
    ScriptedChannel channel;
    Line line(channel, evenParity(), bitwiseCrc);
    qint64 sent = 0;
    for (int i = 0; i < 5; ++i) {
        channel.rests.clear();
        sent = qMax(channel.moment, qint64(2005));
        const qint64 end = sent + Earliest + 65;
        channel.at(end - spread, hex(Answer).left(12));
        channel.at(end, hex(Answer).mid(12));
        QVERIFY(isGood(textOf(line.transact(words()))));
    }
    QTEST(!channel.rests.isEmpty() && channel.rests.first() == sent + 14350, "isSleptThrough");
}

void TstPanelLineSleep::whatIsThereInTimeIsExpectedSooner()
{
    Learned learned({65, 65, 65, 65});
    learned.answerAt(114100);
    QCOMPARE(learned.transact(),
             QStringLiteral("good sent 100000 done 116355 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C"));
    learned.answerAt(130400);
    learned.transact();
    learned.answerAt(146700);
    learned.transact();
    // 315, 237 and 178 us after the earliest end.
    QCOMPARE(learned.rests(), QStringLiteral("114350 130627 146845"));
}

void TstPanelLineSleep::whatIsNotThereInTimeIsWaitedFor()
{
    Learned learned({65, 65, 65, 65});
    learned.answerAt(114340, "01 03 08 11 22 33 44 55 66 77 88 74");
    learned.answerAt(114500, "9C");
    QCOMPARE(learned.transact(),
             QStringLiteral("good sent 100000 done 116505 after 9917: 01 03 08 11 22 33 44 55 66 77 88 74 9C"));
    // 465 us after its earliest end: the next is expected after 715.
    learned.answerAt(131000);
    learned.transact();
    QCOMPARE(learned.rests(), QStringLiteral("114350 131255"));
}

void TstPanelLineSleep::afterSixteenTheHostStaysAwakeForOne()
{
    Learned learned({65, 65, 65, 65});
    QList<int> sleeps;
    for (int i = 0; i < 36; ++i) {
        const qint64 sent = learned.channel.moment;
        learned.channel.trickle(sent + Earliest - 12 * Character, Character, hex(Answer));
        learned.channel.rests.clear();
        QVERIFY(isGood(learned.transact()));
        // Awake, it rests between the bytes; asleep, not before they are due.
        if (learned.channel.rests.size() == 1 && learned.channel.rests.first() >= sent + Earliest)
            sleeps << i;
    }
    QCOMPARE(sleeps.size(), 34);
    QVERIFY(!sleeps.contains(16));
    QVERIFY(!sleeps.contains(33));
}

void TstPanelLineSleep::aPlcThatHasBecomeFasterIsNoticed()
{
    Learned learned({65, 65, 65, 65});
    int late = 0;
    for (int i = 0; i < 100; ++i) {
        const qint64 sent = learned.channel.moment;
        learned.channel.trickle(sent + Earliest - 1500 - 12 * Character, Character, hex(Answer));
        QVERIFY(isGood(learned.transact()));
        late += learned.channel.moment >= sent + Earliest + 2005;
    }
    QCOMPARE(late, 16);
}

void TstPanelLineSleep::notBeyondTheTimeOut()
{
    LineSettings settings = evenParity();
    settings.replyTimeout = 3;
    // Expected 1150 us after its earliest end, at 115185.
    Learned learned({900, 900, 900, 900}, settings);
    QCOMPARE(learned.transact(), QStringLiteral("timeout sent 100000 done 115030: -"));
    QCOMPARE(learned.rests(), QStringLiteral("115030"));
}

void TstPanelLineSleep::afterAnythingButAGoodReplyFourAreLookedAtAgain_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("outcome");

    QTest::newRow("time-out") << ""
                              << "timeout";
    QTest::newRow("exception") << "114100 01 83 02 C0 F1"
                               << "exception";
    QTest::newRow("wrong CRC") << "114100 01 03 08 11 22 33 44 55 66 77 88 74 9D"
                               << "crc";
    QTest::newRow("cut off") << "114100 01 03 08 11 22 33 44 55 66 77 88 74"
                             << "length";
    QTest::newRow("two answers") << "107000 01 03 08 21 22 33 44 55 66 77 88 77 88; "
                                    "114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
                                 << "length";
}

void TstPanelLineSleep::afterAnythingButAGoodReplyFourAreLookedAtAgain()
{
    QFETCH(QString, second);
    Learned learned({65, 65, 65, 65});
    play(learned.channel, second);
    QTEST(learned.transact().section(QLatin1Char(' '), 0, 0), "outcome");
    QCOMPARE(learned.rests(), QStringLiteral("114350"));
    learned.channel.takesRests = false;
    learned.channel.sleepUntil(600000);
    for (int i = 0; i < 4; ++i) {
        // Beyond a late window.
        learned.channel.sleepUntil(learned.channel.moment + 60000);
        learned.channel.rests.clear();
        const qint64 sent = learned.channel.moment;
        learned.channel.trickle(sent + Earliest + 65 - 12 * Character, Character, hex(Answer));
        QVERIFY(isGood(learned.transact()));
        QVERIFY(learned.channel.rests.first() < sent + Earliest);
    }
    learned.channel.rests.clear();
    const qint64 sent = learned.channel.moment;
    learned.transact();
    QCOMPARE(learned.rests(), QString::number(sent + 14350));
}

void TstPanelLineSleep::whatElseCameMeanwhileHasItsOutcome_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("result");

    QTest::newRow("exception") << "108000 01 83 02 C0 F1"
                               << "exception sent 100000 done 116355 code 2: 01 83 02 C0 F1";
    QTest::newRow("wrong CRC") << "114100 01 03 08 11 22 33 44 55 66 77 88 74 9D"
                               << "crc sent 100000 done 116355: 01 03 08 11 22 33 44 55 66 77 88 74 9D";
    QTest::newRow("a byte of noise behind it")
        << "111000 01 03 08 11 22 33 44 55 66 77 88 74 9C; 114300 FF"
        << "length sent 100000 done 116355: 01 03 08 11 22 33 44 55 66 77 88 74 9C FF";
    QTest::newRow("a byte of noise before it")
        << "107000 FF; 114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 100000 done 116355 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C; noise 114350: FF";
    QTest::newRow("the request before it")
        << "105000 01 03 2F 0C 00 04 8C DE; 114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 100000 done 116355 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C; noise 114350: "
           "01 03 2F 0C 00 04 8C DE";
    // Which of the two was the answer only the silence between them would tell.
    QTest::newRow("two answers") << "107000 01 03 08 21 22 33 44 55 66 77 88 77 88; "
                                    "114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
                                 << "length sent 100000 done 116355: -; noise 114350: 01 03 08 21 22 33 44 55 66 77 88 "
                                    "77 88 01 03 08 11 22 33 44 55 66 77 88 74 9C";
    QTest::newRow("the same answer twice")
        << "107000 01 03 08 11 22 33 44 55 66 77 88 74 9C; 114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 100000 done 116355 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C; noise 114350: "
           "01 03 08 11 22 33 44 55 66 77 88 74 9C";
    QTest::newRow("an answer behind an exception")
        << "107000 01 83 02 C0 F1; 114100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "length sent 100000 done 116355: -; noise 114350: 01 83 02 C0 F1 01 03 08 11 22 33 44 55 66 77 88 74 9C";
    QTest::newRow("another station")
        << "108000 02 03 02 12 34 F1 33; 125000 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 100000 done 127005 after 20417: 01 03 08 11 22 33 44 55 66 77 88 74 9C; "
           "foreign 114350: 02 03 02 12 34 F1 33";
}

void TstPanelLineSleep::whatElseCameMeanwhileHasItsOutcome()
{
    QFETCH(QString, second);
    Learned learned({65, 65, 65, 65});
    play(learned.channel, second);
    QTEST(learned.transact(), "result");
    QCOMPARE(learned.rests(), QStringLiteral("114350"));
}

void TstPanelLineSleep::aReplyOfAnyLengthIsNotSleptThrough()
{
    Request anyLength = words();
    anyLength.replyLen = -1;
    Learned learned({65, 65, 65, 65});
    learned.answerAt(114100);
    QVERIFY(isGood(learned.transact(anyLength)));
    learned.answerAt(learned.channel.moment + 14100);
    QVERIFY(isGood(learned.transact()));
    QCOMPARE(learned.rests(), QString());
}

void TstPanelLineSleep::aBroadcastIsFollowedByFourThatAreLookedAt()
{
    Learned learned({65, 65, 65, 65});
    const QString result = learned.transact({hex("00 06 07 D0 00 01 48 97"), 0, 0, 0x06, false});
    QVERIFY2(result.startsWith(QLatin1String("no-reply ")), qPrintable(result));
    learned.answerAt(learned.channel.moment + 14100);
    QVERIFY(isGood(learned.transact()));
    QCOMPARE(learned.rests(), QString());
}

void TstPanelLineSleep::withAnEchoNothingIsSleptThrough()
{
    LineSettings settings = evenParity();
    settings.hasEcho = true;
    ScriptedChannel channel;
    Line line(channel, settings, bitwiseCrc);
    for (int i = 0; i < 6; ++i) {
        channel.rests.clear();
        const qint64 sent = qMax(channel.moment, qint64(2005));
        channel.at(sent + 4600, words().frame);
        channel.trickle(sent + Earliest + 65 - 12 * Character, Character, hex(Answer));
        QVERIFY(isGood(textOf(line.transact(words()))));
        QVERIFY(channel.rests.first() < sent + Earliest);
    }
}

void TstPanelLineSleep::withoutASilentIntervalNothingIsSleptThrough()
{
    LineSettings settings = evenParity();
    settings.silence = 0;
    ScriptedChannel channel;
    Line line(channel, settings, bitwiseCrc);
    for (int i = 0; i < 6; ++i) {
        channel.rests.clear();
        const qint64 sent = channel.moment;
        // Just as fast as the line allows, so that nothing is to be learned but this.
        channel.trickle(sent + 4583 + 7447 - 12 * Character, Character, hex(Answer));
        QVERIFY(isGood(textOf(line.transact(words()))));
        QVERIFY(channel.rests.isEmpty() || channel.rests.first() < sent + 4583 + 7447);
    }
}

void TstPanelLineSleep::aPortThatGoesEndsIt()
{
    Learned learned({65, 65, 65, 65});
    learned.channel.goneAt = 110000;
    QCOMPARE(learned.transact(), QStringLiteral("port sent 100000 done 110000: -"));
    QCOMPARE(learned.rests(), QStringLiteral("114350"));
}

QTEST_GUILESS_MAIN(TstPanelLineSleep)
#include "tst_panel_line_sleep.moc"
