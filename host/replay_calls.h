/// The calls of a trace, made again on a fresh driver.
#pragma once

#include "host/replay_findings.h"
#include "host/trace_fields.h"

#include <memory>

class ReplayCalls {
public:
    ReplayCalls(const QVector<TraceLine> &lines, const Plugin &plugin, ReplayFindings &findings);

    /// The settings were there: every other call needs them before it.
    bool hasStarted() const { return session != nullptr; }
    /// Carries out the line of this index. Returns the index of the last line that belongs to it.
    int play(int index);
    /// What the driver's image holds, as fields of the lines that tell it.
    QVector<QVector<QByteArray>> image() const { return session->image(); }

private:
    bool accept(TraceFields &fields, qint64 elements = 0);
    bool spend(qint64 elements);
    void start();
    void describe();
    bool readVariables(int count, QList<VARDESC> *descriptions);
    void switchStation();
    void switchStations();
    void write();
    void readOnce();
    void idle();
    QVector<int> idleState() const;
    qint64 workOfCall() const;
    void request();
    void answer();

    const QVector<TraceLine> &lines;
    const Plugin &plugin;
    ReplayFindings &findings;
    std::unique_ptr<Session> session;
    int at = 0;           ///< The line that is carried out.
    qint64 work;          ///< Elements and idle calls that are left.
    bool isAsked = false; ///< A tx waits for its rx.
};

/// False, with what was expected, when the line has not every setting of the driver and no more.
bool readTraceSettings(const TraceLine &line, COMINFO *settings, QString *expected);
