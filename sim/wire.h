/// The PLC's end of the line in time: bytes take as long as they would on a wire, both ways, and faults happen.
///
/// It has no clock of its own. Whoever runs it says what moment it is, in microseconds that never go back: a real clock
/// with a pseudo-terminal, or a made-up one in tests.
///
/// The line is half duplex: bytes of both sides that are on it at the same time arrive inverted, at either end. Without
/// pacing no byte takes time, so none overlap. The echo of a two-wire adapter does not lie on the line: it comes to the
/// host in one piece, with the last byte of the request.
#pragma once

#include "sim/faults.h"
#include "sim/slave.h"

#include <QtCore/QSet>
#include <QtCore/QVector>

struct WireSettings {
    int baud = 0; ///< 0 = no pacing: bytes take no time, and a request is answered when it is whole.
    int characterBits = 11;
    int answerMicroseconds = 0; ///< The PLC's own time, from the end of the request's silence to the first byte.
};

class Wire {
public:
    enum { MostFromHost = 16384, MostToHost = 16384 };

    Wire(Slave &slave, Faults &faults, const WireSettings &settings);

    /// Bytes that the host has put on the line at a moment. Beyond MostFromHost still on their way they are
    /// lost, and so is what the PLC says beyond MostToHost.
    void receive(const QByteArray &bytes, qint64 now);
    /// The moment at which advance has something to do next; -1 = not before receive.
    qint64 nextMoment() const;
    /// Everything due by now happens. Returns the bytes that have reached the host by now.
    QByteArray advance(qint64 now);

    /// Unplugged, bytes are swallowed both ways and nothing is answered.
    void setPlugged(bool on);
    /// A station that does not answer still hears: it carries out what it is asked and says nothing. Its requests are
    /// none for the script of faults.
    void setAnswering(int station, bool on);
    /// The port vanishes now, and is back after a while.
    void takePortAway(qint64 now, int milliseconds);
    qint64 swallowedBytes() const { return swallowed; }
    /// True while the port should be gone (fault PortGone, takePortAway); goes back by itself.
    bool isPortGone() const { return portGone; }

    /// Bytes that have reached the host.
    qint64 bytesSent() const { return sent; }

private:
    /// Bytes in a row without a pause. Times are counted from its start, so that fractions do not add up.
    struct Burst {
        qint64 start = 0;
        qint64 passed = 0; ///< Bytes that have arrived.
        QByteArray left;   ///< Those that have not.
    };

    qint64 charactersTime(qint64 count) const;
    qint64 silence() const;
    qint64 endOf(const Burst &burst) const;
    qint64 nextHostByte() const;
    qint64 nextOwnBegin() const;
    qint64 nextOwnByte() const;
    qint64 nextEvent() const;
    void passTo(qint64 now);
    void hostByteArrives();
    void ownByteArrives();
    void takeByte(char byte, qint64 now);
    void lineFallsSilent();
    void portGoes();
    void answer(const SlaveAnswer &answer, qint64 due);
    void sendAt(qint64 start, const QByteArray &bytes);

    Slave &slave;
    Faults &faults;
    const WireSettings settings;
    QSet<int> silentStations;
    bool plugged = true;
    bool portGone = false;
    qint64 swallowed = 0, sent = 0;
    qint64 moment = 0;      ///< Up to which everything has happened.
    Burst fromHost;         ///< On the line, or the last that was.
    Burst toHost;           ///< The same, of the PLC.
    QVector<Burst> waiting; ///< Of the PLC, by their wanted start.
    int waitingBytes = 0;
    QByteArray reached;   ///< Has reached the host, not yet handed over.
    qint64 silentAt = -1; ///< When the line has been quiet long enough; -1 = nothing is pending.
    qint64 goneFrom = -1, goneUntil = -1;
    int goneMilliseconds = 0;
};
