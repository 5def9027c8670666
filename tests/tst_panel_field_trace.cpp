// A trace of a panel in trouble replays byte for byte.
#include "host/replay.h"
#include "host/tag_codec.h"
#include "tests/panel_rig.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

enum { Transactions = 10000 };

const FaultKind Kinds[] = {FaultKind::Drop,           FaultKind::Delay,       FaultKind::Late,
                           FaultKind::Duplicate,      FaultKind::CrcSwapped,  FaultKind::BitFlipped,
                           FaultKind::Truncated,      FaultKind::ExtraBefore, FaultKind::ExtraAfter,
                           FaultKind::WrongStation,   FaultKind::Exception,   FaultKind::HalfThenNext,
                           FaultKind::WrongByteCount, FaultKind::Joined,      FaultKind::PortGone};

QByteArray contentsOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A panel with every kind of tag, writing all the time, on a bad line. Returns its trace.
QByteArray traceOf(bool several, bool isRemote, int transactions)
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("line.trace"));
    TraceWriter writer;
    QString error;
    if (!writer.open(fileName, &error))
        qFatal("%s", qPrintable(error));
    {
        PanelRig rig;
        rig.trace = &writer;
        rig.settings.hasSeveral = several;
        rig.settings.isRemote = isRemote;
        rig.stations = {1, 2};
        rig.csv = "a,7,0,1,40,int16,,,,rw\nb,8,254,1,4,uint16,,,,rw\nc,2,2044,1,8,bit,,,,rw\nd,13,255,1,1,int32,,,,rw\n"
                  "e,15,5.2,1,1,bit,,,,rw\nf,12,100,1,2,float32,,,,rw\ng,0,17,1,4,bit,,,,r\nh,102,7.15,1,2,bit,,,,rw\n";
        if (several)
            rig.csv += "a2,7,0,2,9,int16,,,,rw\ndead,7,0,9,1,int16,,,,rw\nall,7,50,0,2,uint16,,,,w\n";
        rig.start();
        for (const FaultKind kind : Kinds) {
            FaultRule rule;
            rule.kind = kind;
            rule.rate = kind == FaultKind::PortGone ? 0.001 : 0.02;
            rule.milliseconds = kind == FaultKind::Late ? 130 : 30;
            rig.faults->add(rule);
        }
        int turn = 0;
        while (rig.panel->counters().all.requests < transactions) {
            const int tag = turn % rig.panel->tags().size();
            const Tag &target = rig.panel->tags().at(tag);
            if (++turn % 7 == 0 && target.isWritable)
                rig.panel->write(tag, QByteArray(hostBytes(target), char(turn % 2)));
            rig.panel->step();
        }
    }
    writer.close();
    return contentsOf(fileName);
}

} // namespace

class TstPanelFieldTrace : public QObject {
    Q_OBJECT

private slots:
    void tenThousandTransactionsReplayByteForByte_data();
    void tenThousandTransactionsReplayByteForByte();
    void oneChangedByteIsFound();
    void whatIsDiscardedIsTracedWithItsReason_data();
    void whatIsDiscardedIsTracedWithItsReason();
};

void TstPanelFieldTrace::tenThousandTransactionsReplayByteForByte_data()
{
    QTest::addColumn<bool>("several");
    QTest::addColumn<bool>("isRemote");
    QTest::newRow("one PLC") << false << false;
    QTest::newRow("several stations") << true << false;
    QTest::newRow("one PLC, remote format") << false << true;
    QTest::newRow("several stations, remote format") << true << true;
}

void TstPanelFieldTrace::tenThousandTransactionsReplayByteForByte()
{
    QFETCH(bool, several);
    QFETCH(bool, isRemote);
    const QByteArray text = traceOf(several, isRemote, Transactions);
    QStringList problems;
    const QVector<TraceLine> lines = parseTrace(text, QStringLiteral("line.trace"), &problems);
    QCOMPARE(problems, QStringList());
    const ReplayReport report = replay(lines, loadedDriver());
    QCOMPARE(report.problems, QStringList());
    for (const ReplayDifference &difference : report.differences)
        qWarning("line %d: expected %s, got %s", difference.line, qPrintable(difference.expected),
                 qPrintable(difference.got));
    QCOMPARE(report.differenceCount, qint64(0));
    QVERIFY(report.isComplete);
    QVERIFY(report.transactions >= Transactions);
    QVERIFY(report.bytesCompared > 8 * Transactions);
}

void TstPanelFieldTrace::oneChangedByteIsFound()
{
    QByteArray text = traceOf(false, false, 300);
    const int answer = text.lastIndexOf(" rx 0103");
    QVERIFY(answer > 0);
    QByteArray damaged = text;
    damaged[answer + 12] = text.at(answer + 12) == '1' ? '2' : '1';
    QStringList problems;
    const ReplayReport report = replay(parseTrace(damaged, QStringLiteral("line.trace"), &problems), loadedDriver());
    QVERIFY(!report.isSame());
}

void TstPanelFieldTrace::whatIsDiscardedIsTracedWithItsReason_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("milliseconds");
    QTest::addColumn<bool>("hasEcho");
    QTest::addColumn<QByteArray>("words");
    QTest::newRow("echo") << int(FaultKind::Echo) << 0 << true << QByteArray(" drop echo 010300000001840A\n");
    QTest::newRow("late") << int(FaultKind::Late) << 120 << false << QByteArray(" drop late 010302");
    QTest::newRow("foreign") << int(FaultKind::WrongFunction) << 0 << false << QByteArray(" drop foreign 01");
    QTest::newRow("noise") << int(FaultKind::ExtraBefore) << 0 << false << QByteArray(" drop noise ");
}

void TstPanelFieldTrace::whatIsDiscardedIsTracedWithItsReason()
{
    QFETCH(int, kind);
    QFETCH(int, milliseconds);
    QFETCH(bool, hasEcho);
    QFETCH(QByteArray, words);
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("line.trace"));
    TraceWriter writer;
    QString error;
    QVERIFY2(writer.open(fileName, &error), qPrintable(error));
    PanelRig rig;
    rig.trace = &writer;
    rig.settings.line.hasEcho = hasEcho;
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    rig.addFault(FaultKind(kind), milliseconds);
    rig.runFor(2 * qint64(PanelRig::Second));
    rig.end();
    writer.close();
    const QByteArray text = contentsOf(fileName);
    QVERIFY2(text.contains(words), text.left(2000).constData());
}

QTEST_APPLESS_MAIN(TstPanelFieldTrace)
#include "tst_panel_field_trace.moc"
