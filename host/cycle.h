/// The communication cycle: one thread that asks the driver for frames, sends them and hands back what came.
#pragma once

#include "host/plugin.h"
#include "host/serial_line.h"

#include <QtCore/QMutex>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>

#include <atomic>
#include <functional>

/// One frame handed out by the driver and what became of it.
struct Exchange {
    QByteArray request;
    QByteArray reply;
    int replyLen = 0;   ///< Bytes that were expected.
    int resultCode = 0; ///< The driver's verdict.
    bool isRepeat = false;
    RW_VAR var;
};

/// One call of the driver's request-done callback.
struct RequestDone {
    int connectNo, varId, status;
};

struct CycleCounters {
    qint64 requests = 0; ///< Frames sent, repeats included.
    qint64 repeats = 0;
    qint64 timeouts = 0;
    qint64 badReplies = 0;    ///< Replies that came and were refused.
    qint64 failures = 0;      ///< Requests given up; one failure callback each.
    qint64 cyclicReplies = 0; ///< Good replies to entries of the cyclic read list.
    qint64 writesDone = 0;
    qint64 writesFailed = 0;
    bool passFinished = false; ///< The driver's own flag, after the last reply.
};

class Cycle : private QThread {
public:
    /// The settings record is the driver's too while the cycle runs.
    Cycle(const Plugin &plugin, COMINFO &comInfo, const LineSettings &settings);
    ~Cycle() override;

    /// Registers the callbacks, opens the port and starts. False, with the reason, when the port cannot be opened.
    bool start(QString *error);
    /// Ends after the request in flight.
    void stop();

    /// Runs the action between two requests: none is in flight, and the next is not chosen before it has ended.
    void betweenRequests(const std::function<void()> &action);

    CycleCounters counters() const;
    /// Keeps the next exchanges, at most as many; forgets those kept so far.
    void keepExchanges(int limit);
    QList<Exchange> keptExchanges() const;
    QList<RequestDone> requestsDone() const;
    /// connectNo of every failure callback so far.
    QList<int> failures() const;

private:
    void run() override;
    void serveOne(SerialLine &line, const Protocol &protocol);
    static void noteRequestDone(int channelNo, int connectNo, int varId, int status);
    static void noteFailure(QList<RW_VAR> &list, int connectNo, int flag);

    const Plugin &plugin;
    COMINFO &comInfo;
    const LineSettings settings;
    std::atomic<bool> stopping{false};
    std::atomic<bool> pausing{false};
    QSemaphore opened;
    QSemaphore paused;
    QSemaphore resumed;
    QString openError;
    bool repeatFollows = false; ///< Cycle thread only.

    mutable QMutex mutex; ///< Guards what follows. Taken under the driver's listMutex by the callbacks.
    CycleCounters counted;
    int exchangeLimit = 0;
    QList<Exchange> exchanges;
    QList<RequestDone> done;
    QList<int> failed;
};
