/// The simulated PLC as a process: what the host says when it is not what it should be. Shell scripts stand in for it.
#include "host/simulator.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

/// A program of its own that does what a script says.
class StandIn {
public:
    explicit StandIn(const char *script)
    {
        QFile file(path());
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path()));
        file.write(QByteArray("#!/bin/sh\n") + script + '\n');
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString path() const { return folder.filePath(QStringLiteral("plc")); }

private:
    QTemporaryDir folder;
};

const char *const Obedient = "echo ready /dev/plc; while read -r command; do echo \"ok $command\"; done";

} // namespace

class TstPanelSimulator : public QObject {
    Q_OBJECT

private slots:
    void aProgramThatIsNotThereIsNamed();
    void withoutItsReadyLineItHasNotStarted_data();
    void withoutItsReadyLineItHasNotStarted();
    void theWordsBehindOkAreTheAnswer();
    void aPortThatComesBackIsNoAnswer();
    void aRefusalIsAnError();
    void tooFewValuesAreAnErrorAndCountAsZeros();
    void theFirstErrorIsKept();
    void oneThatHasEndedIsNoticed();
    void oneThatDoesNotEndIsKilled();
};

void TstPanelSimulator::aProgramThatIsNotThereIsNamed()
{
    Simulator simulator;
    QString error;
    QVERIFY(!simulator.start(QStringLiteral("/nonexistent/ecsim"), {}, &error));
    QCOMPARE(error, QStringLiteral("no simulated PLC at /nonexistent/ecsim: expected the built program ecsim (give its "
                                   "path with --sim)"));
}

void TstPanelSimulator::withoutItsReadyLineItHasNotStarted_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("line");
    QTest::newRow("ends") << QByteArray("exit 3") << "";
    QTest::newRow("says something else") << QByteArray("echo hello there; read -r command") << "hello there";
    QTest::newRow("names no port") << QByteArray("echo 'ready '; read -r command") << "ready";
}

void TstPanelSimulator::withoutItsReadyLineItHasNotStarted()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, line);
    const StandIn program(script);
    Simulator simulator;
    QString error;
    QVERIFY(!simulator.start(program.path(), {}, &error));
    QCOMPARE(error, QString::fromLatin1("%1 did not start: expected a first line 'ready PORT' within 5 s, got '%2'")
                        .arg(program.path(), line));
}

void TstPanelSimulator::theWordsBehindOkAreTheAnswer()
{
    const StandIn program(Obedient);
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    QCOMPARE(simulator.portPath(), QStringLiteral("/dev/plc"));
    QCOMPARE(simulator.ask(QStringLiteral("one two")), QStringList({QStringLiteral("one"), QStringLiteral("two")}));
    QVERIFY(simulator.isRunning());
    QCOMPARE(simulator.error(), QString());
}

void TstPanelSimulator::aPortThatComesBackIsNoAnswer()
{
    const StandIn program("echo ready /dev/plc; read -r command; echo ready /dev/plc; echo ok done; read -r command");
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    QCOMPARE(simulator.ask(QStringLiteral("vanish 1")), QStringList{QStringLiteral("done")});
}

void TstPanelSimulator::aRefusalIsAnError()
{
    const StandIn program("echo ready /dev/plc; while read -r command; do echo error: no; done");
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    QCOMPARE(simulator.ask(QStringLiteral("plug")), QStringList());
    QCOMPARE(simulator.error(),
             QStringLiteral("the simulated PLC did not carry out 'plug': expected 'ok', got 'error: no'"));
}

void TstPanelSimulator::tooFewValuesAreAnErrorAndCountAsZeros()
{
    const StandIn program("echo ready /dev/plc; while read -r command; do echo ok 7 8; done");
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    QCOMPARE(simulator.coils(1, 0, 2), QVector<int>({7, 8}));
    QCOMPARE(simulator.error(), QString());
    QCOMPARE(simulator.registers(1, 100, 3), QVector<int>({7, 8, 0}));
    QCOMPARE(simulator.error(),
             QStringLiteral("the simulated PLC answered 'registers 1 100 3' with 2 values: expected 3"));
}

void TstPanelSimulator::theFirstErrorIsKept()
{
    const StandIn program("echo ready /dev/plc; read -r command; echo error: no; read -r command; echo ok; exit 0");
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    QCOMPARE(simulator.registers(1, 0, 1), QVector<int>{0});
    const QString first = simulator.error();
    QVERIFY(first.contains(QLatin1String("did not carry out")));
    QCOMPARE(simulator.registers(1, 0, 1), QVector<int>{0});
    QCOMPARE(simulator.error(), first);
    QTRY_VERIFY(!simulator.isRunning());
    QCOMPARE(simulator.error(), first);
}

void TstPanelSimulator::oneThatHasEndedIsNoticed()
{
    const StandIn program("echo ready /dev/plc; read -r command; echo ok; exit 0");
    Simulator simulator;
    QString error;
    QVERIFY(simulator.start(program.path(), {}, &error));
    simulator.ask(QStringLiteral("quit"));
    QTRY_VERIFY(!simulator.isRunning());
    QCOMPARE(simulator.error(),
             QString::fromLatin1("%1 has ended: expected it to run as long as the demo").arg(program.path()));
    QCOMPARE(simulator.ask(QStringLiteral("plug")), QStringList());
}

void TstPanelSimulator::oneThatDoesNotEndIsKilled()
{
    const StandIn program("echo ready $$; exec sleep 600");
    qint64 process = 0;
    {
        Simulator simulator;
        QString error;
        QVERIFY(simulator.start(program.path(), {}, &error));
        process = simulator.portPath().toLongLong();
        QVERIFY(QFile::exists(QString::fromLatin1("/proc/%1").arg(process)));
    }
    QVERIFY(!QFile::exists(QString::fromLatin1("/proc/%1").arg(process)));
}

QTEST_GUILESS_MAIN(TstPanelSimulator)
#include "tst_panel_simulator.moc"
