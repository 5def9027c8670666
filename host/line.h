/// One transaction on the line: silence, request, echo, reply, late window.
#pragma once

#include "host/channel.h"
#include "host/reply_guard.h"
#include "host/settings.h"

#include <QtCore/QVector>

enum class Outcome { Good, NoReplyExpected, Timeout, BadCrc, WrongLength, Exception, PortGone };

/// Bytes that never reached the driver, and why.
struct Discarded {
    enum Reason { BeforeRequest, Echo, Noise, Foreign, Late };
    Reason reason;
    QByteArray bytes;
    qint64 moment; ///< When the first of them came.
};

struct Transaction {
    Outcome outcome = Outcome::Timeout;
    QByteArray reply; ///< For DataCom: the answer, what came of it, or nothing.
    int exceptionCode = 0;
    qint64 sentAt = 0;     ///< Moment at which the request was handed to the line.
    qint64 doneAt = 0;     ///< Moment at which the outcome was known.
    qint64 replyTime = -1; ///< Microseconds from the request's end until a good reply was seen whole; otherwise -1.
    qint64 bytesReceived = 0;
    QVector<Discarded> discarded;
    bool echoMissing = false; ///< An echo was expected and did not come, or differed: the request was damaged.
};

class Line {
public:
    Line(Channel &channel, const LineSettings &settings, CrcFunction crc);

    /// Sends exactly the frame, after discarding what is there and a silent interval without a byte, and waits for the
    /// reply. After a wait in vain it keeps the late window before the next request, not before returning.
    Transaction transact(const Request &request);

private:
    struct Exchange; ///< The transaction in progress.
    enum class Heard { Bytes, Nothing, PortGone };

    bool listenForSilence(Exchange &exchange);
    bool send(Exchange &exchange);
    Outcome awaitOutcome(Exchange &exchange);
    Outcome passTurnaround(Exchange &exchange);
    Heard takeEcho(Exchange &exchange);
    Outcome awaitReply(Exchange &exchange);
    bool isBehindAnother(const Exchange &exchange, const ReplyVerdict &verdict) const;
    Outcome conclude(Exchange &exchange, const ReplyVerdict &verdict);
    Heard receive(Exchange &exchange, qint64 until);
    qint64 earliestEnd(const Exchange &exchange) const;
    void sleepThroughReply(Exchange &exchange, qint64 limit);
    void expectReply(const Exchange &exchange);
    void awaitRest(const Exchange &exchange, int missing, qint64 limit);
    qint64 now();
    bool isPast(qint64 moment);

    Channel &channel;
    const LineSettings settings;
    const CrcFunction crc;
    const qint64 silence;      ///< Microseconds of settings.silentInterval().
    qint64 quietUntil = 0;     ///< No request before this moment.
    bool isOneMissing = false; ///< The last reply did not come (whole), and may still.
    qint64 latest = 0;         ///< What the clock showed last.
    qint64 lastByteAt = -1;    ///< Of either side; -1 = not known since the port was opened.
    int steadyReplies = 0;     ///< In a row that came byte by byte and soon.
    int sleeps = 0;            ///< Replies since, through which the host slept.
    qint64 replyDelay = 0;     ///< How long after its earliest end the next one is expected.
};

/// "good", "no-reply", "timeout", "crc", "length", "exception", "port".
QString outcomeName(Outcome outcome);
