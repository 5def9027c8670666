/// The simulated PLC's cells: which there are, what they hold, which of them live, stick or show epochs.
#include "sim/areas.h"
#include "sim/plc_memory.h"

#include <QtTest/QtTest>

namespace {

/// The value of a live cell's register at a time, as a signed number.
int liveRegister(const QString &text, qint64 milliseconds, int periodMilliseconds = 0)
{
    LiveCell cell;
    QString error;
    if (!LiveCell::parse(text, &cell, &error))
        return -99999;
    cell.periodMilliseconds = periodMilliseconds;
    PlcMemory memory(1);
    memory.addLiveCell(cell);
    memory.advanceTo(milliseconds);
    return qint16(memory.holdingRegister(cell.number));
}

} // namespace

class TstSimMemory : public QObject {
    Q_OBJECT

private slots:
    void areasEndWhereTheirGapsBegin_data();
    void areasEndWhereTheirGapsBegin();
    void aRunExistsWhenEveryNumberDoes_data();
    void aRunExistsWhenEveryNumberDoes();
    void elementsHaveTheirModbusNumber_data();
    void elementsHaveTheirModbusNumber();
    void everyStationStartsDifferently();
    void cellsAreSeparateInTheirTwoSpaces();
    void stuckCellsKeepTheirValueFromTheLine();
    void liveCellsFollowTheirClock_data();
    void liveCellsFollowTheirClock();
    void aLongCounterTakesTwoRegisters();
    void aToggleIsACoil();
    void echoesShowTheirSourceInWhateverOrder();
    void liveCellsAreReadFromText_data();
    void liveCellsAreReadFromText();
    void wrongLiveCellsAreExplained_data();
    void wrongLiveCellsAreExplained();
    void epochsShowUntilSomebodyWrites();
    void aStuckCellGoesOnShowingEpochs();
    void whatWasWrittenBeforeEpochsIsForgotten();
    void epochValuesAreFixed();
    void noTwoNeighboursInAnEpochAreAlike();
};

void TstSimMemory::areasEndWhereTheirGapsBegin_data()
{
    QTest::addColumn<bool>("isCoil");
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("exists");

    const struct {
        bool isCoil;
        int lastBefore, firstAfter;
    } gaps[] = {{true, 4047, 4400},  {true, 4655, 6000},  {true, 7023, 8000},  {true, 8255, 9200},
                {true, 9455, 10000}, {false, 8255, 8500}, {false, 9255, 9500}, {false, 9811, 10000}};
    for (const auto &gap : gaps) {
        const char *const space = gap.isCoil ? "coil" : "register";
        QTest::addRow("%s %d", space, gap.lastBefore) << gap.isCoil << gap.lastBefore << true;
        QTest::addRow("%s %d", space, gap.lastBefore + 1) << gap.isCoil << gap.lastBefore + 1 << false;
        QTest::addRow("%s %d", space, gap.firstAfter - 1) << gap.isCoil << gap.firstAfter - 1 << false;
        QTest::addRow("%s %d", space, gap.firstAfter) << gap.isCoil << gap.firstAfter << true;
    }
    for (const bool isCoil : {true, false}) {
        const char *const space = isCoil ? "coil" : "register";
        QTest::addRow("%s 0", space) << isCoil << 0 << true;
        QTest::addRow("%s 65535", space) << isCoil << 65535 << true;
        QTest::addRow("%s 65536", space) << isCoil << 65536 << false;
        QTest::addRow("%s -1", space) << isCoil << -1 << false;
    }
}

void TstSimMemory::areasEndWhereTheirGapsBegin()
{
    QFETCH(bool, isCoil);
    QFETCH(int, number);
    QTEST(isCoil ? coilsExist(number, 1) : registersExist(number, 1), "exists");
}

void TstSimMemory::aRunExistsWhenEveryNumberDoes_data()
{
    QTest::addColumn<bool>("isCoil");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("exists");

    QTest::newRow("coils of two areas") << true << 1199 << 2 << true;
    QTest::newRow("coils of three areas") << true << 0 << 4048 << true;
    QTest::newRow("one coil too many") << true << 0 << 4049 << false;
    QTest::newRow("coils on both sides of a gap") << true << 4047 << 354 << false;
    QTest::newRow("coils to the end") << true << 10000 << 55536 << true;
    QTest::newRow("coils over the end") << true << 10000 << 55537 << false;
    QTest::newRow("registers of two areas") << false << 7999 << 2 << true;
    QTest::newRow("registers up to the gap") << false << 0 << 8256 << true;
    QTest::newRow("registers into the gap") << false << 8255 << 2 << false;
    QTest::newRow("registers from 8500 to 9255") << false << 8500 << 756 << true;
    QTest::newRow("registers from 9500 to 9811") << false << 9500 << 312 << true;
    QTest::newRow("registers over the end") << false << 65535 << 2 << false;
    QTest::newRow("no register") << false << 100 << 0 << false;
    QTest::newRow("fewer than none") << false << 100 << -1 << false;
    QTest::newRow("more than an int holds") << false << 10000 << 0x7FFFFFFF << false;
}

void TstSimMemory::aRunExistsWhenEveryNumberDoes()
{
    QFETCH(bool, isCoil);
    QFETCH(int, first);
    QFETCH(int, count);
    QTEST(isCoil ? coilsExist(first, count) : registersExist(first, count), "exists");
}

void TstSimMemory::elementsHaveTheirModbusNumber_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("element");
    QTest::addColumn<int>("number");

    const struct {
        int code, element, number;
    } rows[] = {{0, 0, 1200},     {0, 15, 1215},        {1, 0, 0},        {1, 1199, 1199},
                {2, 0, 2000},     {2, 2047, 4047},      {2, 2048, 12000}, {3, 255, 4655},
                {3, 256, 30000},  {4, 1023, 7023},      {4, 1024, 31000}, {5, 255, 8255},
                {5, 256, 11000},  {6, 255, 9455},       {6, 256, 10000},  {7, 0, 0},
                {7, 5, 5},        {7, 8300, 8300},      {8, 255, 8255},   {8, 256, 12000},
                {9, 255, 9255},   {9, 256, 11000},      {10, 0, 9500},    {11, 3, 8503},
                {12, 5, 5},       {13, 0, 9700},        {13, 55, 9810},   {13, 56, 10000},
                {13, 100, 10088}, {14, 255, 8255},      {14, 256, 12000}, {15, 163, 10},
                {15, 15, 0},      {15, 16, 1},          {16, 4095, 8255}, {16, 4096, 12000},
                {17, 48, 8503},   {100, 0, 13000},      {101, 10, 13010}, {102, 160, 13010},
                {102, 15, 13000}, {7, 65535, 65535},    {7, 65536, -1},   {100, 52535, 65535},
                {100, 52536, -1}, {13, 0x7FFFFFFF, -1}, {8, -3, -1},      {15, -1, -1},
                {18, 5, -1},      {99, 5, -1},          {103, 5, -1},     {-1, 5, -1}};
    for (const auto &row : rows)
        QTest::addRow("code %d, %d", row.code, row.element) << row.code << row.element << row.number;
}

void TstSimMemory::elementsHaveTheirModbusNumber()
{
    QFETCH(int, code);
    QFETCH(int, element);
    QTEST(modbusNumber(code, element), "number");
}

void TstSimMemory::everyStationStartsDifferently()
{
    const PlcMemory one(1), again(1), two(2);
    int alike = 0, coilsAlike = 0;
    for (int number = 0; number < 1000; ++number) {
        QCOMPARE(again.holdingRegister(number), one.holdingRegister(number));
        QCOMPARE(again.coil(number), one.coil(number));
        alike += two.holdingRegister(number) == one.holdingRegister(number);
        coilsAlike += two.coil(number) == one.coil(number);
    }
    QVERIFY2(alike < 3, qPrintable(QString::number(alike)));
    QVERIFY2(coilsAlike > 400 && coilsAlike < 600, qPrintable(QString::number(coilsAlike)));
}

void TstSimMemory::cellsAreSeparateInTheirTwoSpaces()
{
    PlcMemory memory(1);
    memory.setHoldingRegister(8000, 0x1234);
    memory.setCoil(8000, true);
    memory.setHoldingRegister(8001, 0);
    memory.setCoil(8000, false);
    QCOMPARE(memory.holdingRegister(8000), 0x1234);
    QCOMPARE(memory.coil(8000), false);
    QCOMPARE(memory.holdingRegister(8001), 0);
}

void TstSimMemory::stuckCellsKeepTheirValueFromTheLine()
{
    PlcMemory memory(1);
    memory.setHoldingRegister(9010, 7);
    memory.setCoil(9210, true);
    memory.addStuckCell(9010);
    memory.addStuckCell(9210);
    memory.writeRegister(9010, 8);
    memory.writeCoil(9210, false);
    memory.writeRegister(9011, 8);
    QCOMPARE(memory.holdingRegister(9010), 7);
    QCOMPARE(memory.coil(9210), true);
    QCOMPARE(memory.holdingRegister(9011), 8);
    memory.setHoldingRegister(9010, 9);
    QCOMPARE(memory.holdingRegister(9010), 9);
}

void TstSimMemory::liveCellsFollowTheirClock_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<int>("period");
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<int>("value");

    const struct {
        const char *cell;
        int period;
        qint64 milliseconds;
        int value;
    } rows[] = {{"counter@100", 0, 0, 0},       {"counter@100", 0, 99, 0},     {"counter@100", 0, 100, 1},
                {"counter@100", 0, 6553600, 0}, {"counter@100", 1000, 999, 0}, {"counter@100", 1000, 2000, 2},
                {"ramp@101", 0, 0, 0},          {"ramp@101", 0, 9, 0},         {"ramp@101", 0, 10, 1},
                {"ramp@101", 0, 9999, 999},     {"ramp@101", 0, 10000, 0},     {"ramp@101", 500, 250, 500},
                {"sine@102", 0, 0, 0},          {"sine@102", 0, 1000, 1000},   {"sine@102", 0, 2000, 0},
                {"sine@102", 0, 3000, -1000},   {"sine@102", 0, 333, 500},     {"sine@102", 0, 4000, 0},
                {"sine@102", 800, 200, 1000}};
    for (const auto &row : rows)
        QTest::addRow("%s, period %d, at %lld ms", row.cell, row.period, row.milliseconds)
            << QString::fromLatin1(row.cell) << row.period << row.milliseconds << row.value;
}

void TstSimMemory::liveCellsFollowTheirClock()
{
    QFETCH(QString, cell);
    QFETCH(int, period);
    QFETCH(qint64, milliseconds);
    QTEST(liveRegister(cell, milliseconds, period), "value");
}

void TstSimMemory::aLongCounterTakesTwoRegisters()
{
    PlcMemory memory(1);
    LiveCell cell;
    cell.kind = LiveCell::Counter32;
    cell.number = 112;
    memory.addLiveCell(cell);
    memory.advanceTo(0x12345678);
    QCOMPARE(memory.holdingRegister(112), 0x1234);
    QCOMPARE(memory.holdingRegister(113), 0x5678);
}

void TstSimMemory::aToggleIsACoil()
{
    PlcMemory memory(1);
    LiveCell cell;
    cell.kind = LiveCell::Toggle;
    cell.number = 8;
    memory.addLiveCell(cell);
    const int before = memory.holdingRegister(8);
    memory.advanceTo(699);
    QCOMPARE(memory.coil(8), false);
    memory.advanceTo(700);
    QCOMPARE(memory.coil(8), true);
    memory.advanceTo(1400);
    QCOMPARE(memory.coil(8), false);
    QCOMPARE(memory.holdingRegister(8), before);
}

void TstSimMemory::echoesShowTheirSourceInWhateverOrder()
{
    PlcMemory memory(1);
    for (const char *text : {"echo@200=100", "coil-echo@9=8", "counter@100", "toggle@8", "echo@201=50"}) {
        LiveCell cell;
        QString error;
        QVERIFY2(LiveCell::parse(QString::fromLatin1(text), &cell, &error), qPrintable(error));
        memory.addLiveCell(cell);
    }
    memory.writeRegister(50, 0xBEEF);
    memory.advanceTo(700);
    QCOMPARE(memory.holdingRegister(200), 7);
    QCOMPARE(memory.holdingRegister(201), 0xBEEF);
    QCOMPARE(memory.coil(9), true);
    memory.writeRegister(50, 0x0001);
    memory.advanceTo(1400);
    QCOMPARE(memory.holdingRegister(200), 14);
    QCOMPARE(memory.holdingRegister(201), 1);
    QCOMPARE(memory.coil(9), false);
}

void TstSimMemory::liveCellsAreReadFromText_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("source");

    QTest::newRow("counter@0") << int(LiveCell::Counter) << 0 << 0;
    QTest::newRow("counter32@65534") << int(LiveCell::Counter32) << 65534 << 0;
    QTest::newRow("ramp@101") << int(LiveCell::Ramp) << 101 << 0;
    QTest::newRow("sine@65535") << int(LiveCell::Sine) << 65535 << 0;
    QTest::newRow("toggle@4400") << int(LiveCell::Toggle) << 4400 << 0;
    QTest::newRow("echo@102=100") << int(LiveCell::Echo) << 102 << 100;
    QTest::newRow("coil-echo@9=8") << int(LiveCell::CoilEcho) << 9 << 8;
}

void TstSimMemory::liveCellsAreReadFromText()
{
    LiveCell cell;
    QString error;
    QVERIFY(LiveCell::parse(QString::fromLatin1(QTest::currentDataTag()), &cell, &error));
    QTEST(int(cell.kind), "kind");
    QTEST(cell.number, "number");
    QTEST(cell.source, "source");
    QCOMPARE(cell.periodMilliseconds, 0);
    QCOMPARE(error, QString());
}

void TstSimMemory::wrongLiveCellsAreExplained_data()
{
    QTest::addColumn<QString>("error");

    const QString kinds =
        QStringLiteral("': expected KIND@NUMBER, the kind one of counter, counter32, ramp, sine, toggle,"
                       " echo, coil-echo");
    for (const char *text : {"", "counter", "blink@3", "Counter@3", "counter@3@4"})
        QTest::newRow(text) << QLatin1Char('\'') + QLatin1String(text) + kinds;
    QTest::newRow("sine@3=4") << "'sine@3=4': expected sine@NUMBER";
    QTest::newRow("echo@3") << "'echo@3': expected echo@NUMBER=SOURCE";
    QTest::newRow("echo@3=4=5") << "'echo@3=4=5': expected echo@NUMBER=SOURCE";
    QTest::newRow("sine@x") << "'sine@x': expected the number of a register that the PLC has";
    QTest::newRow("sine@-1") << "'sine@-1': expected the number of a register that the PLC has";
    QTest::newRow("sine@65536") << "'sine@65536': expected the number of a register that the PLC has";
    QTest::newRow("sine@8256") << "'sine@8256': expected the number of a register that the PLC has";
    QTest::newRow("counter32@65535") << "'counter32@65535': expected the number of two registers that the PLC has";
    QTest::newRow("counter32@8255") << "'counter32@8255': expected the number of two registers that the PLC has";
    QTest::newRow("toggle@4048") << "'toggle@4048': expected the number of a coil that the PLC has";
    QTest::newRow("echo@3=9812") << "'echo@3=9812': expected the number of a register that the PLC has";
    QTest::newRow("coil-echo@3=9456") << "'coil-echo@3=9456': expected the number of a coil that the PLC has";
}

void TstSimMemory::wrongLiveCellsAreExplained()
{
    LiveCell cell;
    cell.number = 77;
    QString error;
    QVERIFY(!LiveCell::parse(QString::fromLatin1(QTest::currentDataTag()), &cell, &error));
    QTEST(error, "error");
    QCOMPARE(cell.number, 77);
}

void TstSimMemory::epochsShowUntilSomebodyWrites()
{
    PlcMemory memory(1);
    QVERIFY(!memory.showsEpochs());
    memory.showEpochs();
    QVERIFY(memory.showsEpochs());
    QCOMPARE(memory.holdingRegister(100), 0xFE7E);
    QCOMPARE(memory.coil(100), false);
    memory.setEpoch(1);
    QCOMPARE(memory.holdingRegister(100), 0x9CB3);
    QCOMPARE(memory.coil(100), true);
    memory.writeRegister(100, 5);
    memory.writeCoil(100, false);
    memory.setEpoch(0);
    QCOMPARE(memory.holdingRegister(100), 5);
    QCOMPARE(memory.coil(100), false);
    QCOMPARE(memory.holdingRegister(101), 0x660B);
    memory.setHoldingRegister(101, 6);
    QCOMPARE(memory.holdingRegister(101), 6);
}

void TstSimMemory::aStuckCellGoesOnShowingEpochs()
{
    PlcMemory memory(1);
    memory.showEpochs();
    memory.addStuckCell(100);
    memory.writeRegister(100, 5);
    memory.writeCoil(100, false);
    memory.setEpoch(1);
    QCOMPARE(memory.holdingRegister(100), 0x9CB3);
    QCOMPARE(memory.coil(100), true);
}

void TstSimMemory::whatWasWrittenBeforeEpochsIsForgotten()
{
    PlcMemory memory(1);
    memory.writeRegister(100, 5);
    memory.showEpochs();
    QCOMPARE(memory.holdingRegister(100), 0xFE7E);
    memory.writeRegister(100, 5);
    memory.showEpochs();
    QCOMPARE(memory.holdingRegister(100), 0xFE7E);
}

/// Traces and other programs keep these values.
void TstSimMemory::epochValuesAreFixed()
{
    QCOMPARE(int(PlcMemory::epochRegister(1, 100, 0)), 0xFE7E);
    QCOMPARE(int(PlcMemory::epochRegister(1, 100, 1)), 0x9CB3);
    QCOMPARE(int(PlcMemory::epochRegister(1, 101, 0)), 0x660B);
    QCOMPARE(int(PlcMemory::epochRegister(2, 100, 0)), 0x17A1);
    QCOMPARE(int(PlcMemory::epochRegister(247, 65535, 70000)), 0xE947);
    QString byEpoch, byNumber;
    for (int i = 0; i < 16; ++i) {
        byEpoch += PlcMemory::epochCoil(1, 100, i) ? QLatin1Char('1') : QLatin1Char('0');
        byNumber += PlcMemory::epochCoil(1, 100 + i, 0) ? QLatin1Char('1') : QLatin1Char('0');
    }
    QCOMPARE(byEpoch, QStringLiteral("0100011110110100"));
    QCOMPARE(byNumber, QStringLiteral("0010110001100011"));
}

void TstSimMemory::noTwoNeighboursInAnEpochAreAlike()
{
    QSet<int> numbers, epochs, stations;
    for (int i = 0; i < 65536; ++i) {
        numbers << PlcMemory::epochRegister(3, i, 12345);
        epochs << PlcMemory::epochRegister(3, 777, i);
        if (i < 256)
            stations << PlcMemory::epochRegister(i, 777, 12345);
    }
    QCOMPARE(numbers.size(), 65536);
    QCOMPARE(epochs.size(), 65536);
    QCOMPARE(stations.size(), 256);
}

QTEST_APPLESS_MAIN(TstSimMemory)
#include "tst_sim_memory.moc"
