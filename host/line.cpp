#include "host/line.h"

namespace {

/// A reply of unknown length has ended after this long at least: adapters hand over what they get in pieces.
constexpr qint64 AnyLengthSilence = 20000;
constexpr int LongestReply = 256;

enum {
    SteadyReplies = 4, ///< So many in a row came alike before the host sleeps through the next.
    SleepsInARow = 16  ///< Then it stays awake for one, to see how soon it comes.
};

qint64 microseconds(qint64 milliseconds)
{
    return milliseconds * 1000;
}

/// True when only further bytes can change the verdict: there is something for the driver.
bool isWhole(ReplyKind kind)
{
    return kind != ReplyKind::Incomplete && kind != ReplyKind::Foreign;
}

} // namespace

struct Line::Exchange {
    explicit Exchange(const Request &request) : request(request) {}

    const Request &request;
    Transaction result;
    qint64 requestEnd = 0;  ///< When the last byte of the request has left.
    QByteArray bytes;       ///< What came and is neither judged nor discarded yet.
    qint64 bytesAt = 0;     ///< When the first of them came.
    bool hasSlept = false;  ///< Until the reply was expected: silences before that are not known.
    bool wasInTime = false; ///< As many bytes as the reply has were there then.

    void discard(Discarded::Reason reason, int count)
    {
        if (count > 0)
            result.discarded.append({reason, bytes.left(count), bytesAt});
        bytes.remove(0, count);
    }
    void discardAll(Discarded::Reason reason) { discard(reason, bytes.size()); }
};

Line::Line(Channel &channel, const LineSettings &settings, CrcFunction crc)
    : channel(channel), settings(settings), crc(crc), silence(settings.silentInterval())
{
}

Transaction Line::transact(const Request &request)
{
    Exchange exchange(request);
    Transaction &result = exchange.result;
    result.outcome = Outcome::PortGone;
    if (listenForSilence(exchange) && send(exchange))
        result.outcome = awaitOutcome(exchange);
    result.doneAt = now();

    expectReply(exchange);
    if (result.outcome == Outcome::PortGone) {
        exchange.discardAll(Discarded::Noise);
        lastByteAt = -1;
    }
    // What is still missing may come yet, and would look like the answer to the next request.
    const bool isCutOff =
        result.outcome == Outcome::WrongLength && (request.replyLen < 0 || result.reply.size() < request.replyLen);
    const bool isMissing = result.outcome == Outcome::Timeout || isCutOff;
    // The first good answer afterwards may be that late one, or be followed by it: one more window.
    if (isMissing || isOneMissing)
        quietUntil = result.doneAt + microseconds(settings.lateWindow);
    isOneMissing = isMissing;
    return result;
}

/// False when the port is gone.
bool Line::listenForSilence(Exchange &exchange)
{
    const qint64 start = now();
    if (lastByteAt < 0)
        lastByteAt = start;
    // A line that is never silent must not stop the panel for ever: its requests then fail, and are counted.
    const qint64 patience = microseconds(qint64(settings.replyTimeout) + settings.lateWindow);
    const qint64 giveUpAt = qMax(start, quietUntil) + qMax(patience, silence);
    for (;;) {
        const qint64 burstEnd = lastByteAt + silence;
        const qint64 until = exchange.bytes.isEmpty() ? qMax(quietUntil, burstEnd) : burstEnd;
        const Heard heard = receive(exchange, qMin(until, giveUpAt));
        if (heard == Heard::Bytes && lastByteAt < giveUpAt)
            continue;
        exchange.discardAll(exchange.bytesAt < quietUntil ? Discarded::Late : Discarded::BeforeRequest);
        if (heard == Heard::PortGone)
            return false;
        if (isPast(qMin(qMax(quietUntil, lastByteAt + silence), giveUpAt)))
            return true;
    }
}

/// False when the port is gone.
bool Line::send(Exchange &exchange)
{
    const QByteArray &frame = exchange.request.frame;
    exchange.result.sentAt = now();
    if (!channel.send(frame))
        return false;
    // The system takes the bytes at once; they leave at the baud rate.
    exchange.requestEnd = now() + settings.charactersTime(frame.size());
    lastByteAt = exchange.requestEnd;
    return true;
}

Outcome Line::awaitOutcome(Exchange &exchange)
{
    if (exchange.request.replyLen == 0)
        return passTurnaround(exchange);
    if (settings.hasEcho) {
        const Heard echo = takeEcho(exchange);
        if (echo != Heard::Bytes)
            return echo == Heard::PortGone ? Outcome::PortGone : Outcome::Timeout;
    }
    return awaitReply(exchange);
}

Outcome Line::passTurnaround(Exchange &exchange)
{
    const qint64 until = exchange.requestEnd + microseconds(settings.turnaround);
    while (!isPast(until))
        if (receive(exchange, until) == Heard::PortGone)
            return Outcome::PortGone;
    if (settings.hasEcho) {
        exchange.result.echoMissing = !exchange.bytes.startsWith(exchange.request.frame);
        if (!exchange.result.echoMissing)
            exchange.discard(Discarded::Echo, exchange.request.frame.size());
    }
    exchange.discardAll(Discarded::Foreign);
    return Outcome::NoReplyExpected;
}

/// Bytes when the echo came and was removed. One that differs is waited out like one that is missing: the PLC may have
/// understood the request all the same, and its answer must not meet the next one.
Line::Heard Line::takeEcho(Exchange &exchange)
{
    const QByteArray &frame = exchange.request.frame;
    const qint64 until = exchange.requestEnd + microseconds(settings.replyTimeout);
    bool isOver = false;
    while (!exchange.bytes.startsWith(frame) && !isOver) {
        if (receive(exchange, until) == Heard::PortGone)
            return Heard::PortGone;
        isOver = isPast(until);
    }
    if (!exchange.bytes.startsWith(frame)) {
        exchange.discardAll(Discarded::Echo);
        exchange.result.echoMissing = true;
        return Heard::Nothing;
    }
    exchange.discard(Discarded::Echo, frame.size());
    return Heard::Bytes;
}

Outcome Line::awaitReply(Exchange &exchange)
{
    const Request &request = exchange.request;
    const auto judge = settings.isGuarded ? judgeReply : judgeLength;
    const bool isAnyLength = request.replyLen < 0;
    const qint64 pause = isAnyLength ? qMax(silence, AnyLengthSilence) : silence;
    const qint64 limit = exchange.requestEnd + microseconds(settings.replyTimeout)
                         + settings.charactersTime(isAnyLength ? LongestReply : request.replyLen);
    sleepThroughReply(exchange, limit);
    ReplyVerdict verdict = judge(request, exchange.bytes, crc);
    for (;;) {
        const qint64 end = isWhole(verdict.kind) ? limit + pause : limit;
        const qint64 until = verdict.kind == ReplyKind::Incomplete ? end : qMin(lastByteAt + pause, end);
        awaitRest(exchange, verdict.missing, limit);
        const Heard heard = receive(exchange, until);
        if (heard == Heard::PortGone)
            return Outcome::PortGone;
        if (heard == Heard::Bytes) {
            verdict = judge(request, exchange.bytes, crc);
            if (lastByteAt < (isWhole(verdict.kind) ? limit + pause : limit))
                continue;
        } else if (!isPast(until)) {
            continue;
        }
        if (verdict.kind != ReplyKind::Foreign)
            return conclude(exchange, verdict);
        exchange.discardAll(Discarded::Foreign);
        verdict = ReplyVerdict();
        if (isPast(limit))
            return Outcome::Timeout;
    }
}

/// True when right before the answer stands a different one, or an exception reply.
bool Line::isBehindAnother(const Exchange &exchange, const ReplyVerdict &verdict) const
{
    const QByteArray before = exchange.bytes.left(verdict.start);
    const ReplyVerdict other = judgeReply(exchange.request, before, crc);
    const bool isAnswer = other.kind == ReplyKind::Good || other.kind == ReplyKind::Exception;
    return isAnswer && before.mid(other.start) != exchange.bytes.mid(verdict.start);
}

/// Hands over what the driver shall see.
Outcome Line::conclude(Exchange &exchange, const ReplyVerdict &verdict)
{
    // In one burst the later of two counts. While the host slept it may have been two bursts, and then the earlier.
    if (exchange.hasSlept && isBehindAnother(exchange, verdict)) {
        exchange.discardAll(Discarded::Noise);
        return Outcome::WrongLength;
    }
    exchange.discard(Discarded::Noise, verdict.start);
    Transaction &result = exchange.result;
    result.reply = exchange.bytes;
    result.exceptionCode = verdict.exceptionCode;
    switch (verdict.kind) {
    case ReplyKind::Good:
        // Without pacing an answer is there before the request would have left.
        result.replyTime = qMax<qint64>(0, lastByteAt - exchange.requestEnd);
        return Outcome::Good;
    case ReplyKind::Exception:
        return Outcome::Exception;
    case ReplyKind::BadCrc:
        return Outcome::BadCrc;
    case ReplyKind::TooLong:
        return Outcome::WrongLength;
    case ReplyKind::Incomplete:
    case ReplyKind::Foreign:
        break;
    }
    return result.reply.isEmpty() ? Outcome::Timeout : Outcome::WrongLength;
}

Line::Heard Line::receive(Exchange &exchange, qint64 until)
{
    const QByteArray chunk = channel.receiveUntil(until);
    if (chunk.isEmpty())
        return channel.isOpen() ? Heard::Nothing : Heard::PortGone;
    lastByteAt = now();
    if (exchange.bytes.isEmpty())
        exchange.bytesAt = lastByteAt;
    exchange.bytes += chunk;
    exchange.result.bytesReceived += chunk.size();
    return Heard::Bytes;
}

/// When the reply has ended if it comes at once: a PLC knows by the silence that the request has ended.
qint64 Line::earliestEnd(const Exchange &exchange) const
{
    return exchange.requestEnd + silence + settings.charactersTime(exchange.request.replyLen);
}

/// While replies come byte by byte and hardly later than that, the host sleeps until all of the next one is expected.
/// Whatever else comes, an exception reply or nothing, is then noticed when the reply would have been.
void Line::sleepThroughReply(Exchange &exchange, qint64 limit)
{
    const int length = exchange.request.replyLen;
    if (steadyReplies < SteadyReplies || sleeps >= SleepsInARow || length < 0)
        return;
    exchange.hasSlept = true;
    channel.restUntil(qMin(earliestEnd(exchange) + replyDelay, limit));
    receive(exchange, 0);
    exchange.wasInTime = exchange.bytes.size() >= length;
}

/// Expects the next reply a little later than this one; while replies are there in time, sooner and sooner. How soon
/// they really come shows only to a host that is awake.
void Line::expectReply(const Exchange &exchange)
{
    const qint64 delay = lastByteAt - earliestEnd(exchange);
    const bool isGood = exchange.result.outcome == Outcome::Good && exchange.request.replyLen > 0;
    if (isGood && exchange.hasSlept) {
        ++sleeps;
        replyDelay = exchange.wasInTime ? replyDelay - replyDelay / 4 : delay + silence / 8;
    } else {
        // Where all bytes come at once, or sooner than the baud rate allows, there are few wake-ups to save.
        const qint64 spread = lastByteAt - exchange.bytesAt;
        const bool isPaced = delay >= 0 && 2 * spread >= settings.charactersTime(exchange.request.replyLen - 1);
        const bool isSteady = isGood && isPaced && !settings.hasEcho;
        steadyReplies = isSteady ? qMin(steadyReplies + 1, int(SteadyReplies)) : 0;
        sleeps = 0;
        replyDelay = delay + silence / 8;
    }
    // A PLC that takes longer may do so for any time.
    if (replyDelay >= silence)
        steadyReplies = 0;
}

/// Each byte would wake the host, hundreds of times a reply. What is missing cannot be there before the line has
/// carried it; the first of it may be on its way.
void Line::awaitRest(const Exchange &exchange, int missing, qint64 limit)
{
    // A line that was faster than its baud rate is none: a pseudo-terminal.
    const bool isPaced = lastByteAt >= exchange.requestEnd + settings.charactersTime(exchange.bytes.size());
    if (missing > 1 && isPaced)
        channel.restUntil(qMin(lastByteAt + settings.charactersTime(missing - 1), limit));
}

qint64 Line::now()
{
    latest = channel.now();
    return latest;
}

/// Reads the clock only where what it showed last does not tell.
bool Line::isPast(qint64 moment)
{
    return latest >= moment || now() >= moment;
}

QString outcomeName(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Good:
        return QStringLiteral("good");
    case Outcome::NoReplyExpected:
        return QStringLiteral("no-reply");
    case Outcome::Timeout:
        return QStringLiteral("timeout");
    case Outcome::BadCrc:
        return QStringLiteral("crc");
    case Outcome::WrongLength:
        return QStringLiteral("length");
    case Outcome::Exception:
        return QStringLiteral("exception");
    case Outcome::PortGone:
        return QStringLiteral("port");
    }
    return QString();
}
