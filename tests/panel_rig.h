/// A panel and a simulated PLC on one line, in a time that passes only while somebody waits.
#pragma once

#include "host/panel.h"
#include "sim/wire.h"
#include "tests/virtual_line.h"

#include <memory>

/// The built library, loaded once a process.
const Plugin &loadedDriver();

/// What a panel told its listener.
struct Heard : PanelListener {
    struct Station {
        int number;
        bool isOn;
    };
    QList<int> values;
    QList<WriteEntry> writes;
    QList<Station> stations;
    QList<bool> ports;
    QList<bool> answers;
    QHash<int, bool> reads;
    int passes = 0;

    void valueChanged(int tag) override { values << tag; }
    void writeEnded(const WriteEntry &write) override { writes << write; }
    void stationSwitched(int station, bool on) override { stations << Station{station, on}; }
    void stationAnswers(int, bool does) override { answers << does; }
    void portChanged(bool isOpen, const QString &) override { ports << isOpen; }
    void passFinished() override { ++passes; }
    void readDone(int id, bool isAnswered) override { reads.insert(id, isAnswered); }
};

class PanelRig {
public:
    enum { Second = 1000000 };

    /// One PLC, station 1, 19200 baud 8N2, 32 words a block, two repeats, 100 ms for a reply, a late window of 50 ms.
    PanelRig();

    // Change these before start.
    PanelSettings settings;
    WireSettings wire;
    bool showsEpochs = false;
    QList<int> stations{1}; ///< That live in the PLC's end.
    QByteArray csv;         ///< Tags without the header line.
    TraceWriter *trace = nullptr;
    quint32 seed = 1;

    /// Fails the running test when the tags have a problem or the panel does not start.
    void start();
    void end();
    /// Steps until as much made-up time has passed.
    void runFor(qint64 microseconds);
    /// Steps until the condition holds; false after a made-up minute.
    bool runUntil(const std::function<bool()> &condition);
    /// Steps until every tag has been read or has failed once more.
    bool runPass();

    /// A fault of all requests, or of the next one alone.
    void addFault(FaultKind kind, int milliseconds = 0, int code = -1);
    void addNextFault(FaultKind kind, int milliseconds = 0);
    int tagOf(const QString &name) const;
    const TagValue &value(const QString &name) const { return panel->values().at(tagOf(name)); }
    /// "12 good", as a person sees it.
    QString shown(const QString &name) const;
    /// Writes a text to a tag. Returns the id.
    int write(const QString &name, const QString &text);
    /// The state in which a write has ended; Queued while it has not.
    WriteState stateOf(int id) const;
    /// "confirmed" and so on of every write that has ended, in the order of their ids.
    QStringList endedStates() const;

    Heard heard;
    std::unique_ptr<Slave> slave;
    std::unique_ptr<Faults> faults;
    std::unique_ptr<Wire> plcEnd;
    std::unique_ptr<VirtualLine> line;
    std::unique_ptr<Panel> panel;
};
