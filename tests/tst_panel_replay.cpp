/// A trace given to a fresh driver: what is the same, and that every difference is found.
#include "host/replay.h"
#include "tests/session_fixture.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>

#include <random>

namespace {

/// Two polled areas, a write that is answered, one that is not, a bit in a word, a one-shot read, a station off.
const char Golden[] = "# ecpanel trace 1\n"
                      "0.001000 settings maxBlockLen=32 plcStation=1 retryLimit=0 stationScope=0 remoteMode=0 "
                      "ownStation=1 writeMode=2 channelNo=7\n"
                      "0.002000 describe 1 = 1\n"
                      "0.003000 variable 8 1 2 300 level\n"
                      "0.004000 write 7 1 1 100 3412 3 44 set%20point = 1\n"
                      "0.005000 tx 010600641234C562 8 write\n"
                      "0.006000 rx 010600641234C562\n"
                      "0.007000 result 1\n"
                      "0.008000 done 7 3 44 1\n"
                      "0.009000 tx 01032F0C00020CDC 9 cyclic\n"
                      "0.010000 rx 010304000100022A32\n"
                      "0.011000 result 1\n"
                      "0.012000 read-once 7 1 1 10 3 45 = 1\n"
                      "0.013000 tx 0103000A0001A408 7 once\n"
                      "0.013500 drop noise 00\n"
                      "0.014000 rx -\n"
                      "0.015000 result 44\n"
                      "0.016000 done 7 3 45 2\n"
                      "0.017000 fail 3 1\n"
                      "0.018000 station 1 off\n"
                      "0.019000 idle 5\n"
                      "0.020000 stations on\n"
                      "0.021000 image 7 100 3412\n"
                      "0.022000 image 8 300 01000200\n"
                      "0.023000 end\n";

/// Sessions with random calls and replies that are often damaged. What they did is their trace.
class RandomSession {
public:
    RandomSession(const Plugin &plugin, unsigned seed) : random(seed), traced(plugin, settings()) {}

    QByteArray run(int transactions)
    {
        describe();
        for (int done = 0; done < transactions;) {
            if (pick(4) == 0)
                call();
            const Protocol *const request = traced->next();
            if (request == nullptr)
                continue;
            traced->answer(reply(*request));
            ++done;
        }
        return traced.finish();
    }

private:
    int pick(int most) { return int(random() % unsigned(most)); }

    COMINFO settings()
    {
        COMINFO settings = sessionSettings();
        settings.maxBlockLen = 2 + 2 * pick(30);
        settings.retryLimit = pick(3);
        settings.stationScope = pick(2);
        settings.remoteMode = pick(4) == 0;
        return settings;
    }
    int devType()
    {
        const int codes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 100, 101, 102};
        return codes[pick(int(std::size(codes)))];
    }
    static bool isBitInWord(int devType) { return (devType >= 15 && devType <= 17) || devType == 102; }
    QString address(int devType)
    {
        const int element = devType <= 1 ? 10 + pick(7) : 200 + pick(100);
        return isBitInWord(devType) ? QString::fromLatin1("%1.%2").arg(element).arg(pick(16))
                                    : QString::number(element);
    }
    void describe()
    {
        QList<VARDESC> variables;
        for (int i = 2 + pick(8); i > 0; --i) {
            const int code = devType();
            variables << described(code, "", isBitInWord(code) ? 1 : 2 + 2 * pick(20), "a name", 1 + pick(3));
            variables.last().addrText = address(code);
        }
        traced->describe(variables);
    }
    void call()
    {
        const int code = devType(), station = pick(4);
        switch (pick(16)) {
        case 0:
            traced->enableStation(station, pick(2));
            break;
        case 1:
            traced->enableAllStations();
            break;
        case 2:
            if (pick(50) == 0)
                describe();
            break;
        case 3:
            traced->note("drop", {"noise", "00FF"});
            break;
        case 4:
        case 5:
        case 6:
        case 7:
            traced->readOnce(code, address(code), station, 1 + pick(20), pick(3), pick(20));
            break;
        default:
            traced->setRegisterData(QString(), code, address(code), station, randomBytes(2 * pick(20)), 1 + pick(20),
                                    pick(3), pick(20));
        }
    }
    QByteArray randomBytes(int count)
    {
        QByteArray bytes(count, '\0');
        for (char &byte : bytes)
            byte = char(random());
        return bytes;
    }
    QByteArray reply(const Protocol &request)
    {
        if (request.replyLen <= 4 || pick(8) == 0)
            return QByteArray();
        QByteArray body = randomBytes(request.replyLen - 2);
        QByteArray bytes = withCrc(body.toHex().constData());
        if (pick(6) == 0)
            bytes[pick(bytes.size())] = char(random());
        if (pick(10) == 0)
            bytes.resize(pick(2 * bytes.size()));
        return bytes;
    }

    std::mt19937 random;
    TracedSession traced;
};

} // namespace

class TstPanelReplay : public QObject {
    Q_OBJECT

private:
    Plugin plugin;

    ReplayReport replayed(const QByteArray &text)
    {
        QStringList problems;
        const QVector<TraceLine> lines = parseTrace(text, QStringLiteral("t"), &problems);
        if (!problems.isEmpty())
            qWarning("%s", qPrintable(problems.first()));
        return replay(lines, plugin);
    }
    static QStringList texts(const ReplayReport &report)
    {
        QStringList texts;
        for (const ReplayDifference &difference : report.differences)
            texts << QString::fromLatin1("%1: %2 / %3")
                         .arg(QString::number(difference.line), difference.expected, difference.got);
        return texts;
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(plugin.load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
    }

    void anUnchangedTraceReplaysWithoutADifference()
    {
        const ReplayReport report = replayed(Golden);
        QCOMPARE(texts(report), QStringList());
        QCOMPARE(report.problems, QStringList());
        QVERIFY(report.isSame());
        QVERIFY(report.isComplete);
        QCOMPARE(report.transactions, qint64(3));
        // describe, write, 3 tx, 3 rx, read-once, station, 5 idle, stations
        QCOMPARE(report.calls, qint64(16));
        QCOMPARE(report.bytesCompared, qint64(3 * 8 + 2 + 4));
    }

    void everyDifferenceIsFound_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QStringList>("differences");

        const auto row = [](const char *name, const char *before, const char *after, const QStringList &differences) {
            QTest::newRow(name) << QByteArray(before) << QByteArray(after) << differences;
        };
        row("frame byte", "tx 010600641234C562", "tx 010600641235C562",
            {"6: tx 010600641235C562 8 write / tx 010600641234C562 8 write"});
        row("reply length", "C562 8 write", "C562 7 write",
            {"6: tx 010600641234C562 7 write / tx 010600641234C562 8 write"});
        row("list", "9 cyclic", "9 once", {"10: tx 01032F0C00020CDC 9 once / tx 01032F0C00020CDC 9 cyclic"});
        row("result", "0.011000 result 1", "0.011000 result 11", {"12: result 11 / result 1"});
        row("missing callback", "0.008000 done 7 3 44 1\n", "", {"9: nothing / done 7 3 44 1"});
        row("missing failure", "0.017000 fail 3 1\n", "", {"19: nothing / fail 3 1"});
        row("changed callback", "done 7 3 45 2", "done 7 3 45 1", {"18: done 7 3 45 1 / done 7 3 45 2"});
        row("one callback more", "0.012000 read", "0.011500 done 7 3 44 1\n0.012000 read",
            {"13: done 7 3 44 1 / nothing"});
        row("returned by a write", "set%20point = 1", "set%20point = 2", {"5: = 2 / = 1"});
        row("returned by describe", "describe 1 = 1", "describe 1 = 3", {"3: = 3 / = 1"});
        row("returned by a one-shot read", "45 = 1", "45 = 0", {"13: = 0 / = 1"});
        row("image byte", "image 7 100 3412", "image 7 100 3413", {"23: image 7 100 3413 / image 7 100 3412"});
        row("missing image", "0.022000 image 8 300 01000200\n", "", {"24: nothing / image 8 300 01000200"});
        row("one image more", "0.023000 end", "0.022500 image 100 1 0100\n0.023000 end",
            {"25: image 100 1 0100 / nothing"});
        row("a reply that the driver was not given", "rx 010304000100022A32", "rx 01030400010003EBF2",
            {"24: image 8 300 01000200 / image 8 300 01000300"});
        row("nothing to send, but there is", "0.018000 station 1 off\n", "",
            {"20: idle 5 / after 0: tx 01032F0C00020CDC 9 cyclic"});
        row("something to send, but there is not", "0.020000 stations on",
            "0.019500 tx 01032F0C00020CDC 9 cyclic\n0.020000 stations on",
            {"22: tx 01032F0C00020CDC 9 cyclic / idle 1"});
        row("another setting", "retryLimit=0", "retryLimit=1",
            {"17: result 44 / result 0", "18: done 7 3 45 2 / nothing", "19: fail 3 1 / nothing",
             "21: idle 5 / after 0: tx 0103000A0001A408 7 once"});
    }

    void everyDifferenceIsFound()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        QFETCH(QStringList, differences);
        QByteArray text = Golden;
        QCOMPARE(text.count(before), 1);
        text.replace(before, after);
        const ReplayReport report = replayed(text);
        QCOMPARE(texts(report), differences);
        QCOMPARE(report.differenceCount, qint64(differences.size()));
        QVERIFY(!report.isSame());
        QCOMPARE(report.problems, QStringList());
    }

    void whatCannotBeReplayedIsAProblemWithItsLine_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("problem");

        const auto row = [](const char *name, const char *line, const char *problem) {
            QTest::newRow(name) << QByteArray(line) << QString::fromLatin1(problem);
        };
        row("rx without a tx", "rx 0103", "rx 0103: expected a tx before it");
        row("two settings", "settings maxBlockLen=1", "settings maxBlockLen=1: expected settings only once");
        row("unknown word", "jump 1", "jump 1: expected a word that docs/trace.md has");
        row("variable alone", "variable 8 1 2 300 a", "variable 8 1 2 300 a: expected a describe before it");
        row("describe without its variables", "describe 2 = 1", "describe 2 = 1: expected as many variables behind it");
        row("more variables than an area has elements", "describe 1048576 = 1",
            "describe 1048576 = 1: expected as many variables behind it");
        row("too many variables", "describe 1048577 = 1",
            "describe 1048577 = 1: expected the variables, a number from 0 to 1048576");
        row("count", "write 7 1 65536 1 00 0 0 - = 1",
            "write 7 1 65536 1 00 0 0 - = 1: expected a count, a number from 0 to 65535");
        row("no number", "write x 1 1 1 00 0 0 - = 1",
            "write x 1 1 1 00 0 0 - = 1: expected a device-type code, a number "
            "from -2147483648 to 2147483647");
        row("missing values", "write 7 1 1 1", "write 7 1 1 1: expected values, hexadecimal bytes or -");
        row("no equals", "write 7 1 1 1 00 0 0 - 1", "write 7 1 1 1 00 0 0 - 1: expected \"=\"");
        row("field too many", "idle 1 2", "idle 1 2: expected no more than 1 fields");
        row("idle", "idle 0", "idle 0: expected a count, a number from 1 to 2147483647");
        row("station", "station 1 of", "station 1 of: expected \"on\" or \"off\"");
        row("list", "tx 00 1 slow", "tx 00 1 slow: expected \"cyclic\" or \"write\" or \"once\"");
        row("no station", "stations", "stations: expected \"on\"");
        row("text", "read-once 7 1 1 %0 0 0 = 1", "read-once 7 1 1 %0 0 0 = 1: expected an address, a text");
    }

    void whatCannotBeReplayedIsAProblemWithItsLine()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, problem);
        const ReplayReport report =
            replayed(QByteArray(Golden).replace("0.012000 read", "0.011500 " + line + "\n0.012000 read"));
        QCOMPARE(report.problems, QStringList("line 13: " + problem));
        QCOMPARE(texts(report), QStringList());
        QVERIFY(!report.isSame());
        QVERIFY(report.isComplete);
    }

    void theOrderOfTheTraceIsKept_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("problem");

        const QByteArray golden = Golden;
        QTest::newRow("no settings") << QByteArray("# ecpanel trace 1\n0.000000 idle 1\n0.000000 idle 1\n")
                                     << "line 2: idle 1: expected settings before anything else";
        QTest::newRow("a bad setting") << QByteArray("# ecpanel trace 1\n0.000000 settings maxBlockLen=-1\n")
                                       << "line 2: settings maxBlockLen=-1: expected maxBlockLen= and a number from 0 "
                                          "to 65535";
        const QByteArray settings = "# ecpanel trace 1\n0.000000 settings maxBlockLen=32 plcStation=1 retryLimit=1 "
                                    "stationScope=0 remoteMode=0 ownStation=1 writeMode=2 channelNo=7";
        // A line is shown as far as its hundredth character.
        QTest::newRow("too large a setting")
            << QByteArray(settings).replace("=32", "=65536") + '\n'
            << "line 2: settings maxBlockLen=65536 plcStation=1 retryLimit=1 stationScope=0 remoteMode=0 ownStation=1 "
               "writeM: expected maxBlockLen= and a number from 0 to 65535";
        QTest::newRow("one setting more")
            << settings + " colour=1\n"
            << "line 2: settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=0 remoteMode=0 ownStation=1 "
               "writeMode: expected no more settings";
        QTest::newRow("behind the end") << golden + "0.024000 idle 1\n"
                                        << "line 26: idle 1: expected nothing behind the "
                                           "end";
        QTest::newRow("behind the image") << QByteArray(golden).replace("0.023000 end", "0.023000 idle 1")
                                          << "line 25: idle 1: expected only image and end behind an image";
    }

    void theOrderOfTheTraceIsKept()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, problem);
        const ReplayReport report = replayed(text);
        QCOMPARE(report.problems, QStringList(problem));
        QVERIFY(!report.isSame());
    }

    void aTraceThatWasCutOffReplaysAsFarAsItGoes()
    {
        const QByteArray golden = Golden;
        const int settings = golden.indexOf("0.002000");
        int complete = 0;
        for (int length = settings; length <= golden.size(); ++length) {
            const ReplayReport report = replayed(golden.left(length));
            QCOMPARE(texts(report), QStringList());
            QCOMPARE(report.problems, QStringList());
            complete += report.isComplete;
        }
        QCOMPARE(complete, 2); // with and without the last line end
    }

    void aDescriptionMayHaveMoreVariablesThanAnAreaHasElements()
    {
        TracedSession traced(plugin, sessionSettings());
        QList<VARDESC> variables;
        for (int i = 0; i < 65536; ++i)
            variables << described(7, "100", 1);
        QCOMPARE(traced->describe(variables), 1);
        const ReplayReport report = replayed(traced.finish());
        QCOMPARE(texts(report), QStringList());
        QCOMPARE(report.problems, QStringList());
        QVERIFY(report.isComplete);
    }

    void differencesAreCountedBeyondTheHundredth()
    {
        const ReplayReport report = replayed(QByteArray(Golden).replace(
            "0.012000 read", QByteArray("0.011000 result 7\n").repeated(250) + "0.012000 read"));
        QCOMPARE(report.differences.size(), 100);
        QCOMPARE(report.differenceCount, qint64(250));
    }

    void randomSessionsReplayWithoutADifference_data()
    {
        QTest::addColumn<unsigned>("seed");
        for (unsigned seed = 1; seed <= 20; ++seed)
            QTest::newRow(qPrintable(QString::number(seed))) << seed;
    }

    void randomSessionsReplayWithoutADifference()
    {
        QFETCH(unsigned, seed);
        const QByteArray text = RandomSession(plugin, seed).run(500);
        QVERIFY(text.endsWith(" end\n"));
        const ReplayReport report = replayed(text);
        QCOMPARE(texts(report), QStringList());
        QCOMPARE(report.problems, QStringList());
        QVERIFY(report.isComplete);
        QCOMPARE(report.transactions, qint64(500));
    }

    void tenThousandTransactionsReplayWithoutADifference()
    {
        const QByteArray text = RandomSession(plugin, 77).run(10000);
        const ReplayReport report = replayed(text);
        QCOMPARE(texts(report), QStringList());
        QCOMPARE(report.problems, QStringList());
        QCOMPARE(report.transactions, qint64(10000));
        QVERIFY(report.isComplete && report.bytesCompared > 80000);
    }

    void aDamagedTraceIsBorne()
    {
        std::mt19937 random(5);
        const QByteArray source = RandomSession(plugin, 3).run(30);
        int different = 0;
        for (int round = 0; round < 500; ++round) {
            QByteArray text = source;
            const int body = text.indexOf('\n') + 1;
            for (unsigned i = 1 + random() % 20; i > 0; --i) {
                const int at = body + int(random() % unsigned(text.size() - body));
                switch (random() % 4) {
                case 0:
                    text[at] = char(random());
                    break;
                case 1:
                    text[at] = char('0' + random() % 10);
                    break;
                case 2:
                    text.remove(at, int(random() % 40));
                    break;
                default:
                    text.insert(at, text.mid(body + int(random() % unsigned(text.size() - body)), int(random() % 60)));
                }
            }
            QStringList problems;
            const ReplayReport report = replay(parseTrace(text, QStringLiteral("t"), &problems), plugin);
            different += !report.isSame() || !problems.isEmpty();
            QVERIFY(report.differences.size() <= 100 && report.problems.size() <= 100);
        }
        QVERIFY2(different > 400, qPrintable(QString::number(different)));
    }

    void noLineMakesReplayWorkWithoutEnd()
    {
        QByteArray text = "# ecpanel trace 1\n0.000000 settings maxBlockLen=1 plcStation=1 retryLimit=0 stationScope=1 "
                          "remoteMode=0 ownStation=1 writeMode=2 channelNo=0\n";
        // A write without a frame changes the driver's state with every call, so each of these is really made.
        for (int i = 0; i < 60; ++i)
            text += "0.000000 read-once 7 1 65535 1 0 0 = 65535\n0.000000 write 3 1 65535 1 01 0 0 - = 65535\n"
                    "0.000000 describe 1 = 65535\n0.000000 variable 7 1 65535 1 -\n"
                    "0.000000 idle 2147483647\n";
        const ReplayReport report = replayed(text);
        QVERIFY(report.problemCount > 0);
        QVERIFY(report.problems.last().endsWith(QLatin1String("expected fewer elements and idle calls in one trace")));
    }

    void anIdleNightIsReplayedInNoTime()
    {
        QByteArray text = Golden;
        text.replace("idle 5", "idle 2147483647");
        const ReplayReport report = replayed(text);
        QVERIFY(report.isSame());
        QCOMPARE(report.calls, qint64(16) - 5 + 2147483647);
    }
};

QTEST_APPLESS_MAIN(TstPanelReplay)
#include "tst_panel_replay.moc"
