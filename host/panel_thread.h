/// The communication thread: runs a panel, and hands out copies of what it knows.
#pragma once

#include "host/panel.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMutex>
#include <QtCore/QQueue>
#include <QtCore/QSet>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <atomic>
#include <functional>
#include <memory>

/// What a person's screen shows, as it was at one moment.
struct PanelSnapshot {
    qint64 now = 0; ///< The moment, on the panel's clock; 0 before the first.
    QVector<TagValue> values;
    PanelCounters counters;
    QMap<int, StationState> stations;
    QJsonObject writes; ///< Ledger::toJson.
    bool isPortOpen = false;
    QString portError;
    bool isIdle = false;
    bool isPassComplete = false;
};

struct PanelEvent {
    enum Kind {
        ValueChanged,
        WriteEnded,
        StationSwitched,
        StationAnswers,
        PortChanged,
        PassFinished,
        ReadDone,
        Served
    };
    explicit PanelEvent(Kind kind, int number = 0, bool isOn = false) : kind(kind), number(number), isOn(isOn) {}

    Kind kind;
    qint64 moment = 0;
    int number;       ///< Tag, station, or id of the write or read.
    bool isOn;        ///< Station on or answering, port open, read answered; Served: the driver repeats no more.
    TagValue value;   ///< ValueChanged
    WriteEntry write; ///< WriteEnded
    QString text;     ///< PortChanged: why not.
    Outcome outcome = Outcome::Timeout; ///< Served
    qint64 replyTime = -1;              ///< Served
};

class PanelThread : private QThread, private PanelListener {
public:
    /// The panel is made in the thread, with a channel made there too.
    PanelThread(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags,
                std::function<std::unique_ptr<Channel>()> makeChannel, TraceWriter *trace);
    ~PanelThread() override;

    /// Opens the port and starts. False, with the reason.
    bool start(QString *error);
    /// Before start: the thread ends by itself once every tag has been read or has failed.
    void endAfterPass() { endsWithPass = true; }
    /// Before start: between start and end nobody looks at snapshot(), and no copies are made for it.
    void keepNoSnapshots() { isLookedAt = false; }
    /// Ends after the request in flight, or after a second without it. What it counted stays in snapshot().
    void stop();
    bool isRunning() const { return QThread::isRunning(); }

    /// Runs an action in the panel's thread, between two requests, in the order of posting.
    void post(const std::function<void(Panel &)> &action);
    /// The same, and waits for its end.
    void call(std::function<void(Panel &)> action);

    /// The last copy, at most 50 ms older than the last request.
    PanelSnapshot snapshot() const;
    /// The panel's clock now, as far as another thread can tell.
    qint64 now() const;

    /// Events since the last call; waits for one at most as long. Bounded: beyond EventLimit they are counted and lost.
    QList<PanelEvent> takeEvents(int milliseconds);
    qint64 lostEvents() const { return lost; }
    /// Only events of these kinds are kept; all but Served from the start.
    void keepEvents(const QSet<int> &kinds);
    enum { EventLimit = 100000 };

private:
    void run() override;
    void valueChanged(int tag) override;
    void writeEnded(const WriteEntry &write) override;
    void stationSwitched(int station, bool on) override;
    void stationAnswers(int station, bool does) override;
    void portChanged(bool isOpen, const QString &error) override;
    void passFinished() override;
    void requestServed(const RW_VAR &var, const Transaction &transaction, int resultCode) override;
    void readDone(int id, bool isAnswered) override;
    bool keeps(PanelEvent::Kind kind) const { return (kept >> kind & 1) != 0; }
    void addEvent(PanelEvent event);
    void publish();
    bool carryOutActions();

    const Plugin &plugin;
    const PanelSettings settings;
    const QList<Tag> tags;
    const std::function<std::unique_ptr<Channel>()> makeChannel;
    TraceWriter *const trace;
    Panel *panel = nullptr; ///< Panel's thread only.

    bool endsWithPass = false;
    bool isLookedAt = true;
    std::atomic<bool> stopping{false};
    std::atomic<unsigned> kept; ///< A bit for each kind of event; looked at before an event is made.
    mutable QMutex mutex;       ///< Guards what follows.
    QWaitCondition started, happened;
    Channel *channel = nullptr; ///< While the thread has one; only to wake it.
    bool isStarted = false;
    QString startError;
    QString portError;
    QQueue<std::function<void(Panel &)>> actions;
    std::atomic<bool> hasActions{false}; ///< Set under the mutex, looked at without it: mostly there are none.
    QQueue<PanelEvent> events;
    std::atomic<qint64> lost{0};
    PanelSnapshot published;
    QElapsedTimer sincePublished;
};
