/// A reply that comes like the one before it wakes the host once: it sleeps until all of it is expected.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

// The first request leaves at 2005, its last byte at 6588; the first reply ends at 16040 at the earliest:
// after a silence of 2005 us and 13 characters of 572.9 us. 250 us are an eighth of the silence.

Request words()
{
    return {hex("01 03 2F 0C 00 04 8C DE"), 13, 1, 0x03, false};
}
const char *const Answer = " 01 03 08 11 22 33 44 55 66 77 88 74 9C; ";

QString at(qint64 moment, const char *bytes = Answer)
{
    return QString::number(moment) + QLatin1String(bytes);
}

/// What became of so many requests, one after the other, and when the host slept.
struct Story {
    QStringList results;
    QString rests;

    Story(const LineSettings &settings, const QString &script, int requests, const Request &request = words())
    {
        ScriptedChannel channel;
        channel.takesRests = true;
        play(channel, script);
        Line line(channel, settings, bitwiseCrc);
        for (int i = 0; i < requests; ++i)
            results << textOf(line.transact(request));
        rests = textOf(channel.rests);
    }
};

} // namespace

class TstPanelLineSleep : public QObject {
    Q_OBJECT

private slots:
    void theNextReplyIsExpectedALittleLater_data();
    void theNextReplyIsExpectedALittleLater();
    void whatIsThereInTimeIsExpectedSooner();
    void whatIsNotThereInTimeIsWaitedFor();
    void notBeyondTheTimeOut();
    void afterAnythingButAGoodReplyItMayComeAtAnyTime_data();
    void afterAnythingButAGoodReplyItMayComeAtAnyTime();
    void whatElseCameMeanwhileHasItsOutcome_data();
    void whatElseCameMeanwhileHasItsOutcome();
    void aReplyOfAnyLengthIsNotSleptThrough();
    void aReplyThatCameWithTheEchoIsNotSleptThrough();
    void aPortThatGoesEndsIt();
};

void TstPanelLineSleep::theNextReplyIsExpectedALittleLater_data()
{
    QTest::addColumn<int>("end");
    QTest::addColumn<QString>("rests");

    QTest::newRow("sooner than a silence") << 16039 << "";
    QTest::newRow("after just a silence") << 16040 << "32330";
    QTest::newRow("soon") << 16105 << "32460";
    QTest::newRow("less than a silence more") << 17795 << "35840";
    QTest::newRow("about a silence more") << 17796 << "";
    QTest::newRow("late") << 60000 << "";
}

void TstPanelLineSleep::theNextReplyIsExpectedALittleLater()
{
    QFETCH(int, end);
    const Story story(evenParity(), at(end) + at(34000), 2);
    QTEST(story.rests, "rests");
    QVERIFY2(story.results.at(1).startsWith(QLatin1String("good")), qPrintable(story.results.at(1)));
}

void TstPanelLineSleep::whatIsThereInTimeIsExpectedSooner()
{
    const Story story(evenParity(), at(16105) + at(32210) + at(48560) + at(64800), 4);
    // 315, 237 and 178 us after the earliest end.
    QCOMPARE(story.rests, QStringLiteral("32460 48737 64955"));
    QCOMPARE(story.results.at(1), QStringLiteral("good sent 18110 done 34465 after 9767: 01 03 08 11 22 33 44 55 66 77 "
                                                 "88 74 9C"));
}

void TstPanelLineSleep::whatIsNotThereInTimeIsWaitedFor()
{
    // Expected at 32460, it ends at 32610: 465 us after its earliest end.
    const Story story(evenParity(),
                      at(16105) + at(32450, " 01 03 08 11 22 33 44 55 66 77 88 74; ") + at(32610, " 9C; ") + at(49000),
                      3);
    QCOMPARE(story.results.at(1), QStringLiteral("good sent 18110 done 34615 after 9917: 01 03 08 11 22 33 44 55 66 77 "
                                                 "88 74 9C"));
    QCOMPARE(story.rests, QStringLiteral("32460 49365"));
}

void TstPanelLineSleep::notBeyondTheTimeOut()
{
    LineSettings settings = evenParity();
    settings.replyTimeout = 3;
    // Expected 1150 us after its earliest end at 32980.
    const Story story(settings, at(16940), 2);
    QCOMPARE(story.rests, QStringLiteral("33975"));
    QCOMPARE(story.results.at(1), QStringLiteral("timeout sent 18945 done 33975: -"));
}

void TstPanelLineSleep::afterAnythingButAGoodReplyItMayComeAtAnyTime_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("outcome");

    QTest::newRow("time-out") << ""
                              << "timeout";
    QTest::newRow("exception") << "32210 01 83 02 C0 F1"
                               << "exception";
    QTest::newRow("wrong CRC") << "32210 01 03 08 11 22 33 44 55 66 77 88 74 9D"
                               << "crc";
    QTest::newRow("cut off") << "32210 01 03 08 11 22 33 44 55 66 77 88 74"
                             << "length";
}

void TstPanelLineSleep::afterAnythingButAGoodReplyItMayComeAtAnyTime()
{
    QFETCH(QString, second);
    QFETCH(QString, outcome);
    const Story story(evenParity(), at(16105) + second, 3);
    QCOMPARE(story.rests.section(QLatin1Char(' '), 0, 0), QStringLiteral("32460"));
    QCOMPARE(story.results.at(1).section(QLatin1Char(' '), 0, 0), outcome);
    QCOMPARE(story.results.at(2).section(QLatin1Char(' '), 0, 0), QStringLiteral("timeout"));
    QCOMPARE(story.rests.count(QLatin1Char(' ')), 0);
}

void TstPanelLineSleep::whatElseCameMeanwhileHasItsOutcome_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("result");

    QTest::newRow("exception") << "27000 01 83 02 C0 F1"
                               << "exception sent 18110 done 34465 code 2: 01 83 02 C0 F1";
    QTest::newRow("wrong CRC") << "32210 01 03 08 11 22 33 44 55 66 77 88 74 9D"
                               << "crc sent 18110 done 34465: 01 03 08 11 22 33 44 55 66 77 88 74 9D";
    QTest::newRow("a byte of noise behind it")
        << "32210 01 03 08 11 22 33 44 55 66 77 88 74 9C; 32400 FF"
        << "length sent 18110 done 34465: 01 03 08 11 22 33 44 55 66 77 88 74 9C FF";
    QTest::newRow("a byte of noise before it")
        << "23000 FF; 32210 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 18110 done 34465 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C; noise 32460: FF";
    QTest::newRow("an older answer before it")
        << "23000 01 03 08 21 22 33 44 55 66 77 88 77 88; 32210 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 18110 done 34465 after 9767: 01 03 08 11 22 33 44 55 66 77 88 74 9C; noise 32460: "
           "01 03 08 21 22 33 44 55 66 77 88 77 88";
    QTest::newRow("another station")
        << "27000 02 03 02 12 34 F1 33; 40000 01 03 08 11 22 33 44 55 66 77 88 74 9C"
        << "good sent 18110 done 42005 after 17307: 01 03 08 11 22 33 44 55 66 77 88 74 9C; "
           "foreign 32460: 02 03 02 12 34 F1 33";
}

void TstPanelLineSleep::whatElseCameMeanwhileHasItsOutcome()
{
    QFETCH(QString, second);
    const Story story(evenParity(), at(16105) + second, 2);
    QCOMPARE(story.rests.section(QLatin1Char(' '), 0, 0), QStringLiteral("32460"));
    QTEST(story.results.at(1), "result");
}

void TstPanelLineSleep::aReplyOfAnyLengthIsNotSleptThrough()
{
    Request anyLength = words();
    anyLength.replyLen = -1;
    ScriptedChannel channel;
    channel.takesRests = true;
    play(channel, at(16105) + at(32210) + at(80000) + at(140000));
    Line line(channel, evenParity(), bitwiseCrc);
    line.transact(words());
    QVERIFY(textOf(line.transact(anyLength)).startsWith(QLatin1String("good")));
    QVERIFY(textOf(line.transact(anyLength)).startsWith(QLatin1String("good")));
    QVERIFY(textOf(line.transact(words())).startsWith(QLatin1String("good")));
    QCOMPARE(textOf(channel.rests), QString());
}

void TstPanelLineSleep::aReplyThatCameWithTheEchoIsNotSleptThrough()
{
    LineSettings settings = evenParity();
    settings.hasEcho = true;
    const QString echo = QStringLiteral(" 01 03 2F 0C 00 04 8C DE");
    const Story story(settings,
                      QStringLiteral("6600") + echo + QStringLiteral("; ") + at(16105) + QStringLiteral("23000") + echo
                          + QLatin1String(Answer),
                      2);
    QCOMPARE(story.rests, QString());
    QVERIFY2(story.results.at(1).startsWith(QLatin1String("good")), qPrintable(story.results.at(1)));
}

void TstPanelLineSleep::aPortThatGoesEndsIt()
{
    ScriptedChannel channel;
    channel.takesRests = true;
    play(channel, at(16105));
    Line line(channel, evenParity(), bitwiseCrc);
    line.transact(words());
    channel.goneAt = 25000;
    QCOMPARE(textOf(line.transact(words())), QStringLiteral("port sent 18110 done 25000: -"));
}

QTEST_GUILESS_MAIN(TstPanelLineSleep)
#include "tst_panel_line_sleep.moc"
