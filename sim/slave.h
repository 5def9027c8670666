/// A Modbus RTU slave: bytes from the line in, reply bytes out. One or several stations share the line.
#pragma once

#include "sim/plc_memory.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>

struct SlaveStatistics {
    qint64 requests = 0;       ///< Whole requests for a station that lives here.
    qint64 replies = 0;        ///< Replies sent, exception replies included.
    qint64 exceptions = 0;     ///< Exception replies among them.
    qint64 broadcasts = 0;     ///< Whole requests for station 0; they are never answered.
    qint64 otherStations = 0;  ///< Whole requests for a station that does not live here.
    qint64 garbageBytes = 0;   ///< Bytes that belonged to no request.
    qint64 swallowedBytes = 0; ///< Bytes that came while the cable was unplugged.
};

class Slave {
public:
    /// Stations are 1..247. The memory is the slave's; null when there is no such station.
    PlcMemory *addStation(int station);
    PlcMemory *memory(int station);
    QList<int> stations() const { return memories.keys(); }

    /// Live cells of every station.
    void advanceTo(qint64 milliseconds);
    /// Takes bytes from the line. Returns the replies to the requests that they complete.
    QByteArray receive(const QByteArray &bytes);
    /// The line has fallen silent: whatever is pending ends here. Finds requests behind garbage.
    QByteArray lineQuiet();
    /// True while lineQuiet would have something to look at.
    bool isPending() const { return !pending.isEmpty(); }

    /// Unplugged, bytes are swallowed and nothing is answered.
    void setPlugged(bool on);
    const SlaveStatistics &statistics() const { return counted; }

private:
    QByteArray takeWholeRequests();
    QByteArray answer(const QByteArray &request);

    QMap<int, PlcMemory> memories;
    QByteArray pending;
    bool plugged = true;
    SlaveStatistics counted;
};
