#include "tests/exchange_fixture.h"

#include "image/store_reply.h"

const char GoodReply[] = "01 03 02 12 34 B5 33";

RW_VAR named(int connectNo, int varId, RW_VAR var)
{
    var.connectNo = connectNo;
    var.varId = varId;
    return var;
}

RW_VAR namedWrite(int connectNo, int varId, int station)
{
    return named(connectNo, varId, wordWrite(100, station));
}

RW_VAR namedRead(int connectNo, int varId, int station)
{
    return named(connectNo, varId, readVar(7, 100, 1, station));
}

RW_VAR remote(RW_VAR var, int subIndex)
{
    var.panelStation = 5;
    var.subIndex = subIndex;
    return var;
}

RW_VAR wordWrite(int address, int station)
{
    return writeVar(7, address, 1, hex("34 12"), station);
}

QList<RW_VAR> wordWrites(int count)
{
    QList<RW_VAR> list;
    for (int i = 0; i < count; ++i)
        list << wordWrite(100 + i);
    return list;
}

QList<RW_VAR> wordReads(int first, int count)
{
    QList<RW_VAR> list;
    for (int i = 0; i < count; ++i)
        list << readVar(7, first + i, 1);
    return list;
}

QString names(const QList<RW_VAR> &list)
{
    QStringList entries;
    for (const RW_VAR &var : list)
        entries << QStringLiteral("%1.%2@%3").arg(var.connectNo).arg(var.varId).arg(var.station);
    return entries.join(QLatin1Char(' '));
}

QString doneCalls()
{
    QStringList calls;
    for (const RequestDone &call : DriverFixture::requestsDone)
        calls << QStringLiteral("%1/%2.%3=%4").arg(call.channelNo).arg(call.connectNo).arg(call.varId).arg(call.status);
    return calls.join(QLatin1Char(' '));
}

QString failureCalls()
{
    QStringList calls;
    for (const CommFail &call : DriverFixture::commFailures)
        calls << QStringLiteral("%1/%2/%3").arg(call.listLength).arg(call.connectNo).arg(call.flag);
    return calls.join(QLatin1Char(' '));
}

QList<RW_VAR> &listServed(int servedList)
{
    QList<RW_VAR> *lists[] = {&PLC_driver.readList, &PLC_driver.writeList, &PLC_driver.onceReadList};
    return *lists[servedList];
}

QByteArray goodReplyTo(const Protocol &request)
{
    return request.replyLen > 0 ? withCrc(QByteArray(request.replyLen - 2, '\0').toHex().constData()) : QByteArray();
}

int answerWell()
{
    const Protocol *request = ComCommunication();
    if (request == nullptr)
        return -1;
    QByteArray reply = goodReplyTo(*request);
    return DataCom(&reply, reply.size())->resultCode;
}

int timeOut()
{
    if (ComCommunication() == nullptr)
        return -1;
    QByteArray nothing;
    return DataCom(&nothing, 0)->resultCode;
}

QString next()
{
    const Protocol *request = ComCommunication();
    if (request == nullptr)
        return QStringLiteral("-");
    const QString list = QStringLiteral("CWO").mid(PLC_driver.servedList, 1);
    return QStringLiteral("%1:%2").arg(list).arg(request->var.address);
}

void answer()
{
    if (PLC_driver.protocolList.isEmpty())
        return;
    QByteArray reply = goodReplyTo(PLC_driver.protocolList.first());
    QCOMPARE(DataCom(&reply, reply.size())->resultCode, 1);
}

QString nextOf(int calls)
{
    QStringList sent;
    for (int i = 0; i < calls; ++i) {
        sent << next();
        answer();
    }
    return sent.join(QLatin1Char(' '));
}

Protocol &wordReadInFlight()
{
    Protocol request;
    request.frame = hex("01 03 00 64 00 01 C5 D5");
    request.frameLen = 8;
    request.replyLen = 7;
    request.dataOffset = 3;
    request.dataLen = 2;
    request.var = readVar(7, 100, 1);
    request.var.connectNo = 3;
    PLC_driver.protocolList << request;
    return PLC_driver.protocolList.last();
}

void readInFlight(int devType, int address, int dataLen, int station, int subIndex)
{
    Protocol read;
    read.replyLen = dataLen + 5;
    read.dataOffset = 3;
    read.dataLen = dataLen;
    read.var = readVar(devType, address, dataLen / 2, station);
    read.var.subIndex = subIndex;
    PLC_driver.protocolList.append(read);
}

void writeBehind()
{
    Protocol write;
    write.frame = hex("01 06 00 0A 00 00 A9 C8");
    write.frameLen = 8;
    write.replyLen = 8;
    write.var = writeVar(15, 10, 1, hex("01"));
    write.extra20 = 20;
    PLC_driver.protocolList.append(write);
}

void storeReply(const QByteArray &reply)
{
    SaveToLocalDataErea(&reply, queuedBit());
}

Cycle::Cycle(int entries, int stationScope, int remoteMode)
{
    driver.settings.stationScope = stationScope;
    driver.settings.remoteMode = remoteMode;
    driver.settings.ownStation = remoteMode != 0 ? 2 : 1;
    for (RW_VAR var : wordReads(0, entries)) {
        var.addrText = QString::number(var.address);
        var.subIndex = -1;
        AddListReadVar(&var);
    }
    for (int i = 0; i < entries; ++i)
        replies += goodReplyTo(*ComCommunication());
}

void Cycle::turn()
{
    for (QByteArray &reply : replies)
        turnOnce(reply);
}

void Cycle::turnOnce(QByteArray &reply)
{
    ComCommunication();
    DataCom(&reply, reply.size());
}
