// The communication thread: it opens, serves, hands out copies, and ends.
#include "host/panel_thread.h"
#include "tests/panel_rig.h"

#include <QtTest/QtTest>

namespace {

/// A line whose simulated PLC lives and dies with it, in the thread that uses it.
class OwnLine : public Channel {
public:
    explicit OwnLine(bool canOpen) : wire(slave, faults, WireSettings()), line(wire), canOpen(canOpen)
    {
        slave.addStation(1)->setHoldingRegister(100, 1234);
    }

    bool open(QString *error) override
    {
        if (canOpen)
            return line.open(error);
        *error = QStringLiteral("no such port");
        return false;
    }
    void close() override { line.close(); }
    bool isOpen() const override { return line.isOpen(); }
    qint64 now() override { return line.now(); }
    bool send(const QByteArray &bytes) override { return line.send(bytes); }
    QByteArray receiveUntil(qint64 moment) override { return line.receiveUntil(moment); }
    // Made-up time would pass at full speed.
    void sleepUntil(qint64 moment) override
    {
        QThread::usleep(100);
        line.sleepUntil(moment);
    }

private:
    Slave slave;
    Faults faults;
    Wire wire;
    VirtualLine line;
    const bool canOpen;
};

struct Rig {
    explicit Rig(const QByteArray &rows, bool canOpen = true)
    {
        PanelRig defaults;
        settings = defaults.settings;
        QStringList problems;
        tags = parseTags("name,type,address,station,count,format,order,scale,unit,rw\n" + rows,
                         QStringLiteral("tags.csv"), settings, &problems)
                   .tags;
        thread.reset(new PanelThread(
            loadedDriver(), settings, tags, [canOpen] { return std::unique_ptr<Channel>(new OwnLine(canOpen)); },
            nullptr));
    }

    /// Waits, in real time, for an event of a kind.
    bool waitFor(PanelEvent::Kind kind, PanelEvent *found = nullptr)
    {
        for (int i = 0; i < 600; ++i)
            for (const PanelEvent &event : thread->takeEvents(50))
                if (event.kind == kind) {
                    if (found)
                        *found = event;
                    return true;
                }
        return false;
    }

    PanelSettings settings;
    QList<Tag> tags;
    std::unique_ptr<PanelThread> thread;
};

const char *const Speed = "speed,7,100,,1,uint16,,,,rw\n";

} // namespace

class TstPanelThread : public QObject {
    Q_OBJECT

private slots:
    void itReadsAndTells();
    void aPortThatDoesNotOpenIsTold();
    void actionsRunInTheThreadInTheirOrder();
    void aWriteEndsInAnEvent();
    void theSnapshotStaysAfterTheEnd();
    void withoutSnapshotsOnlyTheLastIsTaken();
    void callAfterTheEndReturns();
    void onlyWantedEventsAreKept();
    void eventsAreBounded();
    void stoppingTwiceIsHarmless();
    void startAndEndManyTimes();
};

void TstPanelThread::itReadsAndTells()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    PanelEvent event(PanelEvent::PassFinished);
    QVERIFY(rig.waitFor(PanelEvent::ValueChanged, &event));
    QCOMPARE(event.number, 0);
    QCOMPARE(event.value.bytes, QByteArray("\xD2\x04"));
    QVERIFY(event.value.quality == Quality::Good);
}

void TstPanelThread::aPortThatDoesNotOpenIsTold()
{
    Rig rig(Speed, false);
    QString error;
    QVERIFY(!rig.thread->start(&error));
    QCOMPARE(error, QStringLiteral("no such port"));
}

void TstPanelThread::actionsRunInTheThreadInTheirOrder()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    QList<int> order;
    Qt::HANDLE inside = nullptr;
    rig.thread->post([&](Panel &) { order << 1; });
    rig.thread->post([&](Panel &) { order << 2; });
    rig.thread->call([&](Panel &) {
        order << 3;
        inside = QThread::currentThreadId();
    });
    QCOMPARE(order, QList<int>({1, 2, 3}));
    QVERIFY(inside != QThread::currentThreadId());
}

void TstPanelThread::aWriteEndsInAnEvent()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    int id = 0;
    rig.thread->call([&](Panel &panel) { id = panel.write(0, QByteArray("\x07\x00", 2)); });
    PanelEvent event(PanelEvent::PassFinished);
    QVERIFY(rig.waitFor(PanelEvent::WriteEnded, &event));
    QCOMPARE(event.number, id);
    QVERIFY(event.write.state == WriteState::Confirmed);
}

void TstPanelThread::theSnapshotStaysAfterTheEnd()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    QVERIFY(rig.waitFor(PanelEvent::ValueChanged));
    rig.thread->stop();
    const PanelSnapshot snapshot = rig.thread->snapshot();
    QVERIFY(snapshot.counters.all.good > 0);
    QCOMPARE(snapshot.values.size(), 1);
    QVERIFY(snapshot.values.first().quality == Quality::Good);
    QVERIFY(!rig.thread->isRunning());
}

void TstPanelThread::withoutSnapshotsOnlyTheLastIsTaken()
{
    Rig rig(Speed);
    rig.thread->keepNoSnapshots();
    QString error;
    QVERIFY(rig.thread->start(&error));
    QVERIFY(rig.waitFor(PanelEvent::ValueChanged));
    // Twice the time between two snapshots.
    QThread::msleep(100);
    rig.thread->call([](Panel &) {});
    QCOMPARE(rig.thread->snapshot().counters.all.requests, qint64(0));
    QVERIFY(rig.thread->now() >= 0);
    rig.thread->stop();
    QVERIFY(rig.thread->snapshot().counters.all.good > 0);
}

void TstPanelThread::callAfterTheEndReturns()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    rig.thread->stop();
    bool hasRun = false;
    rig.thread->call([&](Panel &) { hasRun = true; });
    QVERIFY(!hasRun);
}

void TstPanelThread::onlyWantedEventsAreKept()
{
    Rig rig(Speed);
    rig.thread->keepEvents({PanelEvent::Served});
    QString error;
    QVERIFY(rig.thread->start(&error));
    PanelEvent event(PanelEvent::PassFinished);
    QVERIFY(rig.waitFor(PanelEvent::Served, &event));
    QCOMPARE(event.number, 1);
    QVERIFY(event.outcome == Outcome::Good);
    rig.thread->stop();
    for (const PanelEvent &later : rig.thread->takeEvents(0))
        QCOMPARE(int(later.kind), int(PanelEvent::Served));
}

void TstPanelThread::eventsAreBounded()
{
    Rig rig(Speed);
    rig.thread->keepEvents({PanelEvent::Served});
    QString error;
    QVERIFY(rig.thread->start(&error));
    for (int i = 0; i < 600 && rig.thread->lostEvents() == 0; ++i)
        QThread::msleep(50);
    QVERIFY(rig.thread->lostEvents() > 0);
    rig.thread->stop();
    QCOMPARE(rig.thread->takeEvents(0).size(), int(PanelThread::EventLimit));
}

void TstPanelThread::stoppingTwiceIsHarmless()
{
    Rig rig(Speed);
    QString error;
    QVERIFY(rig.thread->start(&error));
    rig.thread->stop();
    rig.thread->stop();
    QVERIFY(!rig.thread->isRunning());
}

void TstPanelThread::startAndEndManyTimes()
{
    for (int i = 0; i < 50; ++i) {
        Rig rig(Speed);
        QString error;
        QVERIFY(rig.thread->start(&error));
    }
}

QTEST_APPLESS_MAIN(TstPanelThread)
#include "tst_panel_thread.moc"
