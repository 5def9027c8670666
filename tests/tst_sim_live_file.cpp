/// The file that fills the simulated PLC: what it may say, and how its faults are explained.
#include "sim/live_file.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

/// The problems of a text, one line each.
QString problemsOf(const QByteArray &text, Slave &slave)
{
    QStringList problems;
    parseLiveFile(text, QStringLiteral("plc.toml"), slave, &problems);
    return problems.join(QLatin1Char('\n'));
}

QString problemsOf(const QByteArray &text)
{
    Slave slave;
    return problemsOf(text, slave);
}

QByteArray example()
{
    QFile file(QFINDTESTDATA("../examples/plc.toml"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TstSimLiveFile : public QObject {
    Q_OBJECT

private slots:
    void cellsGetTheirValues();
    void tablesMayStandOnOneLine();
    void aNumberMayComeAgainInAnotherSpaceOrStation();
    void cellsThatAreNotNamedKeepTheirPattern();
    void stuckCellsStick();
    void everyKindLives();
    void periodsAreTheirs();
    void epochsShowAroundWhatIsGiven();
    void aStationThatIsThereAlreadyIsFilled();
    void everyFaultIsExplained_data();
    void everyFaultIsExplained();
    void everyProblemIsToldAtOnce();
    void brokenTextNamesItsLine();
    void aFileThatCannotBeReadIsNamed();
    void aFileIsRead();
    void theExampleCanBeUsed();
    void theExampleNamesEveryKeyAndKind();
};

void TstSimLiveFile::cellsGetTheirValues()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 3\n"
                        "[station.coils]\n1215 = true\n4400 = [false, true]\n65535 = true\n"
                        "[station.registers]\n100 = 7\n200 = [1, -1, 65535, -32768]\n0x = 1\n",
                        slave),
             QStringLiteral("plc.toml:10: station.registers.0x: 0x: expected a number as the key"));
    QCOMPARE(slave.stations(), QList<int>{3});
    const PlcMemory &memory = *slave.memory(3);
    QCOMPARE(memory.coil(1215), true);
    QCOMPARE(memory.coil(4400), false);
    QCOMPARE(memory.coil(4401), true);
    QCOMPARE(memory.coil(65535), true);
    QCOMPARE(memory.holdingRegister(100), 7);
    QCOMPARE(memory.holdingRegister(200), 1);
    QCOMPARE(memory.holdingRegister(201), 65535);
    QCOMPARE(memory.holdingRegister(202), 65535);
    QCOMPARE(memory.holdingRegister(203), 0x8000);
}

void TstSimLiveFile::tablesMayStandOnOneLine()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 1\ncoils = { 8 = true }\nregisters = { 100 = 7, 101 = 0x1234 }\n"
                        "live = [ { kind = \"counter\", number = 102 } ]\n[[station]]\nnumber = 247\n",
                        slave),
             QString());
    QCOMPARE(slave.stations(), (QList<int>{1, 247}));
    slave.advanceTo(500);
    QCOMPARE(slave.memory(1)->coil(8), true);
    QCOMPARE(slave.memory(1)->holdingRegister(101), 0x1234);
    QCOMPARE(slave.memory(1)->holdingRegister(102), 5);
}

void TstSimLiveFile::aNumberMayComeAgainInAnotherSpaceOrStation()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 1\ncoils = { 100 = true }\nregisters = { 100 = 7 }\n"
                        "[[station]]\nnumber = 2\ncoils = { 100 = false }\nregisters = { 100 = 8 }\n",
                        slave),
             QString());
    QCOMPARE(slave.memory(1)->coil(100), true);
    QCOMPARE(slave.memory(1)->holdingRegister(100), 7);
    QCOMPARE(slave.memory(2)->coil(100), false);
    QCOMPARE(slave.memory(2)->holdingRegister(100), 8);
}

void TstSimLiveFile::cellsThatAreNotNamedKeepTheirPattern()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 4\nregisters = { 100 = 7 }\n", slave), QString());
    const PlcMemory pattern(4);
    for (const int number : {99, 101, 65535}) {
        QCOMPARE(slave.memory(4)->holdingRegister(number), pattern.holdingRegister(number));
        QCOMPARE(slave.memory(4)->coil(number), pattern.coil(number));
    }
}

void TstSimLiveFile::stuckCellsStick()
{
    Slave slave;
    QCOMPARE(
        problemsOf("[[station]]\nnumber = 1\nstuck = [9010, 9210]\nregisters = { 9010 = 7 }\ncoils = { 9210 = true }\n",
                   slave),
        QString());
    PlcMemory &memory = *slave.memory(1);
    memory.writeRegister(9010, 8);
    memory.writeCoil(9210, false);
    QCOMPARE(memory.holdingRegister(9010), 7);
    QCOMPARE(memory.coil(9210), true);
}

void TstSimLiveFile::everyKindLives()
{
    Slave slave;
    QCOMPARE(problemsOf(example(), slave), QString());
    slave.advanceTo(70000 + 700);
    const PlcMemory &memory = *slave.memory(1);
    QCOMPARE(memory.holdingRegister(110), 707);
    QCOMPARE(memory.holdingRegister(112), 1);
    QCOMPARE(memory.holdingRegister(113), 70700 - 65536);
    QCOMPARE(memory.holdingRegister(101), 70);
    QCOMPARE(memory.holdingRegister(102), 65536 - 891); // 1000 sin(2 pi * 2700 / 4000) is -891.01
    QCOMPARE(memory.coil(8), true);
    QCOMPARE(memory.holdingRegister(103), 7);
    QCOMPARE(memory.coil(9), true);
}

void TstSimLiveFile::periodsAreTheirs()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 1\n"
                        "[[station.live]]\nkind = \"counter\"\nnumber = 100\nperiod_ms = 1000\n"
                        "[[station.live]]\nkind = \"ramp\"\nnumber = 101\nperiod_ms = 2000\n"
                        "[[station.live]]\nkind = \"toggle\"\nnumber = 102\nperiod_ms = 5000\n",
                        slave),
             QString());
    slave.advanceTo(5000);
    QCOMPARE(slave.memory(1)->holdingRegister(100), 5);
    QCOMPARE(slave.memory(1)->holdingRegister(101), 500);
    QCOMPARE(slave.memory(1)->coil(102), true);
}

void TstSimLiveFile::epochsShowAroundWhatIsGiven()
{
    Slave slave;
    QCOMPARE(problemsOf("[[station]]\nnumber = 1\nepochs = true\nregisters = { 101 = 7 }\n", slave), QString());
    QVERIFY(slave.memory(1)->showsEpochs());
    QCOMPARE(slave.memory(1)->holdingRegister(100), 0xFE7E);
    QCOMPARE(slave.memory(1)->holdingRegister(101), 7);
}

void TstSimLiveFile::aStationThatIsThereAlreadyIsFilled()
{
    Slave slave;
    PlcMemory *const memory = slave.addStation(1);
    memory->setHoldingRegister(50, 3);
    QCOMPARE(problemsOf("[[station]]\nnumber = 1\nregisters = { 100 = 7 }\n", slave), QString());
    QCOMPARE(slave.memory(1), memory);
    QCOMPARE(memory->holdingRegister(50), 3);
    QCOMPARE(memory->holdingRegister(100), 7);
}

void TstSimLiveFile::everyFaultIsExplained_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");

    const auto add = [](const char *name, const QByteArray &text, const char *problem) {
        QTest::newRow(name) << text << QLatin1String("plc.toml:") + QLatin1String(problem);
    };
    add("nothing", "", "1: station: missing: expected one table [[station]] or more");
    add("unknown table", "[[station]]\nnumber = 1\n[plc]\n", "3: plc: unknown key: expected station");
    add("one station", "[station]\nnumber = 1\n", "1: station: number = 1: expected one table [[station]] or more");
    add("a list of numbers", "station = [1]\n", "1: station: 1: expected one table [[station]] or more");

    const QByteArray one = "[[station]]\nnumber = 1\n";
    add("no number", "\n[[station]]\nepochs = true\n", "2: station.number: missing: expected a station from 1 to 247");
    add("station 0", "[[station]]\nnumber = 0\n", "2: station.number: 0: expected a station from 1 to 247");
    add("station 248", "[[station]]\nnumber = 248\n", "2: station.number: 248: expected a station from 1 to 247");
    add("station in quotes", "[[station]]\nnumber = '1'\n",
        "2: station.number: \"1\": expected a station from 1 to 247");
    add("station 1.0", "[[station]]\nnumber = 1.0\n", "2: station.number: 1.0: expected a station from 1 to 247");
    add("a station twice", one + one, "4: station.number: 1: expected a station that the file has only once");
    add("unknown key", one + "name = 'x'\n",
        "3: station.name: unknown key: expected number, epochs, coils, registers, stuck, live");
    add("epochs", one + "epochs = 1\n", "3: station.epochs: 1: expected true or false");
    add("coils", one + "coils = true\n", "3: station.coils: true: expected a table of NUMBER = VALUE");
    add("registers", one + "registers = [1]\n", "3: station.registers: [ 1 ]: expected a table of NUMBER = VALUE");
    add("coil in a gap", one + "coils = { 4048 = true }\n",
        "3: station.coils.4048: true: expected a coil that the PLC has, where 4048 is meant");
    add("register in a gap", one + "registers = { 8256 = 1 }\n",
        "3: station.registers.8256: 1: expected a register that the PLC has, where 8256 is meant");
    add("list into a gap", one + "registers = { 8255 = [1, 2] }\n",
        "3: station.registers.8255: 2: expected a register that the PLC has, where 8256 is meant");
    add("list over the end", one + "registers = { 65535 = [1, 2] }\n",
        "3: station.registers.65535: 2: expected a register that the PLC has, where 65536 is meant");
    add("register below 0", one + "registers = { -1 = 1 }\n",
        "3: station.registers.-1: -1: expected a number as the key");
    add("register with a 0 in front", one + "registers = { 0100 = 1 }\n",
        "3: station.registers.0100: 0100: expected a number as the key");
    add("empty list", one + "registers = { 100 = [] }\n", "3: station.registers.100: []: expected one value or more");
    add("a register twice", one + "registers = { 100 = [1, 2], 101 = 3 }\n",
        "3: station.registers.101: 3: expected one value for register 101, not two");
    add("a word too large", one + "registers = { 100 = 65536 }\n",
        "3: station.registers.100: 65536: expected a whole number from -32768 to 65535");
    add("a word too small", one + "registers = { 100 = -32769 }\n",
        "3: station.registers.100: -32769: expected a whole number from -32768 to 65535");
    add("a word of text", one + "registers = { 100 = 'a' }\n",
        "3: station.registers.100: \"a\": expected a whole number from -32768 to 65535");
    add("a word of true", one + "registers = { 100 = true }\n",
        "3: station.registers.100: true: expected a whole number from -32768 to 65535");
    add("a coil of 1", one + "coils = { 8 = 1 }\n", "3: station.coils.8: 1: expected true or false");
    add("stuck without a list", one + "stuck = 8\n",
        "3: station.stuck: 8: expected a list of numbers of coils and registers that the PLC has");
    add("stuck in both gaps", one + "stuck = [\n8,\n8300]\n",
        "5: station.stuck: 8300: expected a list of numbers of coils and registers that the PLC has");
    add("stuck over the end", one + "stuck = [4294967304]\n",
        "3: station.stuck: 4294967304: expected a list of numbers of coils and registers that the PLC has");
    add("live without a list", one + "live = 8\n", "3: station.live: 8: expected one table [[station.live]] or more");
    add("live with a number", one + "live = [8]\n", "3: station.live: 8: expected one table [[station.live]] or more");

    const QByteArray live = one + "[[station.live]]\n";
    add("no kind", live + "number = 1\n",
        "3: station.live.kind: missing: expected one of counter, counter32, ramp, sine, toggle, echo, coil-echo");
    add("unknown kind", live + "kind = 'cosine'\nnumber = 1\n",
        "4: station.live.kind: \"cosine\": expected one of counter, counter32, ramp, sine, toggle, echo, coil-echo");
    add("unknown live key", live + "kind = 'sine'\nnumber = 1\nperiod = 5\n",
        "6: station.live.period: unknown key: expected kind, number, period_ms, source");
    add("no live number", live + "kind = 'sine'\n",
        "3: station.live.number: missing: expected the number of a register that the PLC has");
    add("live in a gap", live + "kind = 'sine'\nnumber = 8300\n",
        "5: station.live.number: 8300: expected the number of a register that the PLC has");
    add("live over the end", live + "kind = 'sine'\nnumber = 4294967296\n",
        "5: station.live.number: 4294967296: expected the number of a register that the PLC has");
    add("half a counter32", live + "kind = 'counter32'\nnumber = 65535\n",
        "5: station.live.number: 65535: expected the number of two registers that the PLC has");
    add("toggle in a gap", live + "kind = 'toggle'\nnumber = 4048\n",
        "5: station.live.number: 4048: expected the number of a coil that the PLC has");
    add("echo of nothing", live + "kind = 'echo'\nnumber = 1\n",
        "3: station.live.source: missing: expected the number of a register that the PLC has");
    add("echo of a gap", live + "kind = 'coil-echo'\nnumber = 1\nsource = 9456\n",
        "6: station.live.source: 9456: expected the number of a coil that the PLC has");
    add("echo with a period", live + "kind = 'echo'\nnumber = 1\nsource = 2\nperiod_ms = 5\n",
        "7: station.live.period_ms: 5: expected no such key with the kind echo");
    add("sine with a source", live + "kind = 'sine'\nnumber = 1\nsource = 2\n",
        "6: station.live.source: 2: expected no such key with the kind sine");
    add("period 0", live + "kind = 'sine'\nnumber = 1\nperiod_ms = 0\n",
        "6: station.live.period_ms: 0: expected milliseconds from 1 to 86400000");
    add("a period too long", live + "kind = 'sine'\nnumber = 1\nperiod_ms = 86400001\n",
        "6: station.live.period_ms: 86400001: expected milliseconds from 1 to 86400000");
}

void TstSimLiveFile::everyFaultIsExplained()
{
    QFETCH(QByteArray, text);
    QTEST(problemsOf(text), "problem");
}

void TstSimLiveFile::everyProblemIsToldAtOnce()
{
    QCOMPARE(
        problemsOf("[[station]]\n"
                   "number = 300\n"
                   "stuck = [8300]\n"
                   "[station.registers]\n"
                   "9812 = 1\n"
                   "100 = 'x'\n"
                   "[[station.live]]\n"
                   "kind = 'echo'\n"
                   "number = 9999\n"
                   "[[station]]\n"
                   "number = 2\n"
                   "speed = 9600\n"),
        QStringLiteral("plc.toml:2: station.number: 300: expected a station from 1 to 247\n"
                       "plc.toml:3: station.stuck: 8300: expected a list of numbers of coils and registers that the"
                       " PLC has\n"
                       "plc.toml:5: station.registers.9812: 1: expected a register that the PLC has, where 9812 is"
                       " meant\n"
                       "plc.toml:6: station.registers.100: \"x\": expected a whole number from -32768 to 65535\n"
                       "plc.toml:7: station.live.source: missing: expected the number of a register that the PLC has\n"
                       "plc.toml:9: station.live.number: 9999: expected the number of a register that the PLC has\n"
                       "plc.toml:12: station.speed: unknown key: expected number, epochs, coils, registers, stuck,"
                       " live"));
}

void TstSimLiveFile::brokenTextNamesItsLine()
{
    const QString broken = problemsOf("[[station]]\nnumber = 1\nstuck = [1, 2\n[[station]]\n");
    QVERIFY2(broken.startsWith(QStringLiteral("plc.toml:4: syntax: ")), qPrintable(broken));
    QVERIFY2(broken.endsWith(QStringLiteral(": expected TOML")), qPrintable(broken));
    const QString twice = problemsOf("[[station]]\nnumber = 1\nnumber = 2\n");
    QVERIFY2(twice.startsWith(QStringLiteral("plc.toml:3: syntax: ")), qPrintable(twice));
    const QString letter = problemsOf("[va\xCB\x94ns\n");
    QVERIFY2(letter.startsWith(QStringLiteral("plc.toml:1: syntax: ")), qPrintable(letter));
    const QString binary = problemsOf(QByteArray("\xFF\xFE\x00\x01", 4));
    QVERIFY2(binary.startsWith(QStringLiteral("plc.toml:1: syntax: ")), qPrintable(binary));
}

void TstSimLiveFile::aFileThatCannotBeReadIsNamed()
{
    Slave slave;
    QStringList problems;
    readLiveFile(QStringLiteral("/nowhere/plc.toml"), slave, &problems);
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.first().startsWith(QStringLiteral("/nowhere/plc.toml: ")), qPrintable(problems.first()));
    QVERIFY2(problems.first().endsWith(QStringLiteral(": expected a file that can be read")),
             qPrintable(problems.first()));
    QCOMPARE(slave.stations(), QList<int>());
}

void TstSimLiveFile::aFileIsRead()
{
    QTemporaryDir directory;
    const QString name = directory.filePath(QStringLiteral("two.toml"));
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[[station]]\nnumber = 2\nregisters = { 100 = 7 }\n[[station]]\nnumber = 999\n");
    file.close();
    Slave slave;
    QStringList problems{QStringLiteral("one before")};
    readLiveFile(name, slave, &problems);
    QCOMPARE(problems,
             (QStringList{QStringLiteral("one before"),
                          name + QStringLiteral(":5: station.number: 999: expected a station from 1 to 247")}));
    QCOMPARE(slave.memory(2)->holdingRegister(100), 7);
}

void TstSimLiveFile::theExampleCanBeUsed()
{
    Slave slave;
    QStringList problems;
    readLiveFile(QFINDTESTDATA("../examples/plc.toml"), slave, &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(slave.stations(), (QList<int>{1, 2}));
    const PlcMemory &memory = *slave.memory(1);
    QCOMPARE(memory.showsEpochs(), false);
    QCOMPARE(memory.coil(1215), true);
    QCOMPARE(memory.coil(1216), false);
    QCOMPARE(memory.coil(1218), true);
    QCOMPARE(memory.holdingRegister(100), 7);
    QCOMPARE(memory.holdingRegister(8001), 2);
    QCOMPARE(memory.holdingRegister(8002), 65535);
}

void TstSimLiveFile::theExampleNamesEveryKeyAndKind()
{
    const QByteArray text = example();
    for (const char *key : {"number", "epochs", "stuck", "kind", "period_ms", "source"})
        QVERIFY2(text.contains('\n' + QByteArray(key) + " = "), key);
    for (const char *table : {"[[station]]", "[station.coils]", "[station.registers]", "[[station.live]]"})
        QVERIFY2(text.contains('\n' + QByteArray(table)), table);
    for (const QString &kind : LiveCell::kindNames().split(QStringLiteral(", ")))
        QVERIFY2(text.contains("kind = \"" + kind.toLatin1() + "\""), qPrintable(kind));
}

QTEST_APPLESS_MAIN(TstSimLiveFile)
#include "tst_sim_live_file.moc"
