/// The other end of a line as a script: bytes that come at set moments, in a time that passes only while somebody
/// waits.
#pragma once

#include "host/channel.h"

#include <QtCore/QList>
#include <QtCore/QMap>

class ScriptedChannel : public Channel {
public:
    struct Sent {
        qint64 moment;
        QByteArray bytes;
    };

    qint64 moment = 0;
    qint64 goneAt = -1;      ///< The port goes away at this moment; -1 = never.
    bool goesOnSend = false; ///< The port goes away under the next send.
    QList<Sent> sent;
    QList<qint64> rests;     ///< Moments until which a rest was asked for.
    bool takesRests = false; ///< A rest passes the time; otherwise it ends at once.

    /// Bytes that reach the host at a moment.
    void at(qint64 when, const QByteArray &bytes) { arrivals.insert(when, arrivals.value(when) + bytes); }
    /// Bytes that reach the host one after the other.
    void trickle(qint64 first, qint64 apart, const QByteArray &bytes)
    {
        for (int i = 0; i < bytes.size(); ++i)
            at(first + i * apart, bytes.mid(i, 1));
    }
    int waitingBursts() const { return arrivals.size(); }

    bool open(QString *) override { return true; }
    void close() override {}
    bool isOpen() const override { return goneAt < 0 || moment < goneAt; }
    qint64 now() override { return moment; }

    bool send(const QByteArray &bytes) override
    {
        if (goesOnSend)
            goneAt = moment;
        if (!isOpen())
            return false;
        sent.append({moment, bytes});
        return true;
    }

    QByteArray receiveUntil(qint64 until) override
    {
        const qint64 first = arrivals.isEmpty() ? until : qMin(until, arrivals.firstKey());
        moment = qMax(moment, goneAt >= 0 ? qMin(first, goneAt) : first);
        QByteArray bytes;
        while (isOpen() && !arrivals.isEmpty() && arrivals.firstKey() <= moment)
            bytes += arrivals.take(arrivals.firstKey());
        return bytes;
    }

    void restUntil(qint64 until) override
    {
        rests.append(until);
        if (takesRests)
            moment = qMax(moment, goneAt >= 0 ? qMin(until, goneAt) : until);
    }

    void sleepUntil(qint64 until) override { moment = qMax(moment, until); }

private:
    QMap<qint64, QByteArray> arrivals;
};
