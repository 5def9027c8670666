/// Reading the settings of a line and its PLCs.
#include "host/settings.h"

#include "tests/damaged_text.h"

#include <QtTest/QtTest>

namespace {

const char Least[] = "[line]\n"
                     "port = \"/dev/ttyUSB0\"\n"
                     "baud = 9600\n"
                     "parity = \"even\"\n"
                     "stop_bits = 1\n"
                     "reply_timeout_ms = 200\n"
                     "[driver]\n"
                     "path = \"lib.so\"\n"
                     "max_block_len = 32\n"
                     "retries = 2\n"
                     "stations = \"one\"\n"
                     "station = 5\n";

/// The least settings with a line exchanged (all of it when the new one is empty).
QByteArray with(const QByteArray &line, const QByteArray &newLine)
{
    QByteArray text = Least;
    Q_ASSERT(text.count(line) == 1);
    return text.replace(line, newLine);
}

QString problemsOf(const QByteArray &text)
{
    QStringList problems;
    parseSettings(text, QStringLiteral("line.toml"), &problems);
    return problems.join(QLatin1Char('\n'));
}

QByteArray exampleText()
{
    QFile file(QStringLiteral(EC_SOURCE_DIR "/examples/line.toml"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TstPanelSettings : public QObject {
    Q_OBJECT

private slots:
    void theLeastSettingsHaveTheUsualValues();
    void eachKeyArrives();
    void theDriverGetsItsRecord();
    void aRelativePathIsTakenFromTheFilesFolder();
    void theDriversPathMayBeLeftOut();
    void thePortIsTakenAsItIs();
    void aWrongValueIsNamed_data();
    void aWrongValueIsNamed();
    void eachUsualBaudRateIsTaken();
    void theEndsOfEachRangeAreTaken_data();
    void theEndsOfEachRangeAreTaken();
    void aMissingKeyIsNamed_data();
    void aMissingKeyIsNamed();
    void anUnknownKeyIsAnsweredWithTheKnownOnes_data();
    void anUnknownKeyIsAnsweredWithTheKnownOnes();
    void allProblemsComeAtOnceInTheirOrder();
    void aMissingTableIsOneProblem();
    void aSyntaxErrorTellsWhatWasExpected_data();
    void aSyntaxErrorTellsWhatWasExpected();
    void aFileThatCannotBeReadIsAProblem();
    void aFileThatIsTooLongIsAProblem();
    void problemsAreAppended();
    void theExampleIsGoodAndHasEveryKey();
    void anyBytesGiveAResultOrProblems();
};

void TstPanelSettings::theLeastSettingsHaveTheUsualValues()
{
    QStringList problems;
    const PanelSettings settings = parseSettings(Least, QStringLiteral("/etc/panel/line.toml"), &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(settings.line.port, QString("/dev/ttyUSB0"));
    QCOMPARE(settings.line.baud, 9600);
    QVERIFY(settings.line.parity == Parity::Even);
    QCOMPARE(settings.line.stopBits, 1);
    QCOMPARE(settings.line.replyTimeout, 200);
    QCOMPARE(settings.line.turnaround, 100);
    QCOMPARE(settings.line.lateWindow, 100);
    QCOMPARE(settings.line.silence, -1);
    QCOMPARE(settings.line.reopenFirst, 250);
    QCOMPARE(settings.line.reopenMost, 5000);
    QCOMPARE(settings.line.hasEcho, false);
    QCOMPARE(settings.line.isGuarded, true);
    QCOMPARE(settings.driverPath, QString("/etc/panel/lib.so"));
    QCOMPARE(settings.maxBlockLen, 32);
    QCOMPARE(settings.retries, 2);
    QCOMPARE(settings.hasSeveral, false);
    QCOMPARE(settings.station, 5);
    QCOMPARE(settings.isRemote, false);
    QCOMPARE(settings.ownStation, 0);
    QCOMPARE(settings.confirmWrites, true);
    QCOMPARE(settings.staleAfter, 5000);
    QCOMPARE(settings.offAfter, 3);
    QCOMPARE(settings.probeFirst, 1000);
    QCOMPARE(settings.probeMost, 60000);
}

void TstPanelSettings::eachKeyArrives()
{
    const QByteArray text = "[line]\n"
                            "port = \"/dev/ttyS1\"\nbaud = 115200\nparity = \"odd\"\nstop_bits = 2\n"
                            "reply_timeout_ms = 11\nturnaround_ms = 12\nlate_window_ms = 13\nsilence_us = 14\n"
                            "reopen_first_ms = 15\nreopen_most_ms = 16\necho = true\nguard = false\n"
                            "[driver]\n"
                            "path = \"/opt/lib.so\"\nmax_block_len = 64\nretries = 7\nstations = \"several\"\n"
                            "format = \"remote\"\nown_station = 9\n"
                            "[writes]\nconfirm = false\n[values]\nstale_after_ms = 17\n"
                            "[stations]\noff_after = 18\nprobe_first_ms = 19\nprobe_most_ms = 20\n";
    QStringList problems;
    const PanelSettings settings = parseSettings(text, QStringLiteral("line.toml"), &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(settings.line.port, QString("/dev/ttyS1"));
    QCOMPARE(settings.line.baud, 115200);
    QVERIFY(settings.line.parity == Parity::Odd);
    QCOMPARE(settings.line.stopBits, 2);
    QCOMPARE(settings.line.replyTimeout, 11);
    QCOMPARE(settings.line.turnaround, 12);
    QCOMPARE(settings.line.lateWindow, 13);
    QCOMPARE(settings.line.silence, 14);
    QCOMPARE(settings.line.reopenFirst, 15);
    QCOMPARE(settings.line.reopenMost, 16);
    QCOMPARE(settings.line.hasEcho, true);
    QCOMPARE(settings.line.isGuarded, false);
    QCOMPARE(settings.driverPath, QString("/opt/lib.so"));
    QCOMPARE(settings.maxBlockLen, 64);
    QCOMPARE(settings.retries, 7);
    QCOMPARE(settings.hasSeveral, true);
    QCOMPARE(settings.isRemote, true);
    QCOMPARE(settings.ownStation, 9);
    QCOMPARE(settings.confirmWrites, false);
    QCOMPARE(settings.staleAfter, 17);
    QCOMPARE(settings.offAfter, 18);
    QCOMPARE(settings.probeFirst, 19);
    QCOMPARE(settings.probeMost, 20);
}

void TstPanelSettings::theDriverGetsItsRecord()
{
    PanelSettings settings;
    settings.maxBlockLen = 40;
    settings.station = 17;
    settings.retries = 3;
    settings.hasSeveral = true;
    settings.isRemote = true;
    settings.ownStation = 21;
    const COMINFO info = settings.comInfo();
    const int *words = reinterpret_cast<const int *>(&info);
    QStringList texts;
    for (int i = 0; i < 19; ++i)
        texts << QString::number(words[i]);
    QCOMPARE(texts.join(' '), QString("0 0 0 0 40 0 17 3 0 1 0 0 0 0 1 21 2 0 0"));
    QCOMPARE(PanelSettings().comInfo().stationScope, 0);
    QCOMPARE(PanelSettings().comInfo().remoteMode, 0);
}

void TstPanelSettings::aRelativePathIsTakenFromTheFilesFolder()
{
    QStringList problems;
    const auto pathOf = [&](const QByteArray &path, const QString &fileName) {
        return parseSettings(with("lib.so", path), fileName, &problems).driverPath;
    };
    QCOMPARE(pathOf("../build/lib.so", "/opt/panel/line.toml"), QString("/opt/build/lib.so"));
    QCOMPARE(pathOf("lib.so", "line.toml"), QDir::currentPath() + "/lib.so");
    QCOMPARE(pathOf("/usr/lib/lib.so", "/opt/panel/line.toml"), QString("/usr/lib/lib.so"));
    QCOMPARE(problems, QStringList());
}

void TstPanelSettings::theDriversPathMayBeLeftOut()
{
    QStringList problems;
    const PanelSettings settings =
        parseSettings(with("path = \"lib.so\"\n", ""), QStringLiteral("line.toml"), &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(settings.driverPath, QString());
}

void TstPanelSettings::thePortIsTakenAsItIs()
{
    QStringList problems;
    const PanelSettings settings =
        parseSettings(with("/dev/ttyUSB0", "ttyUSB0"), QStringLiteral("/opt/line.toml"), &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(settings.line.port, QString("ttyUSB0"));
}

void TstPanelSettings::aWrongValueIsNamed_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *name, const QByteArray &text, const char *problem) {
        QTest::newRow(name) << text << QString(problem);
    };
    const auto added = [](const char *lines) { return QByteArray(Least) + lines; };
    const auto inLine = [](const char *line) { return with("baud = 9600\n", QByteArray("baud = 9600\n") + line); };
    const QString bauds = "expected one of 300, 600, 1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200, "
                          "230400, 460800, 500000, 576000, 921600";
    row("baud", with("9600", "12345"), qPrintable("line.toml:3: line.baud: 12345: " + bauds));
    row("baud as text", with("9600", "\"9600\""), qPrintable("line.toml:3: line.baud: \"9600\": " + bauds));
    row("baud with a point", with("9600", "9600.0"), qPrintable("line.toml:3: line.baud: 9600.0: " + bauds));
    row("baud with a fraction", with("9600", "9600.5"), qPrintable("line.toml:3: line.baud: 9600.5: " + bauds));
    row("baud below one", with("9600", "0.5"), qPrintable("line.toml:3: line.baud: 0.5: " + bauds));
    row("baud 0 with a point", with("9600", "0.0"), qPrintable("line.toml:3: line.baud: 0.0: " + bauds));
    row("baud as a flag", with("9600", "false"), qPrintable("line.toml:3: line.baud: false: " + bauds));
    row("baud as a table", with("9600", "{ rate = 9600 }"), qPrintable("line.toml:3: line.baud: a table: " + bauds));
    row("an order that follows from a wrong least", inLine("reopen_first_ms = 0\n"),
        "line.toml:4: line.reopen_first_ms: 0: expected a whole number from 1 to 3600000");
    row("an order that follows from a wrong most", inLine("reopen_first_ms = 3600000\nreopen_most_ms = 0\n"),
        "line.toml:5: line.reopen_most_ms: 0: expected a whole number from 1 to 3600000");
    row("baud beyond an int", with("9600", "4294976896"), qPrintable("line.toml:3: line.baud: 4294976896: " + bauds));
    row("empty port", with("/dev/ttyUSB0", ""),
        "line.toml:2: line.port: \"\": expected the serial port, as \"/dev/ttyUSB0\"");
    row("port with a zero byte", with("/dev/ttyUSB0", "a\\u0000b"),
        "line.toml:2: line.port: \"a?b\": expected the serial port, as \"/dev/ttyUSB0\"");
    row("port as a number", with("\"/dev/ttyUSB0\"", "0"),
        "line.toml:2: line.port: 0: expected the serial port, as \"/dev/ttyUSB0\"");
    row("parity", with("even", "mark"),
        "line.toml:4: line.parity: \"mark\": expected one of \"none\", \"even\", \"odd\"");
    row("parity as a flag", with("\"even\"", "true"),
        "line.toml:4: line.parity: true: expected one of \"none\", \"even\", \"odd\"");
    row("stop bits", with("stop_bits = 1", "stop_bits = 3"),
        "line.toml:5: line.stop_bits: 3: expected a whole number from 1 to 2");
    row("stop bits 0", with("stop_bits = 1", "stop_bits = 0"),
        "line.toml:5: line.stop_bits: 0: expected a whole number from 1 to 2");
    row("reply time-out 0", with("reply_timeout_ms = 200", "reply_timeout_ms = 0"),
        "line.toml:6: line.reply_timeout_ms: 0: expected a whole number from 1 to 3600000");
    row("reply time-out above an hour", with("reply_timeout_ms = 200", "reply_timeout_ms = 3600001"),
        "line.toml:6: line.reply_timeout_ms: 3600001: expected a whole number from 1 to 3600000");
    row("turnaround", inLine("turnaround_ms = -1\n"),
        "line.toml:4: line.turnaround_ms: -1: expected a whole number from 0 to 3600000");
    row("late window", inLine("late_window_ms = -1\n"),
        "line.toml:4: line.late_window_ms: -1: expected a whole number from 0 to 3600000");
    row("silence", inLine("silence_us = -1\n"),
        "line.toml:4: line.silence_us: -1: expected a whole number from 0 to 3600000");
    row("reopen first", inLine("reopen_first_ms = 0\n"),
        "line.toml:4: line.reopen_first_ms: 0: expected a whole number from 1 to 3600000");
    row("reopen most", inLine("reopen_most_ms = 0\n"),
        "line.toml:4: line.reopen_most_ms: 0: expected a whole number from 1 to 3600000");
    row("reopen order", inLine("reopen_first_ms = 20\nreopen_most_ms = 10\n"),
        "line.toml:5: line.reopen_most_ms: 10: expected 20 or more, as reopen_first_ms is");
    row("reopen order, the usual most", inLine("reopen_first_ms = 5001\n"),
        "line.toml:4: line.reopen_first_ms: 5001: expected 5000 or less, as reopen_most_ms is");
    row("echo", inLine("echo = 1\n"), "line.toml:4: line.echo: 1: expected true or false");
    row("guard", inLine("guard = [true]\n"), "line.toml:4: line.guard: an array: expected true or false");
    row("path", with("\"lib.so\"", "1979-05-27"),
        "line.toml:8: driver.path: a date or time: expected the driver's file, as \"libemerson_ec_series.so\"");
    row("odd block length", with("max_block_len = 32", "max_block_len = 33"),
        "line.toml:9: driver.max_block_len: 33: expected an even number from 2 to 122");
    row("block length 0", with("max_block_len = 32", "max_block_len = 0"),
        "line.toml:9: driver.max_block_len: 0: expected an even number from 2 to 122");
    row("block length 124", with("max_block_len = 32", "max_block_len = 124"),
        "line.toml:9: driver.max_block_len: 124: expected an even number from 2 to 122");
    // A request in the remote format tells its length in one byte.
    row("block length 118, remote", with("max_block_len = 32", "format = \"remote\"\nmax_block_len = 118"),
        "line.toml:10: driver.max_block_len: 118: expected an even number from 2 to 116");
    row("retries", with("retries = 2", "retries = 101"),
        "line.toml:10: driver.retries: 101: expected a whole number from 0 to 100");
    row("stations", with("\"one\"", "\"two\""),
        "line.toml:11: driver.stations: \"two\": expected one of \"one\", \"several\"");
    row("station with several", with("\"one\"", "\"several\""),
        "line.toml:12: driver.station: 5: expected nothing, as with stations = \"several\" each tag has a station of "
        "its own");
    row("station 0", with("station = 5", "station = 0"),
        "line.toml:12: driver.station: 0: expected a whole number from 1 to 247");
    row("station 248", with("station = 5", "station = 248"),
        "line.toml:12: driver.station: 248: expected a whole number from 1 to 247");
    row("format", added("format = \"tcp\"\n"),
        "line.toml:13: driver.format: \"tcp\": expected one of \"modbus\", \"remote\"");
    row("own station", added("own_station = 256\n"),
        "line.toml:13: driver.own_station: 256: expected a whole number from 0 to 255");
    row("confirm", added("[writes]\nconfirm = \"yes\"\n"),
        "line.toml:14: writes.confirm: \"yes\": expected true or false");
    row("stale", added("[values]\nstale_after_ms = 0\n"),
        "line.toml:14: values.stale_after_ms: 0: expected a whole number from 1 to 3600000");
    row("off after", added("[stations]\noff_after = -1\n"),
        "line.toml:14: stations.off_after: -1: expected a whole number from 0 to 1000");
    row("probe first", added("[stations]\nprobe_first_ms = 0\n"),
        "line.toml:14: stations.probe_first_ms: 0: expected a whole number from 1 to 3600000");
    row("probe most", added("[stations]\nprobe_most_ms = 0\n"),
        "line.toml:14: stations.probe_most_ms: 0: expected a whole number from 1 to 3600000");
    row("probe order", added("[stations]\nprobe_most_ms = 999\n"),
        "line.toml:14: stations.probe_most_ms: 999: expected 1000 or more, as probe_first_ms is");
    row("a table that is none", "writes = 5\n" + QByteArray(Least),
        "line.toml:1: writes: 5: expected a table [writes]");
    row("an array of tables", added("[[values]]\n"), "line.toml:13: values: an array: expected a table [values]");
    row("an unknown table", added("[lines]\n"),
        "line.toml:13: lines: unknown table: expected the tables line, driver, writes, values, stations");
    row("a key outside tables", "baud = 9600\n" + QByteArray(Least).replace("baud = 9600\n", "baud = 300\n"),
        "line.toml:1: baud: unknown key: expected the tables line, driver, writes, values, stations");
    row("a long text", with("even", QByteArray(100, 'x')),
        "line.toml:4: line.parity: \"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\": expected one of \"none\", "
        "\"even\", \"odd\"");
}

void TstPanelSettings::aWrongValueIsNamed()
{
    QFETCH(QByteArray, text);
    QTEST(problemsOf(text), "problem");
}

void TstPanelSettings::eachUsualBaudRateIsTaken()
{
    for (int baud : {300, 600, 1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 230400, 460800, 500000,
                     576000, 921600}) {
        QStringList problems;
        const PanelSettings settings = parseSettings(with("9600", QByteArray::number(baud)), "line.toml", &problems);
        QCOMPARE(problems, QStringList());
        QCOMPARE(settings.line.baud, baud);
    }
}

void TstPanelSettings::theEndsOfEachRangeAreTaken_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("least") << QByteArray(
        "[line]\nport = \"p\"\nbaud = 300\nparity = \"none\"\nstop_bits = 1\nreply_timeout_ms = 1\n"
        "turnaround_ms = 0\nlate_window_ms = 0\nsilence_us = 0\nreopen_first_ms = 1\nreopen_most_ms = 1\n"
        "[driver]\npath = \"p\"\nmax_block_len = 2\nretries = 0\nstations = \"one\"\nstation = 1\nown_station = 0\n"
        "[values]\nstale_after_ms = 1\n[stations]\noff_after = 0\nprobe_first_ms = 1\nprobe_most_ms = 1\n");
    QTest::newRow("most") << QByteArray(
        "[line]\nport = \"p\"\nbaud = 921600\nparity = \"none\"\nstop_bits = 2\nreply_timeout_ms = 3600000\n"
        "turnaround_ms = 3600000\nlate_window_ms = 3600000\nsilence_us = 3600000\nreopen_first_ms = 3600000\n"
        "reopen_most_ms = 3600000\n"
        "[driver]\npath = \"p\"\nmax_block_len = 122\nretries = 100\nstations = \"one\"\nstation = 247\n"
        "own_station = 255\n"
        "[values]\nstale_after_ms = 3600000\n"
        "[stations]\noff_after = 1000\nprobe_first_ms = 3600000\nprobe_most_ms = 3600000\n");
}

void TstPanelSettings::theEndsOfEachRangeAreTaken()
{
    QFETCH(QByteArray, text);
    QCOMPARE(problemsOf(text), QString());
}

void TstPanelSettings::aMissingKeyIsNamed_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *line, const char *problem) {
        QTest::newRow(line) << QByteArray(line) + '\n' << QString(problem);
    };
    row("port = \"/dev/ttyUSB0\"", "line.toml:1: line.port: missing: expected the serial port, as \"/dev/ttyUSB0\"");
    row("baud = 9600", "line.toml:1: line.baud: missing: expected one of 300, 600, 1200, 1800, 2400, 4800, 9600, "
                       "19200, 38400, 57600, 115200, 230400, 460800, 500000, 576000, 921600");
    row("parity = \"even\"", "line.toml:1: line.parity: missing: expected one of \"none\", \"even\", \"odd\"");
    row("stop_bits = 1", "line.toml:1: line.stop_bits: missing: expected a whole number from 1 to 2");
    row("reply_timeout_ms = 200",
        "line.toml:1: line.reply_timeout_ms: missing: expected a whole number from 1 to 3600000");
    row("max_block_len = 32", "line.toml:7: driver.max_block_len: missing: expected an even number from 2 to 122");
    row("retries = 2", "line.toml:7: driver.retries: missing: expected a whole number from 0 to 100");
    row("stations = \"one\"", "line.toml:7: driver.stations: missing: expected one of \"one\", \"several\"");
    row("station = 5", "line.toml:7: driver.station: missing: expected a whole number from 1 to 247");
}

void TstPanelSettings::aMissingKeyIsNamed()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, problem);
    QByteArray text = Least;
    QCOMPARE(text.count('\n' + line), 1);
    text.replace('\n' + line, "\n");
    QCOMPARE(problemsOf(text), problem);
}

void TstPanelSettings::anUnknownKeyIsAnsweredWithTheKnownOnes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    const QByteArray least = Least;
    QTest::newRow("line") << with("[line]\n", "[line]\nbauds = 9600\n")
                          << "line.toml:2: line.bauds: unknown key: expected port, baud, parity, stop_bits, "
                             "reply_timeout_ms, turnaround_ms, late_window_ms, silence_us, reopen_first_ms, "
                             "reopen_most_ms, echo, guard";
    QTest::newRow("driver") << least + "Path = 1\n"
                            << "line.toml:13: driver.Path: unknown key: expected path, format, max_block_len, retries, "
                               "stations, station, own_station";
    QTest::newRow("writes") << least + "[writes]\nx = 1\n"
                            << "line.toml:14: writes.x: unknown key: expected confirm";
    QTest::newRow("values") << least + "[values]\nx = 1\n"
                            << "line.toml:14: values.x: unknown key: expected stale_after_ms";
    QTest::newRow("stations") << least + "[stations]\nx = 1\n"
                              << "line.toml:14: stations.x: unknown key: expected off_after, probe_first_ms, "
                                 "probe_most_ms";
}

void TstPanelSettings::anUnknownKeyIsAnsweredWithTheKnownOnes()
{
    QFETCH(QByteArray, text);
    QTEST(problemsOf(text), "problem");
}

void TstPanelSettings::allProblemsComeAtOnceInTheirOrder()
{
    const QByteArray text = "[driver]\n"
                            "path = 5\n"
                            "retries = -1\n"
                            "colour = \"red\"\n"
                            "max_block_len = 32\n"
                            "stations = \"several\"\n"
                            "[line]\n"
                            "port = \"p\"\n"
                            "baud = 9600\n"
                            "parity = \"none\"\n"
                            "stop_bits = 9\n";
    QCOMPARE(
        problemsOf(text),
        QString("line.toml:2: driver.path: 5: expected the driver's file, as \"libemerson_ec_series.so\"\n"
                "line.toml:3: driver.retries: -1: expected a whole number from 0 to 100\n"
                "line.toml:4: driver.colour: unknown key: expected path, format, max_block_len, retries, stations, "
                "station, own_station\n"
                "line.toml:7: line.reply_timeout_ms: missing: expected a whole number from 1 to 3600000\n"
                "line.toml:11: line.stop_bits: 9: expected a whole number from 1 to 2"));
}

void TstPanelSettings::aMissingTableIsOneProblem()
{
    QCOMPARE(problemsOf(""), QString("line.toml: line: missing: expected a table [line] with port, baud, parity, "
                                     "stop_bits, reply_timeout_ms\n"
                                     "line.toml: driver: missing: expected a table [driver] with "
                                     "max_block_len, retries, stations"));
}

void TstPanelSettings::aSyntaxErrorTellsWhatWasExpected_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *name, const QByteArray &text, const char *problem) {
        QTest::newRow(name) << text << QLatin1String("line.toml:") + QString::fromUtf8(problem);
    };
    row("a word", "[line]\nparity = even\n", "2:10: even: expected quotes around text");
    row("a word and a comment", "[line]\nparity = even # \"x\"\n", "2:10: even: expected quotes around text");
    row("a word like a flag's start", "port = tty\n", "1:9: tty: expected quotes around text");
    row("a word like a number's start", "port = nano\n", "1:11: nano: expected quotes around text");
    row("a path", "[line]\r\nport = /dev/ttyS0\r\n", "2:8: /dev/ttyS0: expected quotes around text");
    row("no opening quote", "parity = even\"\n", "1:10: even\": expected quotes around text");
    row("no closing quote", "[line]\nport = \"/dev/ttyS0\nbaud = 1\n", "2:19: \"/dev/ttyS0: expected a closing quote");
    row("no closing single quote", "port = '/dev/ttyS0\n", "1:19: '/dev/ttyS0: expected a closing quote");
    row("no closing quote at the end", "port = \"x", "1:10: \"x: expected a closing quote");
    row("another closing quote", "port = \"x'\n", "1:11: \"x': expected a closing quote");
    row("no end of a long text", "port = \"\"\"x\n\n", "2:2: end of file: expected a closing quote");
    row("a capital flag", "echo = True\n", "1:8: True: expected true or false");
    row("a flag as a word", "echo = no # none\n", "1:9: no: expected true or false");
    row("no value", "[line]\nbaud =\n", "2:7: baud =: expected a line like key = value");
    row("no equals sign", "baud 9600\n", "1:6: baud 9600: expected a line like key = value");
    row("a colon", "baud: 9600\n", "1:5: baud: 9600: expected a line like key = value");
    row("a word behind the value", "baud = 9600 baud\n", "1:13: baud = 9600 baud: expected a line like key = value");
    row("a leading zero", "baud = 09600\n", "1:13: leading zeroes are prohibited: expected a line like key = value");
    row("no closing bracket", "[line\nbaud = 9600\n", "1:6: [line: expected a line like [table]");
    row("a key twice", "[line]\nbaud = 1\nbaud = 2\n",
        "3:8: cannot redefine existing integer 'baud': expected each name once");
    row("a table twice", "[line]\n[line]\n", "2:1: cannot redefine existing table 'line': expected each name once");
    row("single backslashes", "path = \"C:\\dev\"\n",
        "1:12: unknown escape sequence '\\d': expected two backslashes for one");
    row("letters that are near no blank", "[va\xCB\x94ns\n", "1:4: [va\xCB\x94ns: expected a line like [table]");
    row("no UTF-8", "[line]\nport = \"\xff\"\n", "2:8: port = \"\xEF\xBF\xBD\": expected UTF-8");
    row("nested without end", "x = " + QByteArray(100000, '['),
        "1:261: exceeded maximum nested value depth of 256: expected a line like key = value");
}

void TstPanelSettings::aSyntaxErrorTellsWhatWasExpected()
{
    QFETCH(QByteArray, text);
    QTEST(problemsOf(text), "problem");
}

void TstPanelSettings::aFileThatCannotBeReadIsAProblem()
{
    QStringList problems;
    readSettings(QStringLiteral("/nowhere/line.toml"), &problems);
    QCOMPARE(problems, QStringList("/nowhere/line.toml: No such file or directory: expected a file of settings"));
    problems.clear();
    readSettings(QStringLiteral("/tmp"), &problems);
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.first().startsWith("/tmp: "), qPrintable(problems.first()));
}

void TstPanelSettings::aFileThatIsTooLongIsAProblem()
{
    QCOMPARE(problemsOf(QByteArray((1 << 20) + 1, '\n')),
             QString("line.toml: size: 1048577 bytes: expected 1048576 at most"));
    QCOMPARE(problemsOf(Least + QByteArray((1 << 20) - int(sizeof Least) + 1, '\n')), QString());
    QStringList problems;
    readSettings(QStringLiteral("/dev/zero"), &problems);
    QCOMPARE(problems, QStringList("/dev/zero: size: 1048577 bytes: expected 1048576 at most"));
}

void TstPanelSettings::problemsAreAppended()
{
    QStringList problems = {QStringLiteral("before")};
    parseSettings(with("9600", "1"), QStringLiteral("line.toml"), &problems);
    QCOMPARE(problems.size(), 2);
    QCOMPARE(problems.first(), QString("before"));
}

void TstPanelSettings::theExampleIsGoodAndHasEveryKey()
{
    const QByteArray example = exampleText();
    QVERIFY(!example.isEmpty());
    QCOMPARE(problemsOf(example), QString());
    // The parser tells the keys that it knows when it meets another one.
    int keys = 0;
    for (const char *table : {"[line]\n", "[driver]\n", "[writes]\n", "[values]\n", "[stations]\n"}) {
        QByteArray text = example;
        QCOMPARE(text.count(table), 1);
        const QString problem = problemsOf(text.replace(table, QByteArray(table) + "x = 1\n"));
        const QString start = ": unknown key: expected ";
        QVERIFY2(problem.contains(start), qPrintable(problem));
        const QByteArray part = example.mid(example.indexOf(table)).split('[').at(1);
        for (const QString &key : problem.mid(problem.indexOf(start) + start.size()).split(", ")) {
            const QRegularExpression line("^(# )?" + key + " = \\S.*  +# \\S", QRegularExpression::MultilineOption);
            QVERIFY2(line.match(QString::fromUtf8(part)).hasMatch(), qPrintable(table + key));
            ++keys;
        }
    }
    QCOMPARE(keys, 24);
}

void TstPanelSettings::anyBytesGiveAResultOrProblems()
{
    const QByteArray example = exampleText();
    QRandomGenerator random(1);
    int refused = 0;
    for (int i = 0; i < 2000; ++i) {
        const QByteArray text = damaged(example, random);
        QStringList problems;
        const PanelSettings settings = parseSettings(text, QStringLiteral("line.toml"), &problems);
        refused += problems.isEmpty() ? 0 : 1;
        if (problems.isEmpty())
            QVERIFY(settings.line.baud >= 300 && settings.maxBlockLen >= 2);
        for (const QString &problem : qAsConst(problems))
            QVERIFY2(problem.startsWith("line.toml") && problem.contains(": expected "), qPrintable(problem));
    }
    QVERIFY(refused > 200 && refused < 2000);
}

QTEST_APPLESS_MAIN(TstPanelSettings)
#include "tst_panel_settings.moc"
