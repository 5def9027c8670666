/// Who uses the panel and spoils the line, by a seed: writes, one-shot reads, screens that come and go, faults, silent
/// stations, the cable, the port.
#pragma once

#include "line_watch.h"
#include "write_watch.h"

#include <random>

class User {
public:
    User(SoakRig &rig, LineWatch &line, WriteWatch &writes, quint32 seed);

    /// Whatever is due.
    void act();
    /// The line is put in order; from now on nothing more happens.
    void stop();

    /// Times that something was done, in words.
    QString report() const;

private:
    enum Deed {
        Write,
        Read,
        Fault,
        Overtake,
        QueueFlood,
        SilentStation,
        PullCable,
        TakePort,
        LeaveScreen,
        ChangeAdapter,
        Deeds
    };
    struct Plan {
        qint64 nextAt = 0;
        qint64 endAt = -1; ///< Of what lasts; -1 = it is not under way.
        qint64 done = 0;
    };

    void begin(Deed deed);
    void end(Deed deed);
    void writeTag(int tag);
    void writeSome(int count);
    void flood();
    void overtake();
    void addFault();
    int below(int limit) { return int(random() % std::mt19937::result_type(limit)); }
    qint64 pauseBefore(Deed deed);
    QByteArray someBytes(int tag);

    SoakRig &rig;
    LineWatch &line;
    WriteWatch &writes;
    std::mt19937 random;
    Plan plans[Deeds];
    QVector<int> writable, readable;
    int silent = 0;
    qint64 nextAt = 0;
    bool isStopped = false;
};
