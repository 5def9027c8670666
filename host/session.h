/// A loaded driver in use: every call that a panel makes of it, traced.
///
/// All calls come from one thread. The driver is one a process, so there is one session at a time.
#pragma once

#include "host/plugin.h"
#include "host/trace.h"

#include <functional>

/// One call of a callback of the driver.
struct Callback {
    bool isFailure;    ///< CommFailCallback; otherwise RequestDoneCallback.
    int channelNo = 0; ///< RequestDoneCallback only.
    int connectNo = 0;
    int varId = 0;  ///< RequestDoneCallback only.
    int status = 0; ///< RequestDoneCallback: 1 answered, 2 failed. CommFailCallback: its flag.
};

/// Makes the driver as it was when it was loaded: no settings, no callbacks, empty lists, all stations on, an image of
/// zeros. Nothing else may use it meanwhile.
void resetDriver(const Plugin &plugin);

// Lines of the trace as words and fields, for whoever compares with them.
QVector<QByteArray> requestFields(const Protocol &protocol, int servedList);
const char *callbackWord(const Callback &callback);
QVector<QByteArray> callbackFields(const Callback &callback);

class Session {
public:
    /// Starts with a fresh driver. trace may be null. The clock gives the moments of the trace.
    Session(const Plugin &plugin, const COMINFO &settings, TraceWriter *trace, std::function<qint64()> clock);
    /// Writes the final image into the trace and leaves a fresh driver behind: nothing of this session remains in it.
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    const Plugin &driver() const { return plugin; }
    const COMINFO &settings() const { return comInfo; }

    // The driver's entry points, each a line in the trace.
    int describe(const QList<VARDESC> &descriptions);
    void enableStation(int station, bool on);
    void enableAllStations();
    int setRegisterData(const QString &name, int devType, const QString &address, int station, const QByteArray &values,
                        int count, int connectNo, int varId);
    /// AddListOnceReadVar in mode 0, with this panel's number; bits in words get the address that the text names.
    int readOnce(int devType, const QString &address, int station, int count, int connectNo, int varId);
    /// ComCommunication. Null calls in a row are one line in the trace.
    const Protocol *next();
    /// DataCom with all the bytes. Returns its result code.
    int answer(const QByteArray &reply);
    /// GetRegisterData; not traced, for it changes nothing that a reader can see.
    int getRegisterData(int devType, const QString &address, int station, QByteArray *values, int count);

    /// Callbacks that came during the last answer, in their order. No other call makes any.
    const QVector<Callback> &callbacks() const { return called; }

    // Copies, taken under the driver's lock.
    QList<RW_VAR> readList() const;
    QList<RW_VAR> writeList() const;
    QList<RW_VAR> onceReadList() const;
    /// True while a frame waits for its reply, or for its repetition.
    bool isInFlight() const;

    /// What the driver's image holds, as lines of the trace: "CODE ADDRESS HEX" for each run of elements that is not
    /// zero, or with several stations "STATION CODE ADDRESS HEX" for each value that is not zero, sorted. Not while
    /// another thread calls the driver.
    QVector<QVector<QByteArray>> image() const;

    /// A line of the host's own in the trace: bytes that never reached the driver, a port that came or went.
    void note(const char *word, const QVector<QByteArray> &fields);

private:
    static void noteRequestDone(int channelNo, int connectNo, int varId, int status);
    static void noteFailure(QList<RW_VAR> &list, int connectNo, int flag);
    void trace(const char *word, const QVector<QByteArray> &fields = {});
    void traceSettings();
    void traceDescriptions(const QList<VARDESC> &descriptions, int returned);
    void flushIdle();
    void traceCallbacks();

    const Plugin &plugin;
    COMINFO comInfo;
    TraceWriter *writer;
    std::function<qint64()> clock;
    QVector<Callback> called;
    qint64 idleCalls = 0;
    qint64 idleSince = 0; ///< Moment of the first of them.
};
