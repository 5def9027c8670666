#include "host/panel_thread.h"

#include <QtCore/QSemaphore>

namespace {

enum { PublishMilliseconds = 50, PatienceMilliseconds = 1000 };

} // namespace

PanelThread::PanelThread(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags,
                         std::function<std::unique_ptr<Channel>()> makeChannel, TraceWriter *trace)
    : plugin(plugin), settings(settings), tags(tags), makeChannel(std::move(makeChannel)), trace(trace)
{
    keepEvents({PanelEvent::ValueChanged, PanelEvent::WriteEnded, PanelEvent::StationSwitched,
                PanelEvent::StationAnswers, PanelEvent::PortChanged, PanelEvent::PassFinished, PanelEvent::ReadDone});
}

PanelThread::~PanelThread()
{
    stop();
}

bool PanelThread::start(QString *error)
{
    QMutexLocker locker(&mutex);
    QThread::start();
    while (!isStarted)
        started.wait(&mutex);
    *error = startError;
    return startError.isEmpty();
}

void PanelThread::stop()
{
    stopping = true;
    {
        const QMutexLocker locker(&mutex);
        if (channel)
            channel->wake();
    }
    // A slow time-out is not waited for.
    if (!wait(PatienceMilliseconds)) {
        const QMutexLocker locker(&mutex);
        if (channel)
            channel->abort();
    }
    wait();
}

// Channel and panel live in this thread from their making to their end.
void PanelThread::run()
{
    const std::unique_ptr<Channel> ownChannel = makeChannel();
    Panel ownPanel(plugin, settings, tags, *ownChannel, trace);
    ownPanel.setListener(this);
    panel = &ownPanel;
    QString error;
    const bool isOpen = ownPanel.start(&error);
    publish();
    {
        const QMutexLocker locker(&mutex);
        channel = ownChannel.get();
        startError = isOpen ? QString() : error;
        isStarted = true;
        started.wakeAll();
    }
    while (isOpen && !stopping && !(endsWithPass && ownPanel.isPassComplete())) {
        const bool hasActed = carryOutActions();
        ownPanel.step();
        if (isLookedAt && (hasActed || sincePublished.elapsed() >= PublishMilliseconds))
            publish();
    }
    // Whoever waits for an action must not wait for ever.
    carryOutActions();
    publish();
    ownPanel.setListener(nullptr);
    panel = nullptr;
    const QMutexLocker locker(&mutex);
    channel = nullptr;
}

bool PanelThread::carryOutActions()
{
    if (!hasActions)
        return false;
    QQueue<std::function<void(Panel &)>> due;
    {
        const QMutexLocker locker(&mutex);
        due.swap(actions);
        hasActions = false;
    }
    for (const auto &action : qAsConst(due))
        action(*panel);
    return !due.isEmpty();
}

void PanelThread::post(const std::function<void(Panel &)> &action)
{
    const QMutexLocker locker(&mutex);
    actions.enqueue(action);
    hasActions = true;
    if (channel)
        channel->wake();
}

void PanelThread::call(std::function<void(Panel &)> action)
{
    QSemaphore done;
    post([&](Panel &target) {
        action(target);
        done.release();
    });
    // The thread carries out what is posted before it ends; afterwards nobody would.
    while (!done.tryAcquire(1, 100))
        if (!isRunning() && !done.tryAcquire(1, 0)) {
            const QMutexLocker locker(&mutex);
            actions.clear();
            return;
        }
}

void PanelThread::publish()
{
    PanelSnapshot snapshot;
    snapshot.now = panel->now();
    snapshot.values = panel->values();
    snapshot.counters = panel->counters();
    snapshot.stations = panel->stations();
    snapshot.writes = panel->writes().toJson();
    snapshot.isPortOpen = panel->isPortOpen();
    snapshot.isIdle = panel->isIdle();
    snapshot.isPassComplete = panel->isPassComplete();
    const QMutexLocker locker(&mutex);
    snapshot.portError = portError;
    published = snapshot;
    sincePublished.start();
}

PanelSnapshot PanelThread::snapshot() const
{
    const QMutexLocker locker(&mutex);
    return published;
}

qint64 PanelThread::now() const
{
    const QMutexLocker locker(&mutex);
    return sincePublished.isValid() ? published.now + sincePublished.nsecsElapsed() / 1000 : 0;
}

QList<PanelEvent> PanelThread::takeEvents(int milliseconds)
{
    QMutexLocker locker(&mutex);
    if (events.isEmpty() && milliseconds > 0)
        happened.wait(&mutex, static_cast<unsigned long>(milliseconds));
    QList<PanelEvent> taken;
    taken.swap(events);
    return taken;
}

void PanelThread::keepEvents(const QSet<int> &kinds)
{
    unsigned bits = 0;
    for (const int kind : kinds)
        bits |= 1U << kind;
    kept = bits;
}

void PanelThread::addEvent(PanelEvent event)
{
    event.moment = panel->now();
    {
        const QMutexLocker locker(&mutex);
        if (events.size() >= EventLimit) {
            ++lost;
            return;
        }
        events.enqueue(event);
    }
    // Not under the mutex: whoever wakes takes it first of all.
    happened.wakeAll();
}

void PanelThread::valueChanged(int tag)
{
    if (!keeps(PanelEvent::ValueChanged))
        return;
    PanelEvent event(PanelEvent::ValueChanged, tag);
    event.value = panel->values().at(tag);
    addEvent(event);
}

void PanelThread::writeEnded(const WriteEntry &write)
{
    if (!keeps(PanelEvent::WriteEnded))
        return;
    PanelEvent event(PanelEvent::WriteEnded, write.id);
    event.write = write;
    addEvent(event);
}

void PanelThread::stationSwitched(int station, bool on)
{
    if (keeps(PanelEvent::StationSwitched))
        addEvent(PanelEvent(PanelEvent::StationSwitched, station, on));
}

void PanelThread::stationAnswers(int station, bool does)
{
    if (keeps(PanelEvent::StationAnswers))
        addEvent(PanelEvent(PanelEvent::StationAnswers, station, does));
}

void PanelThread::portChanged(bool isOpen, const QString &error)
{
    {
        const QMutexLocker locker(&mutex);
        portError = error;
    }
    if (!keeps(PanelEvent::PortChanged))
        return;
    PanelEvent event(PanelEvent::PortChanged, 0, isOpen);
    event.text = error;
    addEvent(event);
}

void PanelThread::passFinished()
{
    if (keeps(PanelEvent::PassFinished))
        addEvent(PanelEvent(PanelEvent::PassFinished));
}

void PanelThread::requestServed(const RW_VAR &var, const Transaction &transaction, int resultCode)
{
    if (!keeps(PanelEvent::Served))
        return;
    PanelEvent event(PanelEvent::Served, var.station, resultCode != 0);
    event.outcome = transaction.outcome;
    event.replyTime = transaction.replyTime;
    addEvent(event);
}

void PanelThread::readDone(int id, bool isAnswered)
{
    if (keeps(PanelEvent::ReadDone))
        addEvent(PanelEvent(PanelEvent::ReadDone, id, isAnswered));
}
