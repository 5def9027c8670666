/// The line around a transaction: the adapter's echo, and a port that goes away.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

/// Sent at 2005 it has left at 6588, and waits until 110598.
Request word()
{
    return {hex("01 03 07 D0 00 01 84 87"), 7, 1, 0x03, false};
}
Request oneWord()
{
    return {hex("01 06 00 64 12 34 C5 62"), 8, 1, 0x06, false};
}
Request broadcast()
{
    return {hex("00 06 00 64 12 34 C4 B3"), 0, 0, 0x06, false};
}

LineSettings echoing()
{
    LineSettings settings = evenParity();
    settings.hasEcho = true;
    return settings;
}

QString transact(const Request &request, const QString &script)
{
    ScriptedChannel channel;
    play(channel, script);
    return textOf(Line(channel, echoing(), bitwiseCrc).transact(request));
}

} // namespace

class TstPanelLineEcho : public QObject {
    Q_OBJECT

private slots:
    void echoIsRemoved_data();
    void echoIsRemoved();
    void singleWriteIsNotConfirmedByItsEcho();
    void broadcastHasItsEcho_data();
    void broadcastHasItsEcho();
    void portThatGoesAwayEndsTheTransaction_data();
    void portThatGoesAwayEndsTheTransaction();
    void portThatGoesWhileSending();
    void portThatGoesBeforeTheEcho();
    void portThatGoesInTheTurnaround();
    void portThatCameBackIsListenedToFirst();
};

void TstPanelLineEcho::echoIsRemoved_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
    const char *const good = "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33; "
                             "echo 4000: 01 03 07 D0 00 01 84 87";
    QTest::newRow("echo, then answer") << "4000 01 03 07 D0 00 01 84 87; 12000 01 03 02 12 34 B5 33" << good;
    QTest::newRow("echo in pieces") << "4000 01; 5000 03 07 D0; 6588 00 01 84 87; 12000 01 03 02 12 34 B5 33" << good;
    QTest::newRow("echo and answer together")
        << "4000 01 03 07 D0 00 01 84 87 01 03 02 12 34 B5 33"
        << "good sent 2005 done 6005 after 0: 01 03 02 12 34 B5 33; echo 4000: 01 03 07 D0 00 01 84 87";
    QTest::newRow("echo and half an answer together")
        << "4000 01 03 07 D0 00 01 84 87 01 03; 12000 02 12 34 B5 33" << good;
    QTest::newRow("echo alone") << "4000 01 03 07 D0 00 01 84 87"
                                << "timeout sent 2005 done 110598: -; echo 4000: 01 03 07 D0 00 01 84 87";
    QTest::newRow("none") << ""
                          << "timeout sent 2005 done 106588 no echo: -";
    QTest::newRow("answer alone") << "12000 01 03 02 12 34 B5 33"
                                  << "timeout sent 2005 done 106588 no echo: -; echo 12000: 01 03 02 12 34 B5 33";
    QTest::newRow("half") << "4000 01 03 07 D0"
                          << "timeout sent 2005 done 106588 no echo: -; echo 4000: 01 03 07 D0";
    QTest::newRow("damaged, then answer") << "4000 01 03 07 D0 00 01 84 86; 12000 01 03 02 12 34 B5 33"
                                          << "timeout sent 2005 done 106588 no echo: -; "
                                             "echo 4000: 01 03 07 D0 00 01 84 86 01 03 02 12 34 B5 33";
    QTest::newRow("at the last moment") << "106588 01 03 07 D0 00 01 84 87"
                                        << "timeout sent 2005 done 110598: -; echo 106588: 01 03 07 D0 00 01 84 87";
    QTest::newRow("a moment too late") << "106589 01 03 07 D0 00 01 84 87"
                                       << "timeout sent 2005 done 106588 no echo: -";
}

void TstPanelLineEcho::echoIsRemoved()
{
    QFETCH(QString, script);
    QTEST(transact(word(), script), "result");
}

void TstPanelLineEcho::singleWriteIsNotConfirmedByItsEcho()
{
    QCOMPARE(transact(oneWord(), "4000 01 06 00 64 12 34 C5 62"),
             QStringLiteral("timeout sent 2005 done 111171: -; echo 4000: 01 06 00 64 12 34 C5 62"));
    QCOMPARE(transact(oneWord(), "4000 01 06 00 64 12 34 C5 62; 12000 01 06 00 64 12 34 C5 62"),
             QStringLiteral("good sent 2005 done 14005 after 5412: 01 06 00 64 12 34 C5 62; "
                            "echo 4000: 01 06 00 64 12 34 C5 62"));
}

void TstPanelLineEcho::broadcastHasItsEcho_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
    QTest::newRow("echo") << "4000 00 06 00 64 12 34 C4 B3"
                          << "no-reply sent 2005 done 106588: -; echo 4000: 00 06 00 64 12 34 C4 B3";
    QTest::newRow("more than the echo")
        << "4000 00 06 00 64 12 34 C4 B3 FF"
        << "no-reply sent 2005 done 106588: -; echo 4000: 00 06 00 64 12 34 C4 B3; foreign 4000: FF";
    QTest::newRow("none") << ""
                          << "no-reply sent 2005 done 106588 no echo: -";
    QTest::newRow("damaged") << "4000 00 06 00 64 12 35 C4 B3"
                             << "no-reply sent 2005 done 106588 no echo: -; foreign 4000: 00 06 00 64 12 35 C4 B3";
}

void TstPanelLineEcho::broadcastHasItsEcho()
{
    QFETCH(QString, script);
    QTEST(transact(broadcast(), script), "result");
}

void TstPanelLineEcho::portThatGoesAwayEndsTheTransaction_data()
{
    QTest::addColumn<qint64>("goneAt");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
    QTest::addColumn<int>("framesSent");
    QTest::newRow("before") << 0LL << ""
                            << "port sent 0 done 0: -" << 0;
    QTest::newRow("in the silence") << 1500LL << "1000 AA"
                                    << "port sent 0 done 1500: -; before 1000: AA" << 0;
    QTest::newRow("while waiting") << 50000LL << ""
                                   << "port sent 2005 done 50000: -" << 1;
    QTest::newRow("in the middle of the answer") << 13000LL << "12000 01 03 02 12"
                                                 << "port sent 2005 done 13000: -; noise 12000: 01 03 02 12" << 1;
    QTest::newRow("in the silence after the answer")
        << 13000LL << "12000 01 03 02 12 34 B5 33"
        << "port sent 2005 done 13000: -; noise 12000: 01 03 02 12 34 B5 33" << 1;
}

void TstPanelLineEcho::portThatGoesAwayEndsTheTransaction()
{
    QFETCH(qint64, goneAt);
    QFETCH(QString, script);
    ScriptedChannel channel;
    channel.goneAt = goneAt;
    play(channel, script);
    QTEST(textOf(Line(channel, evenParity(), bitwiseCrc).transact(word())), "result");
    QTEST(channel.sent.size(), "framesSent");
}

void TstPanelLineEcho::portThatGoesWhileSending()
{
    ScriptedChannel channel;
    channel.goesOnSend = true;
    QCOMPARE(textOf(Line(channel, evenParity(), bitwiseCrc).transact(word())),
             QStringLiteral("port sent 2005 done 2005: -"));
}

void TstPanelLineEcho::portThatGoesBeforeTheEcho()
{
    ScriptedChannel channel;
    channel.goneAt = 5000;
    QCOMPARE(textOf(Line(channel, echoing(), bitwiseCrc).transact(word())),
             QStringLiteral("port sent 2005 done 5000: -"));
}

void TstPanelLineEcho::portThatGoesInTheTurnaround()
{
    ScriptedChannel channel;
    channel.goneAt = 30000;
    QCOMPARE(textOf(Line(channel, evenParity(), bitwiseCrc).transact(broadcast())),
             QStringLiteral("port sent 2005 done 30000: -"));
}

void TstPanelLineEcho::portThatCameBackIsListenedToFirst()
{
    ScriptedChannel channel;
    channel.goneAt = 30000;
    Line line(channel, evenParity(), bitwiseCrc);
    QCOMPARE(line.transact(word()).outcome, Outcome::PortGone);
    channel.goneAt = -1;
    play(channel, "500000 AA; 520000 01 03 02 12 34 B5 33");
    channel.sleepUntil(499000);
    QCOMPARE(textOf(line.transact(word())), QStringLiteral("good sent 502005 done 522005 after 13412: "
                                                           "01 03 02 12 34 B5 33; before 500000: AA"));
}

QTEST_GUILESS_MAIN(TstPanelLineEcho)
#include "tst_panel_line_echo.moc"
