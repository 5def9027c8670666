// The plan: blocks, bytes, cuts and the predicted pass, against figures worked out by hand; and against a measured pass
// on a line whose time is made up.
#include "host/panel.h"
#include "host/plan.h"
#include "tests/virtual_line.h"

#include <QtTest/QtTest>

namespace {

const char *const Header = "name,type,address,station,count,format,order,scale,unit,rw\n";

// Every kind of element; bits and code 13 over a place where the numbers jump.
const char *const MixedTags = "key,0,17,,1,,,,,\n"
                              "valves,2,2044,,8,,,,,\n"
                              "total,12,120,,1,,,,,\n"
                              "flag,15,130.5,,1,,,,,\n"
                              "level,8,10,,2,,,,,\n"
                              "flow,8,20,,3,,,,,\n"
                              "parts,13,255,,2,,,,,\n";

const char *const SparseTags = "a,7,0,,1,,,,,\n"
                               "b,7,30,,1,,,,,\n"
                               "c,7,60,,1,,,,,\n"
                               "d,7,90,,1,,,,,\n";

PanelSettings settingsAt(int baud, Parity parity, int stopBits, int maxBlockLen = 32)
{
    PanelSettings settings;
    settings.line.port = QStringLiteral("nowhere");
    settings.line.baud = baud;
    settings.line.parity = parity;
    settings.line.stopBits = stopBits;
    settings.line.replyTimeout = 500;
    settings.maxBlockLen = maxBlockLen;
    settings.retries = 2;
    settings.staleAfter = 60000;
    return settings;
}

PanelSettings slow()
{
    return settingsAt(9600, Parity::Even, 1);
}

PanelSettings fast()
{
    return settingsAt(115200, Parity::None, 2);
}

QList<Tag> tagsOf(const char *rows, const PanelSettings &settings)
{
    QStringList problems;
    const TagFile file = parseTags(QByteArray(Header) + rows, QStringLiteral("tags.csv"), settings, &problems);
    if (!problems.isEmpty())
        qFatal("%s", qPrintable(problems.join(QLatin1Char('\n'))));
    return file.tags;
}

/// "station/code first-last coils|registers first-last useful/read cut tags"
QStringList blockLines(const Plan &plan, const QList<Tag> &tags)
{
    QStringList lines;
    for (const PlanBlock &block : plan.blocks) {
        QStringList names;
        for (const int tag : block.tags)
            names << tags.at(tag).name;
        lines << QString::fromLatin1("%1/%2 %3-%4 %5 %6-%7 %8 %9")
                     .arg(block.station)
                     .arg(block.code)
                     .arg(block.firstAddress, block.lastAddress)
                     .arg(QLatin1String(block.isCoils ? "coils" : "registers"))
                     .arg(block.firstNumber)
                     .arg(block.lastNumber)
                     .arg(QString::fromLatin1("%1/%2").arg(block.usefulBytes).arg(block.bytes))
                     .arg((QStringList(cutName(block.cut)) + names).join(QLatin1Char(' ')).trimmed());
    }
    return lines;
}

QStringList trialLines(const QVector<LengthTrial> &trials)
{
    QStringList lines;
    for (const LengthTrial &trial : trials)
        lines << QString::fromLatin1("%1-%2: %3 requests, %4/%5 bytes, %6 ms")
                     .arg(trial.firstLength)
                     .arg(trial.lastLength)
                     .arg(trial.requests)
                     .arg(trial.usefulBytes)
                     .arg(trial.bytes)
                     .arg(trial.passMilliseconds, 0, 'f', 1);
    return lines;
}

} // namespace

class TestPanelPlan : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void blocksAreThoseOfTheDriver_data();
    void blocksAreThoseOfTheDriver();
    void totalsAddUp();
    void lengthsOnTheLineAreTheDriversOwn();
    void passTimeIsTheSumOfItsParts_data();
    void passTimeIsTheSumOfItsParts();
    void plcKeepsItsOwnSilence();
    void nothingToReadTakesNoTime();
    void planLeavesAFreshDriverBehind();
    void suggestsShortBlocksForSparseTags();
    void suggestsLongBlocksForDenseTags();
    void specialValuesLimitTheLengthsTried();
    void firstOfEqualTrialsIsTheShortest();
    void predictedPassIsTheMeasuredOne_data();
    void predictedPassIsTheMeasuredOne();

private:
    Plugin plugin;
};

void TestPanelPlan::initTestCase()
{
    QString error;
    QVERIFY2(plugin.load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
}

void TestPanelPlan::blocksAreThoseOfTheDriver_data()
{
    QTest::addColumn<bool>("hasSeveral");
    QTest::addColumn<int>("maxBlockLen");
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QStringList>("blocks");

    QTest::newRow("every kind") << false << 32 << QByteArray(MixedTags)
                                << QStringList{"1/0 10-17 coils 1208-1215 1/1 key",
                                               "1/2 2040-2047 coils 4040-4047 1/1 map valves",
                                               "1/2 2048-2055 coils 12000-12007 1/1 valves",
                                               "1/7 120-130 registers 120-130 6/22 total flag",
                                               "1/8 10-22 registers 8010-8022 10/26 level flow",
                                               "1/13 255-255 registers 9810-9811 4/4 map parts",
                                               "1/13 256-256 registers 10000-10001 4/4 parts"};
    QTest::newRow("longer than a block") << false << 32 << QByteArray("profile,8,300,,100,,,,,\n")
                                         << QStringList{"1/8 300-331 registers 12044-12075 64/64 length profile",
                                                        "1/8 332-363 registers 12076-12107 64/64 length profile",
                                                        "1/8 364-395 registers 12108-12139 64/64 length profile",
                                                        "1/8 396-399 registers 12140-12143 8/8 profile"};
    QTest::newRow("apart: no cut") << false << 12 << QByteArray("a,8,10,,2,,,,,\nb,8,22,,3,,,,,\n")
                                   << QStringList{"1/8 10-11 registers 8010-8011 4/4 a",
                                                  "1/8 22-24 registers 8022-8024 6/6 b"};
    QTest::newRow("bytes of bits between the wanted ones")
        << false << 32 << QByteArray("first,1,0,,1,,,,,\nlast,1,30,,1,,,,,\n")
        << QStringList{"1/1 0-37 coils 0-31 2/4 first last"};
    QTest::newRow("the same cell twice is useful once")
        << false << 32 << QByteArray("word,7,5,,1,,,,,\nbits,15,5.0,,16,,,,,\npair,7,5,,1,uint32,,,,\n")
        << QStringList{"1/7 5-6 registers 5-6 4/4 word bits pair"};
    QTest::newRow("several stations, a broadcast is not read")
        << true << 32
        << QByteArray(
               "one,7,10,1,1,,,,,\nbits,2,5,2,8,,,,,\nmore,2,17,2,1,,,,,\nall,7,10,0,1,,,,,w\none-b,7,12,1,1,,,,,\n")
        << QStringList{"1/7 10-12 registers 10-12 4/6 one one-b", "2/2 0-23 coils 2000-2023 3/3 bits more"};
    QTest::newRow("only written") << false << 32 << QByteArray("order,7,10,,1,,,,,w\n") << QStringList{};
}

void TestPanelPlan::blocksAreThoseOfTheDriver()
{
    QFETCH(bool, hasSeveral);
    QFETCH(int, maxBlockLen);
    QFETCH(QByteArray, rows);
    QFETCH(QStringList, blocks);
    PanelSettings settings = settingsAt(9600, Parity::Even, 1, maxBlockLen);
    settings.hasSeveral = hasSeveral;
    const QList<Tag> tags = tagsOf(rows.constData(), settings);
    const Plan plan = makePlan(plugin, settings, tags, 0);
    QCOMPARE(plan.problem, QString());
    QCOMPARE(blockLines(plan, tags), blocks);
}

void TestPanelPlan::totalsAddUp()
{
    const Plan plan = makePlan(plugin, slow(), tagsOf(MixedTags, slow()), 0);
    QCOMPARE(plan.blocks.size(), 7);
    QCOMPARE(plan.usefulBytes(), 27);
    QCOMPARE(plan.bytes(), 59);
    // Seven requests of 8 bytes; replies carry 5 bytes beside their data.
    QCOMPARE(plan.lineBytes(), 7 * 8 + 59 + 7 * 5);
    QCOMPARE(plan.cuts(), 2);
}

void TestPanelPlan::lengthsOnTheLineAreTheDriversOwn()
{
    PanelSettings settings = slow();
    const QList<Tag> tags = tagsOf("level,8,10,,13,,,,,\nparts,13,210,,3,,,,,\nlamp,1,7,,1,,,,,\n", settings);
    const Plan modbus = makePlan(plugin, settings, tags, 0);
    settings.isRemote = true;
    const Plan remote = makePlan(plugin, settings, tags, 0);
    QCOMPARE(remote.problem, QString());
    const int replies[] = {6, 31, 17};
    QCOMPARE(modbus.blocks.size(), 3);
    QCOMPARE(remote.blocks.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(modbus.blocks.at(i).requestBytes, 8);
        QCOMPARE(modbus.blocks.at(i).replyBytes, replies[i]);
        QCOMPARE(remote.blocks.at(i).requestBytes, 22);
        QCOMPARE(remote.blocks.at(i).replyBytes, replies[i]);
    }
}

void TestPanelPlan::passTimeIsTheSumOfItsParts_data()
{
    QTest::addColumn<bool>("isFast");
    QTest::addColumn<bool>("isRemote");
    QTest::addColumn<double>("answer");
    QTest::addColumn<double>("milliseconds");

    // 9600 8E1: 11 bits a character, 1.145833 ms. 150 characters and 14 silences of 3.5: 199 characters.
    QTest::newRow("9600 8E1") << false << false << 0.0 << 228.0208;
    QTest::newRow("9600 8E1, the PLC takes 5 ms") << false << false << 5.0 << 263.0208;
    // 14 bytes more a request: 98 characters.
    QTest::newRow("9600 8E1, remote format") << false << true << 0.0 << 340.3125;
    // 115200 8N2: 11 bits a character, 0.0954861 ms. 150 characters and 14 silences of 1.75 ms.
    QTest::newRow("115200 8N2") << true << false << 0.0 << 38.8229;
    QTest::newRow("115200 8N2, the PLC takes half a millisecond") << true << false << 0.5 << 42.3229;
}

void TestPanelPlan::passTimeIsTheSumOfItsParts()
{
    QFETCH(bool, isFast);
    QFETCH(bool, isRemote);
    QFETCH(double, answer);
    QFETCH(double, milliseconds);
    PanelSettings settings = isFast ? fast() : slow();
    settings.isRemote = isRemote;
    const Plan plan = makePlan(plugin, settings, tagsOf(MixedTags, settings), answer);
    const double predicted = plan.passMilliseconds(settings.line);
    // Each of the 28 parts is rounded to a microsecond.
    QVERIFY2(qAbs(predicted - milliseconds) <= 0.028, qPrintable(QString::number(predicted, 'f', 4)));
}

void TestPanelPlan::plcKeepsItsOwnSilence()
{
    PanelSettings settings = slow();
    const Plan plan = makePlan(plugin, settings, tagsOf("level,8,10,,13,,,,,\n", settings), 0);
    // 39 characters, the PLC's 3.5 and the host's 3.5, or the host's 10 ms.
    QVERIFY(qAbs(plan.passMilliseconds(settings.line) - 52.7083) <= 0.004);
    settings.line.silence = 10000;
    QVERIFY(qAbs(plan.passMilliseconds(settings.line) - 58.6979) <= 0.004);
}

void TestPanelPlan::nothingToReadTakesNoTime()
{
    const Plan plan = makePlan(plugin, slow(), {}, 5);
    QCOMPARE(plan.problem, QString());
    QCOMPARE(plan.blocks.size(), 0);
    QCOMPARE(plan.passMilliseconds(slow().line), 0.0);
    QVERIFY(suggest(plugin, slow(), {}, 0).isEmpty());
    QCOMPARE(shortestPass({}), -1);
}

void TestPanelPlan::planLeavesAFreshDriverBehind()
{
    makePlan(plugin, slow(), tagsOf(MixedTags, slow()), 0);
    QCOMPARE(plugin.driver->readList.size(), 0);
    QCOMPARE(plugin.driver->protocolList.size(), 0);
    QVERIFY(plugin.comCommunication() == nullptr);
}

void TestPanelPlan::suggestsShortBlocksForSparseTags()
{
    const PanelSettings settings = settingsAt(9600, Parity::Even, 1, 122);
    const QVector<LengthTrial> trials = suggest(plugin, settings, tagsOf(SparseTags, settings), 0);
    // Characters with silences: 4 x (8 + 7 + 7) = 88; two blocks of 31 words, 2 x (8 + 67 + 7) = 164, or of 61 and 1,
    // (8 + 127 + 7) + 22 = 164; 8 + 187 + 7 = 202.
    QCOMPARE(trialLines(trials),
             QStringList({"2-30: 4 requests, 8/8 bytes, 100.8 ms", "32-90: 2 requests, 8/124 bytes, 187.9 ms",
                          "92-122: 1 requests, 8/182 bytes, 231.5 ms"}));
    QCOMPARE(shortestPass(trials), 0);
    // The longest block takes more than twice the time of the shortest.
    QVERIFY(trials.last().passMilliseconds / trials.first().passMilliseconds > 2.2);
}

void TestPanelPlan::suggestsLongBlocksForDenseTags()
{
    const PanelSettings settings = settingsAt(9600, Parity::Even, 1, 8);
    const QVector<LengthTrial> trials =
        suggest(plugin, settings, tagsOf("a,7,0,,1,,,,,\nb,7,10,,1,,,,,\n", settings), 0);
    // Characters with silences: 2 x 22 = 44, and 8 + 27 + 7 = 42.
    QCOMPARE(trialLines(trials),
             QStringList({"2-10: 2 requests, 4/4 bytes, 50.4 ms", "12-122: 1 requests, 4/22 bytes, 48.1 ms"}));
    QCOMPARE(shortestPass(trials), 1);
    QCOMPARE(trials.at(1).firstLength, 12);
}

void TestPanelPlan::specialValuesLimitTheLengthsTried()
{
    const PanelSettings settings = settingsAt(9600, Parity::Even, 1, 32);
    const QVector<LengthTrial> trials =
        suggest(plugin, settings, tagsOf("a,7,0,,1,,,,,\nb,13,210,,1,,,,,\n", settings), 0);
    QCOMPARE(trials.first().firstLength, 2);
    QCOMPARE(trials.last().lastLength, 60);
}

void TestPanelPlan::firstOfEqualTrialsIsTheShortest()
{
    const QVector<LengthTrial> trials{
        {2, 4, 5, 10, 10, 30.0}, {6, 8, 4, 12, 10, 20.0}, {10, 12, 3, 14, 10, 20.0}, {14, 122, 2, 99, 10, 40.0}};
    QCOMPARE(shortestPass(trials), 1);
}

void TestPanelPlan::predictedPassIsTheMeasuredOne_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<bool>("isRemote");
    QTest::addColumn<bool>("hasSeveral");
    QTest::addColumn<int>("answer");

    for (const int baud : {9600, 19200, 115200}) {
        QTest::addRow("%d", baud) << baud << false << false << 0;
        QTest::addRow("%d, the PLC takes 4 ms", baud) << baud << false << false << 4;
        QTest::addRow("%d, remote format", baud) << baud << true << false << 0;
        QTest::addRow("%d, three stations", baud) << baud << false << true << 1;
    }
}

void TestPanelPlan::predictedPassIsTheMeasuredOne()
{
    QFETCH(int, baud);
    QFETCH(bool, isRemote);
    QFETCH(bool, hasSeveral);
    QFETCH(int, answer);
    PanelSettings settings = settingsAt(baud, Parity::Even, 1);
    settings.isRemote = isRemote;
    settings.hasSeveral = hasSeveral;
    const QList<Tag> tags = tagsOf(
        hasSeveral ? "a,7,10,1,5,,,,,\nb,2,2040,2,16,,,,,\nc,13,220,3,4,,,,,\nd,12,0,3,2,,,,,\n" : MixedTags, settings);
    const Plan plan = makePlan(plugin, settings, tags, answer);
    const double predicted = plan.passMilliseconds(settings.line);

    Slave slave(isRemote ? RequestFormat::Remote : RequestFormat::ModbusRtu);
    for (const int station : {1, 2, 3})
        slave.addStation(station);
    Faults faults;
    WireSettings wireSettings;
    wireSettings.baud = baud;
    wireSettings.characterBits = 11;
    wireSettings.answerMicroseconds = answer * 1000;
    Wire wire(slave, faults, wireSettings);
    VirtualLine line(wire);
    Panel panel(plugin, settings, tags, line, nullptr);
    QString error;
    QVERIFY2(panel.start(&error), qPrintable(error));
    for (int step = 0; step < 1000 && panel.counters().passTime.count() < 5; ++step)
        panel.step();
    QCOMPARE(panel.counters().passTime.count(), qint64(5));
    QCOMPARE(panel.counters().all.good, panel.counters().all.requests);
    const double measured = panel.counters().passTime.mean() / 1000;
    QVERIFY2(qAbs(measured - predicted) <= 0.02 * predicted,
             qPrintable(QString::fromLatin1("predicted %1 ms, measured %2 ms").arg(predicted).arg(measured)));
}

QTEST_GUILESS_MAIN(TestPanelPlan)
#include "tst_panel_plan.moc"
