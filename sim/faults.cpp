#include "sim/faults.h"

namespace {

enum { ExceptionBit = 0x80, ReadReplyHead = 3, CrcBytes = 2, MostExtraBytes = 8, MostReadBytes = 250 };

int byteAt(const QByteArray &bytes, int at)
{
    return quint8(bytes.at(at));
}

/// The reply with its last two bytes replaced by the CRC of those before, low byte first.
QByteArray resealed(QByteArray reply)
{
    reply.chop(CrcBytes);
    quint16 crc = 0xFFFF;
    for (const char byte : reply) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? quint16(crc >> 1 ^ 0xA001) : quint16(crc >> 1);
    }
    return reply.append(char(crc & 0xFF)).append(char(crc >> 8));
}

bool isException(const QByteArray &reply)
{
    return byteAt(reply, 1) & ExceptionBit;
}

QByteArray crcSwapped(QByteArray reply)
{
    const int low = reply.size() - 2, high = reply.size() - 1;
    std::swap(reply.data()[low], reply.data()[high]);
    // Two equal bytes look the same in either order.
    if (reply.at(low) == reply.at(high))
        reply[high] = char(byteAt(reply, high) ^ 0xFF);
    return reply;
}

qint64 microsecondsOf(const FaultRule &rule)
{
    return qint64(rule.milliseconds > 0 ? rule.milliseconds : ownMilliseconds(rule.kind)) * 1000;
}

Output piece(const QByteArray &bytes, qint64 afterMicroseconds = 0, bool isEcho = false)
{
    Output output;
    output.afterMicroseconds = afterMicroseconds;
    output.bytes = bytes;
    output.isEcho = isEcho;
    return output;
}

} // namespace

// Not std::uniform_int_distribution, whose results differ between libraries: a seed stands for the same script
// anywhere.
int Faults::below(int limit)
{
    return int(random() % std::mt19937::result_type(limit));
}

QByteArray Faults::someBytes(int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(below(256)));
    return bytes;
}

QByteArray Faults::takeHeldBack()
{
    QByteArray bytes = heldBack;
    heldBack.clear();
    return bytes;
}

QVector<FaultDone> Faults::takeLedger()
{
    QVector<FaultDone> taken;
    taken.swap(done);
    return taken;
}

bool Faults::hits(const FaultRule &rule, const SlaveAnswer &answer)
{
    if (counted < rule.first || (rule.last >= 0 && counted > rule.last))
        return false;
    if (rule.station >= 0 && rule.station != answer.station)
        return false;
    if (rule.kind == FaultKind::Truncated && rule.at >= answer.reply.size())
        return false;
    if (rule.kind == FaultKind::WrongByteCount && isException(answer.reply))
        return false;
    if (rule.kind == FaultKind::Exception && isException(answer.reply) && rule.code == byteAt(answer.reply, 2))
        return false;
    // With a reply already held back this one releases it: rate 1 gives pairs, not an endless heap.
    if (rule.kind == FaultKind::Joined && !heldBack.isEmpty())
        return false;
    return rule.rate >= 1 || random() < rule.rate * 4294967296.0;
}

const FaultRule *Faults::ruleFor(const SlaveAnswer &answer)
{
    for (const FaultRule &rule : qAsConst(rules))
        if (hits(rule, answer))
            return &rule;
    return nullptr;
}

QVector<Output> Faults::outputFor(const SlaveAnswer &answer)
{
    goneMilliseconds = 0;
    if (answer.reply.size() < ReadReplyHead + CrcBytes)
        return {};
    const FaultRule *const rule = ruleFor(answer);
    QVector<Output> outputs;
    if (rule)
        outputs = withFault(*rule, answer);
    else
        outputs << piece(takeHeldBack() + answer.reply);
    if (rule) {
        FaultDone entry{counted, rule->kind, answer.station, answer.function, 0};
        for (const Output &output : qAsConst(outputs))
            entry.bytes += output.bytes.size();
        done << entry;
    }
    ++counted;
    return outputs;
}

QVector<Output> Faults::withFault(const FaultRule &rule, const SlaveAnswer &answer)
{
    const QByteArray &reply = answer.reply;
    switch (rule.kind) {
    case FaultKind::Drop:
        return {};
    case FaultKind::PortGone:
        goneMilliseconds = int(microsecondsOf(rule) / 1000);
        heldBack.clear();
        return {};
    case FaultKind::Joined:
        heldBack = reply;
        return {};
    case FaultKind::HalfThenNext: {
        const QByteArray sent = takeHeldBack() + reply.left(reply.size() / 2);
        heldBack = reply.mid(reply.size() / 2);
        return {piece(sent)};
    }
    case FaultKind::Delay:
    case FaultKind::Late:
        return {piece(takeHeldBack() + reply, microsecondsOf(rule))};
    case FaultKind::Noise: {
        const QByteArray noise = someBytes(1 + below(MostExtraBytes));
        return {piece(takeHeldBack() + reply), piece(noise, microsecondsOf(rule))};
    }
    case FaultKind::Echo:
        return {piece(answer.request, 0, true), piece(takeHeldBack() + reply)};
    case FaultKind::Truncated: {
        const QByteArray sent = takeHeldBack() + damaged(rule, answer);
        return sent.isEmpty() ? QVector<Output>() : QVector<Output>{piece(sent)};
    }
    case FaultKind::None:
    case FaultKind::Duplicate:
    case FaultKind::CrcSwapped:
    case FaultKind::BitFlipped:
    case FaultKind::ExtraBefore:
    case FaultKind::ExtraAfter:
    case FaultKind::WrongStation:
    case FaultKind::WrongFunction:
    case FaultKind::WrongByteCount:
    case FaultKind::Exception:
        break;
    }
    return {piece(takeHeldBack() + damaged(rule, answer))};
}

QByteArray Faults::damaged(const FaultRule &rule, const SlaveAnswer &answer)
{
    const QByteArray &reply = answer.reply;
    switch (rule.kind) {
    case FaultKind::Duplicate:
        return reply + reply;
    case FaultKind::CrcSwapped:
        return crcSwapped(reply);
    case FaultKind::BitFlipped:
        return bitFlipped(reply);
    case FaultKind::Truncated:
        return reply.left(rule.at >= 0 ? rule.at : 1 + below(reply.size() - 1));
    case FaultKind::ExtraBefore:
        return someBytes(1 + below(MostExtraBytes)) + reply;
    case FaultKind::ExtraAfter:
        return reply + someBytes(1 + below(MostExtraBytes));
    case FaultKind::WrongStation:
        return wrongStation(reply);
    case FaultKind::WrongFunction:
        return wrongFunction(reply);
    case FaultKind::WrongByteCount:
        return wrongByteCount(reply);
    case FaultKind::Exception:
        return exception(rule, reply);
    case FaultKind::None:
    case FaultKind::Drop:
    case FaultKind::Delay:
    case FaultKind::Late:
    case FaultKind::Noise:
    case FaultKind::HalfThenNext:
    case FaultKind::Joined:
    case FaultKind::Echo:
    case FaultKind::PortGone:
        break;
    }
    return reply;
}

QByteArray Faults::bitFlipped(QByteArray reply)
{
    const int bit = below(reply.size() * 8);
    reply[bit / 8] = char(byteAt(reply, bit / 8) ^ 1 << bit % 8);
    return reply;
}

QByteArray Faults::wrongStation(QByteArray reply)
{
    QList<int> others;
    for (int station = 1; station <= 247; ++station)
        if (station != byteAt(reply, 0) && !ownStations.contains(station))
            others << station;
    // A line full of stations leaves only the numbers that no station may have.
    reply[0] = char(others.isEmpty() ? 248 : others.at(below(others.size())));
    return resealed(reply);
}

QByteArray Faults::wrongFunction(QByteArray reply)
{
    QList<int> others{1, 2, 3, 4, 5, 6, 15, 16};
    others.removeAll(byteAt(reply, 1) & ~int(ExceptionBit));
    reply[1] = char((byteAt(reply, 1) & ExceptionBit) | others.at(below(others.size())));
    return resealed(reply);
}

QByteArray Faults::wrongByteCount(QByteArray reply)
{
    if (byteAt(reply, 1) > 4) {
        // An echo of a write: one bit of address or value.
        const int bit = below(32);
        reply[2 + bit / 8] = char(byteAt(reply, 2 + bit / 8) ^ 1 << bit % 8);
        return resealed(reply);
    }
    int count = 1 + below(MostReadBytes - 1);
    if (count >= byteAt(reply, 2))
        ++count;
    QByteArray data = reply.mid(ReadReplyHead, reply.size() - ReadReplyHead - CrcBytes).left(count);
    data += someBytes(count - data.size());
    return resealed(reply.left(2) + char(count) + data + QByteArray(CrcBytes, '\0'));
}

QByteArray Faults::exception(const FaultRule &rule, const QByteArray &reply)
{
    int code = rule.code;
    if (code < 0) {
        code = 1 + below(4);
        if (isException(reply) && code == byteAt(reply, 2))
            code = code % 4 + 1;
    }
    QByteArray bytes = reply.left(2) + char(code) + QByteArray(CrcBytes, '\0');
    bytes[1] = char(byteAt(reply, 1) | ExceptionBit);
    return resealed(bytes);
}
