#include "tests/driver_fixture.h"

#include <new>

QList<RequestDone> DriverFixture::requestsDone;
QList<CommFail> DriverFixture::commFailures;

namespace {

void noteRequestDone(int channelNo, int connectNo, int varId, int status)
{
    DriverFixture::requestsDone.append(RequestDone{channelNo, connectNo, varId, status});
}

void noteCommFail(QList<RW_VAR> &list, int connectNo, int flag)
{
    DriverFixture::commFailures.append(CommFail{list.size(), connectNo, flag});
}

void makeDriverAnew()
{
    PLC_driver.~Emerson_EC_Series();
    new (&PLC_driver) Emerson_EC_Series;
}

} // namespace

DriverFixture::DriverFixture()
{
    makeDriverAnew();
    requestsDone.clear();
    commFailures.clear();
    settings.maxBlockLen = 32;
    settings.plcStation = 1;
    settings.ownStation = 1;
    settings.writeMode = 2;
    SetComInfo(&settings);
    RegistCallBackFuncIntf(noteRequestDone, noteCommFail);
}

DriverFixture::~DriverFixture()
{
    makeDriverAnew();
}

RW_VAR readVar(int devType, int address, int count, int station)
{
    RW_VAR var;
    var.panelStation = 1;
    var.devType = devType;
    var.address = address;
    var.count = count;
    var.station = station;
    return var;
}

RW_VAR writeVar(int devType, int address, int count, const QByteArray &data, int station)
{
    RW_VAR var = readVar(devType, address, count, station);
    var.rwFlag = 1;
    var.data = data;
    return var;
}

VARDESC description(int devType, const char *addrText, int count, int station)
{
    VARDESC desc;
    desc.devType = static_cast<unsigned char>(devType);
    desc.station = static_cast<unsigned char>(station);
    desc.addrText = QString::fromLatin1(addrText);
    desc.count = count;
    return desc;
}

QString summary(const QList<RW_VAR> &list)
{
    QStringList entries;
    for (const RW_VAR &var : list)
        entries << QString::fromLatin1("%1/%2/%3@%4").arg(var.devType).arg(var.address).arg(var.count).arg(var.station);
    return entries.join(QLatin1Char(' '));
}
