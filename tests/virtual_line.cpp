#include "tests/virtual_line.h"

bool VirtualLine::open(QString *error)
{
    openings << moment;
    wire.advance(moment);
    if (wire.isPortGone()) {
        *error = QLatin1String("the port is gone");
        return false;
    }
    waiting.clear();
    opened = true;
    return true;
}

bool VirtualLine::send(const QByteArray &bytes)
{
    if (!isOpen())
        return false;
    wire.receive(bytes, moment);
    return true;
}

QByteArray VirtualLine::receiveUntil(qint64 until)
{
    waiting += wire.advance(moment);
    while (waiting.isEmpty() && isOpen() && moment < until)
        passToNext(until);
    const QByteArray bytes = waiting;
    waiting.clear();
    return bytes;
}

void VirtualLine::restUntil(qint64 until)
{
    while (isOpen() && moment < until)
        passToNext(until);
}

void VirtualLine::sleepUntil(qint64 until)
{
    while (moment < until)
        passToNext(until);
}

void VirtualLine::callAt(qint64 when, std::function<void()> what)
{
    calls.insert(when, std::move(what));
}

/// To the moment, or to the next one before it at which something comes.
void VirtualLine::passToNext(qint64 until)
{
    const qint64 next = wire.nextMoment();
    passTo(next >= 0 && next < until ? qMax(next, moment) : until);
}

void VirtualLine::passTo(qint64 until)
{
    while (!calls.isEmpty() && calls.firstKey() <= until) {
        moment = qMax(moment, calls.firstKey());
        const auto call = calls.take(calls.firstKey());
        waiting += wire.advance(moment);
        call();
    }
    moment = qMax(moment, until);
    waiting += wire.advance(moment);
    if (!isOpen())
        waiting.clear();
}
