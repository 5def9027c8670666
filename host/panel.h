/// The panel: tags, their values and writes, over a driver and a line. One turn of the communication cycle a step.
///
/// Everything here belongs to one thread; PanelThread runs it and hands out copies.
#pragma once

#include "host/block_map.h"
#include "host/counters.h"
#include "host/ledger.h"
#include "host/line.h"
#include "host/session.h"
#include "host/tags.h"
#include "host/values.h"

#include <QtCore/QSet>

/// Hears what happens in a step, in the panel's thread.
struct PanelListener {
    virtual ~PanelListener() = default;
    /// A tag's bytes, quality or pending mark.
    virtual void valueChanged(int) {}
    virtual void writeEnded(const WriteEntry &) {}
    virtual void stationSwitched(int, bool) {}
    /// The only station, which is never switched off: whether it answers.
    virtual void stationAnswers(int, bool) {}
    /// Opened, or lost; then once more with each new reason why it cannot be opened again.
    virtual void portChanged(bool, const QString &) {}
    virtual void passFinished() {}
    /// A request that was on the line, and the driver's result code.
    virtual void requestServed(const RW_VAR &, const Transaction &, int) {}
    /// A one-shot read asked for by readCells: the id that it was given, and whether it was answered.
    virtual void readDone(int, bool) {}
};

struct StationState {
    bool isOn = true;
    bool isOnTrial =
        false; ///< Switched on for a probe: a failure switches it off again, the first good answer keeps it on.
    bool isAnswering = true; ///< Until as many requests in a row have failed as switch a station off.
    int failuresInARow = 0;
    qint64 nextProbeAt = 0; ///< While off.
    qint64 pause = 0;       ///< Microseconds before that probe.
};

class Panel {
public:
    /// trace may be null. The tags have been checked (parseTags).
    Panel(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags, Channel &channel,
          TraceWriter *trace);
    ~Panel();

    /// Null for nobody.
    void setListener(PanelListener *newListener) { listener = newListener ? newListener : &nobody; }
    /// Opens the port and registers the tags that can be read. False, with what, where and what was expected.
    bool start(QString *error);
    /// The tags are polled from the start; false stops that: only writes and one-shot reads go out.
    void setPolling(bool on);
    /// One turn: at most one request on the line. Sleeps when there is nothing to do, a few milliseconds at most.
    void step();

    /// Queues a write of host bytes (tag_codec.h). Returns its id in the ledger.
    int write(int tag, const QByteArray &bytes);
    /// Queues a one-shot read of cells without a tag; readDone tells the end. Returns its id.
    int readCells(int devType, const QString &address, int station, int count);

    qint64 now() { return channel.now(); }
    const PanelSettings &panelSettings() const { return settings; }
    const QList<Tag> &tags() const { return tagList; }
    const QVector<TagValue> &values() const { return tagValues; }
    const PanelCounters &counters() const { return counted; }
    const QMap<int, StationState> &stations() const { return stationStates; }
    const Ledger &writes() const { return ledger; }
    const BlockMap &plan() const { return blockMap; }
    Session &driverSession() { return session; }
    bool isPortOpen() const { return channel.isOpen(); }
    /// Nothing is queued, in flight, or waiting to be confirmed.
    bool isIdle() const;
    /// Every tag that can be read has been read, or has failed, since start or the last call of expectPass.
    bool isPassComplete() const;
    void expectPass();

private:
    struct BlockState {
        qint64 readAt = -1;
        bool isGood = false;
        bool isServed = false; ///< Read or failed since expectPass.
    };

    void serve(const Protocol &protocol);
    Request requestOf(const Protocol &protocol) const;
    void countTransaction(const RW_VAR &var, int list, const Transaction &transaction, int bytesSent);
    void finish(const RW_VAR &var, int list, const RW_VAR &head, const Transaction &transaction, bool isGood);
    void handleCallbacks(qint64 at);
    void countPass(const RW_VAR &var, qint64 at);
    void updateQueueLengths();

    // panel_port.cpp
    void openPort();
    void losePort();
    void servePort();

    // panel_values.cpp
    void blockAnswered(const RW_VAR &var, qint64 at);
    void blockFailed(const RW_VAR &var, Reason reason, int exceptionCode);
    void spoilCells(const CellRange &cells, int writeId);
    void lookAtImage(int tag);
    void readTagFromImage(int tag, qint64 readAt, qint64 now);
    void setQuality(int tag, Quality quality, Reason reason, int exceptionCode = 0);
    void refreshAges();

    // panel_stations.cpp
    void probeStations();
    void stationAnswered(int station);
    void stationFailed(int station, qint64 lost);
    void spoilStation(int station);

    // panel_writes.cpp
    void settleWrites();
    void confirm(int id);
    void confirmationRead(int id, bool isAnswered, qint64 at);
    void onceReadDone(int id, bool isAnswered);
    void findLostReads();
    void updatePending(int tag);

    const PanelSettings settings;
    const QList<Tag> tagList;
    Channel &channel;
    Session session;
    Line line;
    PanelListener nobody;
    PanelListener *listener;

    BlockMap blockMap;
    QVector<BlockState> blocks;
    QVector<TagValue> tagValues;
    QByteArray looked; ///< What lookAtImage found; used again and again, so that it is not allocated for each tag.
    QVector<QVector<TagPiece>> looks, requests; ///< Pieces of each tag, see PieceUse.
    QMap<int, StationState> stationStates;
    Ledger ledger;
    QSet<int> onceReads;    ///< Ids of one-shot reads under way.
    QSet<int> spoiledReads; ///< Writes whose confirming read may show the value of another write.
    PanelCounters counted;

    bool isPolling = true;
    bool isStarted = false;
    bool repeatFollows = false;
    int lastReadId = 0;
    qint64 passStartedAt = -1;
    int servedInPass = 0;
    qint64 agesAt = 0;
    qint64 reopenAt = 0;
    qint64 reopenPause = 0;
    bool wasOpen = false;
    QString lastPortError;
};

/// The cells of a record in the driver's write queue.
CellRange cellsOfWrite(const RW_VAR &write);
/// Why an outcome makes a value bad; None for a good one.
Reason reasonOf(Outcome outcome);
