// The simulated PLC's stations: any bytes in pieces with pauses between them, sealed requests among them, in both
// formats, with faults and in time.
#include "driver/checksum.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/input.h"
#include "sim/modbus_station.h"
#include "sim/remote_station.h"
#include "sim/wire.h"

namespace {

enum { MostRules = 3, LongestWait = 1 << 20 };

/// Copies share its cells until they write.
const Slave &pristine(RequestFormat format)
{
    static const auto made = [](RequestFormat format) {
        Slave slave(format);
        slave.addStation(1);
        slave.addStation(2)->showEpochs();
        LiveCell cell;
        QString error;
        for (const char *const text : {"counter32@112", "sine@102", "toggle@8", "echo@103=100", "coil-echo@9=1215"}) {
            DEMAND(LiveCell::parse(QString::fromLatin1(text), &cell, &error));
            slave.memory(1)->addLiveCell(cell);
        }
        slave.memory(1)->addStuckCell(9010);
        return slave;
    };
    static const Slave modbus = made(RequestFormat::ModbusRtu), remote = made(RequestFormat::Remote);
    return format == RequestFormat::Remote ? remote : modbus;
}

QByteArray modbusRequest(Input &input)
{
    const char functions[] = {1, 3, 5, 6, 15, 16};
    QByteArray request;
    request.append(char(input.below(4)));
    request.append(input.oneIn(16) ? char(input.byte()) : functions[input.below(sizeof functions)]);
    request.append(input.bytes(2));
    request.append(input.oneIn(4) ? '\1' : '\0').append(char(input.byte()));
    if (request.at(1) >= 15) {
        const int bytes = input.oneIn(4) ? input.byte() : input.below(12);
        request.append(char(bytes)).append(input.bytes(bytes));
    }
    return withLineCheck(request);
}

QByteArray remoteRequest(Input &input)
{
    RW_VAR var = input.record(input.byte() & 1);
    QByteArray values = var.rwFlag == 1 ? input.bytes(input.below(40)) : QByteArray();
    QByteArray request;
    request.append(char(22 + values.size())).append(char(var.connectNo)).append(char(var.rwFlag));
    request.append(char(var.panelStation)).append(char(var.station));
    for (const int word : {var.devType, var.address >> 16, var.address, var.count, 0, var.subIndex, 0, 0})
        request.append(char(word >> 8)).append(char(word));
    request.append(values);
    const auto length = static_cast<unsigned short>(request.size());
    return request.append(char(CalSUM(reinterpret_cast<unsigned char *>(request.data()), length)));
}

QByteArray piece(Input &input, RequestFormat format)
{
    const int choice = input.below(8);
    if (choice == 0)
        return input.bytes(input.byte());
    QByteArray request = format == RequestFormat::Remote ? remoteRequest(input) : modbusRequest(input);
    return choice == 1 ? request.left(input.below(16)) : request;
}

void demandSound(const SlaveAnswer &answer)
{
    DEMAND(!answer.request.isEmpty());
    DEMAND(answer.reply.isEmpty() || (lineCheckIsGood(answer.reply) && answer.station == uchar(answer.reply.at(0))));
    DEMAND(answer.reply.size() <= 5 + RemoteValueBytes);
    DEMAND(!answer.reply.isEmpty() || !answer.isException);
}

void demandCounted(const SlaveStatistics &counted, qint64 bytes)
{
    DEMAND(counted.requests == counted.replies && counted.exceptions <= counted.replies);
    DEMAND(counted.garbageBytes <= bytes);
}

/// The stations alone.
void feedSlave(Input &input, RequestFormat format)
{
    Slave slave = pristine(format);
    qint64 bytes = 0;
    while (!input.isAtEnd()) {
        const QByteArray next = piece(input, format);
        bytes += next.size();
        for (const SlaveAnswer &answer : slave.receive(next))
            demandSound(answer);
        if (!input.oneIn(3))
            continue;
        for (const SlaveAnswer &answer : slave.lineQuiet())
            demandSound(answer);
        DEMAND(!slave.isPending());
        slave.advanceTo(input.anyInt());
    }
    demandCounted(slave.statistics(), bytes);
}

FaultRule rule(Input &input)
{
    FaultRule result;
    result.kind = faultByName(faultNames().at(input.byte() % faultNames().size()));
    result.rate = input.oneIn(2) ? 1 : 0.5;
    result.station = input.oneIn(4) ? 1 : -1;
    result.at = input.oneIn(2) ? input.byte() : -1;
    result.code = input.oneIn(2) ? input.byte() : -1;
    result.milliseconds = input.oneIn(4) ? 1 + input.byte() : 0;
    return result;
}

/// The same on a line in time, with faults.
void feedWire(Input &input, RequestFormat format)
{
    Slave slave = pristine(format);
    Faults faults(quint32(input.byte()));
    for (int i = input.below(MostRules + 1); i > 0; --i)
        faults.add(rule(input));
    WireSettings settings;
    settings.baud = input.oneIn(4) ? 0 : 19200;
    settings.answerMicroseconds = 100 * input.byte();
    Wire wire(slave, faults, settings);
    qint64 now = 0, sent = 0, arrived = 0;
    while (!input.isAtEnd()) {
        const QByteArray next = piece(input, format);
        sent += next.size();
        wire.receive(next, now);
        const qint64 moment = wire.nextMoment();
        now = input.oneIn(2) && moment > now ? moment : now + (input.anyInt() & (LongestWait - 1));
        arrived += wire.advance(now).size();
        if (input.oneIn(32))
            wire.takePortAway(now, 1 + input.byte());
        if (input.oneIn(32))
            wire.setPlugged(input.oneIn(2));
        if (input.oneIn(32))
            wire.setAnswering(1, input.oneIn(2));
    }
    DEMAND(wire.bytesSent() == arrived && wire.nextMoment() >= -1);
    demandCounted(slave.statistics(), sent);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const RequestFormat format = input.oneIn(2) ? RequestFormat::Remote : RequestFormat::ModbusRtu;
    if (input.oneIn(2))
        feedSlave(input, format);
    else
        feedWire(input, format);
    return 0;
}
