/// A Modbus RTU slave, or the remote stations of the other format: bytes from the line in, answers out. One or several
/// stations share the line. It knows no time and no faults: see wire.h.
#pragma once

#include "sim/plc_memory.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>

enum class RequestFormat { ModbusRtu, Remote };

struct SlaveStatistics {
    qint64 requests = 0;      ///< Whole requests for a station that lives here.
    qint64 replies = 0;       ///< Answers to them, exception replies included.
    qint64 exceptions = 0;    ///< Exception replies among them.
    qint64 broadcasts = 0;    ///< Whole requests for station 0; they are carried out by all and never answered.
    qint64 otherStations = 0; ///< Whole requests for a station that does not live here.
    qint64 garbageBytes = 0;  ///< Bytes that belonged to no request.
};

/// A whole request and what it is answered with.
struct SlaveAnswer {
    QByteArray request;
    QByteArray reply; ///< With CRC; empty for a broadcast and for a station that does not live here.
    int station = 0;
    int function = 0; ///< In the remote format the function that the reply carries, without an exception's bit.
    bool isException = false;
};

class Slave {
public:
    explicit Slave(RequestFormat format = RequestFormat::ModbusRtu) : format(format) {}

    /// Stations are 1..247; one that lives here already stays as it is. The memory is the slave's and does not move.
    PlcMemory *addStation(int station);
    /// Null when there is no such station.
    PlcMemory *memory(int station);
    QList<int> stations() const { return memories.keys(); }

    /// Gives live cells of every station their value at a time, in milliseconds since the start.
    void advanceTo(qint64 milliseconds);
    /// Moves every memory that shows epochs to the next epoch. Done by the wire before each request.
    void nextEpoch();
    int epoch() const { return currentEpoch; }

    /// Takes bytes from the line; one answer for each whole request that they complete.
    QList<SlaveAnswer> receive(const QByteArray &bytes);
    /// The line has fallen silent: whatever is pending ends here. Finds requests behind garbage.
    QList<SlaveAnswer> lineQuiet();
    /// True while lineQuiet would have something to look at.
    bool isPending() const { return !pending.isEmpty(); }
    /// Forgets what is pending.
    void reset() { pending.clear(); }

    const SlaveStatistics &statistics() const { return counted; }

private:
    int requestLength() const;
    int longestRequest() const;
    bool isWholeRequest(const QByteArray &frame) const;
    bool answerWhatSilenceEnds(QList<SlaveAnswer> *answers);
    void takeWholeRequests(QList<SlaveAnswer> *answers);
    void dropFirstByte();
    SlaveAnswer answer(const QByteArray &request);
    QByteArray carryOut(PlcMemory &memory, const QByteArray &request) const;

    const RequestFormat format;
    QMap<int, PlcMemory> memories;
    QByteArray pending;
    int currentEpoch = 0;
    SlaveStatistics counted;
};
