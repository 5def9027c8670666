/// One transaction on the line: what becomes of the bytes that come after the request.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

// All requests here leave at 2005, and their last byte at 6588.

/// Waits until 110598.
Request word()
{
    return {hex("01 03 07 D0 00 01 84 87"), 7, 1, 0x03, false};
}
const char *const WordReply = "01 03 02 12 34 B5 33";
/// Waits until 114035.
Request words()
{
    return {hex("01 03 2F 0C 00 04 8C DE"), 13, 1, 0x03, false};
}
const char *const WordsReply = "01 03 08 11 22 33 44 55 66 77 88 74 9C";
/// Waits until 253254.
Request anyLength()
{
    return {hex("01 03 07 D0 00 01 84 87"), -1, 1, 0x03, false};
}

QString transact(const LineSettings &settings, const Request &request, const QString &script)
{
    ScriptedChannel channel;
    play(channel, script);
    return textOf(Line(channel, settings, bitwiseCrc).transact(request));
}

void addColumns()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
}

} // namespace

class TstPanelLine : public QObject {
    Q_OBJECT

private slots:
    void exactlyTheFrameIsSent();
    void whatComesHasItsOutcome_data();
    void whatComesHasItsOutcome();
    void replyCutOffAnywhereIsAWrongLength();
    void replyWithoutItsStartIsNoReply();
    void everyByteOfAReplyCounts();
    void withoutASilentIntervalTheReplyIsFinalAtOnce_data();
    void withoutASilentIntervalTheReplyIsFinalAtOnce();
    void replyOfAnyLengthEndsInSilence_data();
    void replyOfAnyLengthEndsInSilence();
    void withTheGuardOffLengthAndCrcDecide_data();
    void withTheGuardOffLengthAndCrcDecide();
    void withTheGuardOffAnyLengthIsTaken();
    void endlessNoiseEndsWithTheWait();
    void endlessNoiseBehindAReplyEndsWithTheWait();
    void allBytesAreCounted();
    void outcomesHaveNames();
};

void TstPanelLine::exactlyTheFrameIsSent()
{
    ScriptedChannel channel;
    Line(channel, evenParity(), bitwiseCrc).transact(words());
    QCOMPARE(channel.sent.size(), 1);
    QCOMPARE(toHex(channel.sent[0].bytes), QStringLiteral("01 03 2F 0C 00 04 8C DE"));
    QCOMPARE(channel.sent[0].moment, 2005);
}

void TstPanelLine::whatComesHasItsOutcome_data()
{
    addColumns();
    QTest::newRow("nothing") << ""
                             << "timeout sent 2005 done 110598: -";
    QTest::newRow("answer") << "12000 01 03 02 12 34 B5 33"
                            << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33";
    QTest::newRow("answer in pieces") << "12000 01 03; 20000 02 12 34; 60000 B5 33"
                                      << "good sent 2005 done 62005 after 53412: 01 03 02 12 34 B5 33";
    QTest::newRow("answer before the request has left") << "2100 01 03 02 12 34 B5 33"
                                                        << "good sent 2005 done 4105 after 0: 01 03 02 12 34 B5 33";
    QTest::newRow("answer at the last moment") << "110598 01 03 02 12 34 B5 33"
                                               << "good sent 2005 done 112603 after 104010: 01 03 02 12 34 B5 33";
    QTest::newRow("answer a moment too late") << "110599 01 03 02 12 34 B5 33"
                                              << "timeout sent 2005 done 110598: -";
    QTest::newRow("end a moment too late") << "12000 01 03 02 12 34 B5; 110599 33"
                                           << "length sent 2005 done 110598: 01 03 02 12 34 B5";
    QTest::newRow("exception") << "12000 01 83 02 C0 F1"
                               << "exception sent 2005 done 14005 code 2: 01 83 02 C0 F1";
    QTest::newRow("exception in pieces") << "12000 01; 30000 83 02 C0; 50000 F1"
                                         << "exception sent 2005 done 52005 code 2: 01 83 02 C0 F1";
    QTest::newRow("exception behind noise") << "12000 FF 01 83 02 C0 F1"
                                            << "exception sent 2005 done 14005 code 2: 01 83 02 C0 F1; noise 12000: FF";
    QTest::newRow("CRC swapped") << "12000 01 03 02 12 34 33 B5"
                                 << "crc sent 2005 done 14005: 01 03 02 12 34 33 B5";
    QTest::newRow("wrong CRC, then the answer in the same burst")
        << "12000 01 03 02 12 34 33 B5; 13000 01 03 02 12 34 B5 33"
        << "good sent 2005 done 15005 after 6412: 01 03 02 12 34 B5 33; noise 12000: 01 03 02 12 34 33 B5";
    QTest::newRow("a byte more") << "12000 01 03 02 12 34 B5 33 00"
                                 << "length sent 2005 done 14005: 01 03 02 12 34 B5 33 00";
    QTest::newRow("a byte more at the end of the silence") << "12000 01 03 02 12 34 B5 33; 14005 00"
                                                           << "length sent 2005 done 16010: 01 03 02 12 34 B5 33 00";
    QTest::newRow("a byte more after the silence") << "12000 01 03 02 12 34 B5 33; 14006 00"
                                                   << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33";
    QTest::newRow("twins: the last good one")
        << "12000 01 03 02 56 78 87 C6 01 03 02 12 34 B5 33"
        << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33; noise 12000: 01 03 02 56 78 87 C6";
    QTest::newRow("noise before") << "11000 FF 00; 12000 01 03 02 12 34 B5 33"
                                  << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33; noise 11000: FF 00";
    QTest::newRow("noise, silence, answer")
        << "9000 FF 00; 12000 01 03 02 12 34 B5 33"
        << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33; foreign 9000: FF 00";
    QTest::newRow("half an answer, silence, answer")
        << "12000 01 03 02; 30000 01 03 02 12 34 B5 33"
        << "good sent 2005 done 32005 after 23412: 01 03 02 12 34 B5 33; noise 12000: 01 03 02";
    QTest::newRow("another station, then the answer")
        << "10000 03 03 02 12 34 CC F3; 20000 01 03 02 12 34 B5 33"
        << "good sent 2005 done 22005 after 13412: 01 03 02 12 34 B5 33; foreign 10000: 03 03 02 12 34 CC F3";
    QTest::newRow("two foreign bursts") << "10000 03 03 02; 11000 12; 20000 01 04"
                                        << "timeout sent 2005 done 110598: -; foreign 10000: 03 03 02 12; "
                                           "foreign 20000: 01 04";
    QTest::newRow("foreign to the end") << "110000 FF"
                                        << "timeout sent 2005 done 110598: -; foreign 110000: FF";
    QTest::newRow("request come back") << "7000 01 03 07 D0 00 01 84 87"
                                       << "timeout sent 2005 done 110598: -; foreign 7000: 01 03 07 D0 00 01 84 87";
}

void TstPanelLine::whatComesHasItsOutcome()
{
    QFETCH(QString, script);
    QTEST(transact(evenParity(), word(), script), "result");
}

void TstPanelLine::replyCutOffAnywhereIsAWrongLength()
{
    for (int len = 1; len < 13; ++len) {
        ScriptedChannel channel;
        channel.at(15000, hex(WordsReply).left(len));
        Line line(channel, evenParity(), bitwiseCrc);
        QCOMPARE(textOf(line.transact(words())),
                 QStringLiteral("length sent 2005 done 114035: ") + toHex(hex(WordsReply).left(len)));
        QCOMPARE(line.transact(words()).sentAt, 164035);
    }
}

void TstPanelLine::replyWithoutItsStartIsNoReply()
{
    for (int start = 1; start < 13; ++start)
        QCOMPARE(transact(evenParity(), words(), "15000 " + toHex(hex(WordsReply).mid(start))),
                 QStringLiteral("timeout sent 2005 done 114035: -; foreign 15000: ")
                     + toHex(hex(WordsReply).mid(start)));
}

void TstPanelLine::everyByteOfAReplyCounts()
{
    for (int i = 0; i < 13; ++i) {
        QByteArray damaged = hex(WordsReply);
        damaged[i] = char(damaged.at(i) ^ 0x40);
        const QString expected = i < 3 ? QStringLiteral("timeout sent 2005 done 114035: -; foreign 15000: ")
                                       : QStringLiteral("crc sent 2005 done 17005: ");
        QCOMPARE(transact(evenParity(), words(), "15000 " + toHex(damaged)), expected + toHex(damaged));
    }
}

void TstPanelLine::withoutASilentIntervalTheReplyIsFinalAtOnce_data()
{
    addColumns();
    QTest::newRow("answer") << "100 01 03 02 12 34 B5 33"
                            << "good sent 0 done 100 after 0: 01 03 02 12 34 B5 33";
    QTest::newRow("answer in pieces") << "100 01 03; 200 02 12 34 B5 33"
                                      << "good sent 0 done 200 after 0: 01 03 02 12 34 B5 33";
    QTest::newRow("a byte more later") << "100 01 03 02 12 34 B5 33; 101 00"
                                       << "good sent 0 done 100 after 0: 01 03 02 12 34 B5 33";
    QTest::newRow("foreign, then the answer")
        << "100 03 03; 101 01 03 02 12 34 B5 33"
        << "good sent 0 done 101 after 0: 01 03 02 12 34 B5 33; foreign 100: 03 03";
}

void TstPanelLine::withoutASilentIntervalTheReplyIsFinalAtOnce()
{
    LineSettings settings = evenParity();
    settings.silence = 0;
    QFETCH(QString, script);
    QTEST(transact(settings, word(), script), "result");
}

void TstPanelLine::replyOfAnyLengthEndsInSilence_data()
{
    addColumns();
    QTest::newRow("nothing") << ""
                             << "timeout sent 2005 done 253254: -";
    QTest::newRow("short") << "12000 01 03 02 12 34 B5 33"
                           << "good sent 2005 done 32000 after 5412: 01 03 02 12 34 B5 33";
    QTest::newRow("long") << "12000 01 03 08 11 22 33 44 55 66 77 88 74 9C"
                          << "good sent 2005 done 32000 after 5412: 01 03 08 11 22 33 44 55 66 77 88 74 9C";
    QTest::newRow("pieces 20 ms apart") << "12000 01 03 02 12; 32000 34 B5 33"
                                        << "good sent 2005 done 52000 after 25412: 01 03 02 12 34 B5 33";
    QTest::newRow("pieces more than 20 ms apart") << "12000 01 03 02 12; 32001 34 B5 33"
                                                  << "crc sent 2005 done 32000: 01 03 02 12";
    QTest::newRow("too short for any") << "12000 01 03"
                                       << "length sent 2005 done 253254: 01 03";
    QTest::newRow("exception") << "12000 01 83 02 C0 F1"
                               << "exception sent 2005 done 32000 code 2: 01 83 02 C0 F1";
    QTest::newRow("another station") << "12000 03 03 02 12 34 CC F3"
                                     << "timeout sent 2005 done 253254: -; foreign 12000: 03 03 02 12 34 CC F3";
}

void TstPanelLine::replyOfAnyLengthEndsInSilence()
{
    QFETCH(QString, script);
    QTEST(transact(evenParity(), anyLength(), script), "result");
}

void TstPanelLine::withTheGuardOffLengthAndCrcDecide_data()
{
    addColumns();
    QTest::newRow("nothing") << ""
                             << "timeout sent 2005 done 110598: -";
    QTest::newRow("answer") << "12000 01 03 02 12 34 B5 33"
                            << "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33";
    QTest::newRow("another station") << "12000 03 03 02 12 34 CC F3"
                                     << "good sent 2005 done 14005 after 5412: 03 03 02 12 34 CC F3";
    QTest::newRow("exception") << "12000 01 83 02 C0 F1"
                               << "length sent 2005 done 110598: 01 83 02 C0 F1";
    QTest::newRow("noise before") << "12000 FF 01 03 02 12 34 B5 33"
                                  << "length sent 2005 done 14005: FF 01 03 02 12 34 B5 33";
    QTest::newRow("wrong CRC") << "12000 01 03 02 12 34 B5 34"
                               << "crc sent 2005 done 14005: 01 03 02 12 34 B5 34";
}

void TstPanelLine::withTheGuardOffLengthAndCrcDecide()
{
    LineSettings settings = evenParity();
    settings.isGuarded = false;
    QFETCH(QString, script);
    QTEST(transact(settings, word(), script), "result");
}

void TstPanelLine::withTheGuardOffAnyLengthIsTaken()
{
    LineSettings settings = evenParity();
    settings.isGuarded = false;
    QCOMPARE(transact(settings, anyLength(), "12000 03 03 02 12; 20000 34 CC F3"),
             QStringLiteral("good sent 2005 done 40000 after 13412: 03 03 02 12 34 CC F3"));
}

void TstPanelLine::endlessNoiseEndsWithTheWait()
{
    ScriptedChannel channel;
    channel.trickle(7000, 1000, QByteArray(300, '\xFF'));
    const Transaction transaction = Line(channel, evenParity(), bitwiseCrc).transact(word());
    QCOMPARE(transaction.outcome, Outcome::Timeout);
    QCOMPARE(transaction.doneAt, 110598);
    QCOMPARE(transaction.discarded.size(), 1);
    QCOMPARE(transaction.discarded[0].bytes, QByteArray(104, '\xFF'));
}

void TstPanelLine::endlessNoiseBehindAReplyEndsWithTheWait()
{
    ScriptedChannel channel;
    channel.at(12000, hex(WordReply));
    channel.trickle(13000, 1000, QByteArray(300, '\xFF'));
    const Transaction transaction = Line(channel, evenParity(), bitwiseCrc).transact(word());
    QCOMPARE(transaction.outcome, Outcome::WrongLength);
    QCOMPARE(transaction.doneAt, 112603);
    QCOMPARE(transaction.reply.size(), 7 + 100);
}

void TstPanelLine::allBytesAreCounted()
{
    ScriptedChannel channel;
    play(channel, "1000 AA BB; 12000 FF; 20000 00 01 03 02 12 34 B5 33");
    const Transaction transaction = Line(channel, evenParity(), bitwiseCrc).transact(word());
    QCOMPARE(textOf(transaction), QStringLiteral("good sent 3005 done 22005 after 12412: 01 03 02 12 34 B5 33; "
                                                 "before 1000: AA BB; foreign 12000: FF; noise 20000: 00"));
    QCOMPARE(transaction.bytesReceived, 11);
}

void TstPanelLine::outcomesHaveNames()
{
    QCOMPARE(outcomeName(Outcome::Good), QStringLiteral("good"));
    QCOMPARE(outcomeName(Outcome::NoReplyExpected), QStringLiteral("no-reply"));
    QCOMPARE(outcomeName(Outcome::Timeout), QStringLiteral("timeout"));
    QCOMPARE(outcomeName(Outcome::BadCrc), QStringLiteral("crc"));
    QCOMPARE(outcomeName(Outcome::WrongLength), QStringLiteral("length"));
    QCOMPARE(outcomeName(Outcome::Exception), QStringLiteral("exception"));
    QCOMPARE(outcomeName(Outcome::PortGone), QStringLiteral("port"));
}

QTEST_GUILESS_MAIN(TstPanelLine)
#include "tst_panel_line.moc"
