#include "sim/slave.h"

#include "sim/frame_bytes.h"
#include "sim/modbus_station.h"
#include "sim/remote_station.h"

PlcMemory *Slave::addStation(int station)
{
    if (!memories.contains(station))
        memories.insert(station, PlcMemory(station)).value().setEpoch(currentEpoch);
    return memory(station);
}

PlcMemory *Slave::memory(int station)
{
    const auto found = memories.find(station);
    return found == memories.end() ? nullptr : &found.value();
}

void Slave::advanceTo(qint64 milliseconds)
{
    for (PlcMemory &memory : memories)
        memory.advanceTo(milliseconds);
}

void Slave::nextEpoch()
{
    ++currentEpoch;
    for (PlcMemory &memory : memories)
        memory.setEpoch(currentEpoch);
}

QList<SlaveAnswer> Slave::receive(const QByteArray &bytes)
{
    QList<SlaveAnswer> answers;
    // Piece by piece, so that a flood is worked off as it comes and never piles up.
    const int piece = 256;
    for (int at = 0; at < bytes.size(); at += piece) {
        pending += bytes.mid(at, piece);
        takeWholeRequests(&answers);
        while (pending.size() > longestRequest()) {
            dropFirstByte();
            takeWholeRequests(&answers);
        }
    }
    return answers;
}

QList<SlaveAnswer> Slave::lineQuiet()
{
    QList<SlaveAnswer> answers;
    if (answerWhatSilenceEnds(&answers))
        return answers;
    while (!pending.isEmpty()) {
        takeWholeRequests(&answers);
        if (!pending.isEmpty())
            dropFirstByte();
    }
    return answers;
}

int Slave::requestLength() const
{
    return format == RequestFormat::Remote ? remoteRequestLength(pending) : modbusRequestLength(pending);
}

int Slave::longestRequest() const
{
    return format == RequestFormat::Remote ? int(LongestRemoteRequest) : int(LongestModbusRequest);
}

bool Slave::isWholeRequest(const QByteArray &frame) const
{
    return format == RequestFormat::Remote ? remoteSumIsGood(frame) : lineCheckIsGood(frame);
}

/// Where a Modbus request with an unknown function ends, or a remote write with a value of a wrong length, only the
/// silence behind it tells.
bool Slave::answerWhatSilenceEnds(QList<SlaveAnswer> *answers)
{
    if (requestLength() != -1 || !isWholeRequest(pending))
        return false;
    if (format == RequestFormat::Remote && !isRemoteWrite(pending))
        return false;
    answers->append(answer(pending));
    pending.clear();
    return true;
}

void Slave::takeWholeRequests(QList<SlaveAnswer> *answers)
{
    for (;;) {
        const int length = requestLength();
        if (length <= 0 || length > pending.size() || !isWholeRequest(pending.left(length)))
            return;
        answers->append(answer(pending.left(length)));
        pending.remove(0, length);
    }
}

void Slave::dropFirstByte()
{
    pending.remove(0, 1);
    ++counted.garbageBytes;
}

QByteArray Slave::carryOut(PlcMemory &memory, const QByteArray &request) const
{
    return format == RequestFormat::Remote ? carryOutRemote(memory, request) : carryOutModbus(memory, request);
}

SlaveAnswer Slave::answer(const QByteArray &request)
{
    const bool isRemote = format == RequestFormat::Remote;
    SlaveAnswer given;
    given.request = request;
    given.station = isRemote ? remoteStationOf(request) : byteOf(request, 0);
    given.function = isRemote ? 0 : byteOf(request, 1);
    if (given.station == 0) {
        ++counted.broadcasts;
        for (PlcMemory &memory : memories)
            carryOut(memory, request);
        return given;
    }
    PlcMemory *const addressed = memory(given.station);
    if (!addressed) {
        ++counted.otherStations;
        return given;
    }
    const QByteArray reply = carryOut(*addressed, request);
    if (isRemote)
        given.function = byteOf(reply, 0) & 0x7F;
    given.isException = byteOf(reply, 0) >= 0x80;
    given.reply = withLineCheck(QByteArray(1, char(given.station)).append(reply));
    ++counted.requests;
    ++counted.replies;
    counted.exceptions += given.isException;
    return given;
}
