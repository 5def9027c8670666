#include "tests/list_fixture.h"

RW_VAR markedVar(int devType, int address, int count, const QByteArray &data)
{
    RW_VAR var = writeVar(devType, address, count, data, 4);
    var.connectNo = 2;
    var.varId = 3;
    var.hostWord3 = 5;
    var.panelStation = 6;
    var.resultCode = 8;
    var.nameText = QStringLiteral("name");
    var.addrText = QStringLiteral("text");
    var.subIndex = -1;
    var.hostWord13 = 9;
    return var;
}

QString marks(const RW_VAR &var)
{
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 ")
               .arg(var.connectNo)
               .arg(var.varId)
               .arg(var.rwFlag)
               .arg(var.hostWord3)
               .arg(var.panelStation)
               .arg(var.resultCode)
               .arg(var.nameText, var.addrText)
           + QStringLiteral("%1 %2 %3 %4 %5")
                 .arg(var.devType)
                 .arg(var.station)
                 .arg(var.subIndex)
                 .arg(var.hostWord13)
                 .arg(toHex(var.data));
}

RW_VAR onceVar(int devType, const char *addrText, int count, int callerAddress, int station)
{
    RW_VAR var = readVar(devType, callerAddress, count, station);
    var.connectNo = 2;
    var.varId = 3;
    var.addrText = QString::fromLatin1(addrText);
    return var;
}

int askOnce(RW_VAR var, int mode)
{
    return AddListOnceReadVar(&var, mode);
}

void queueOnceReads(int length)
{
    for (int i = 0; i < length; ++i)
        PLC_driver.onceReadList << readVar(7, 10000 + i, 1);
}

QString built(DriverFixture &driver, int scope, int maxBlockLen, Descriptions descriptions)
{
    driver.settings.stationScope = scope;
    driver.settings.maxBlockLen = maxBlockLen;
    driver.settings.plcStation = 7;
    const int length = ReCreatReadVarList(descriptions);
    if (length != PLC_driver.readList.size())
        return QStringLiteral("returned %1, not the length of the list").arg(length);
    return summary(PLC_driver.readList);
}

void addBuildColumns()
{
    QTest::addColumn<int>("maxBlockLen");
    QTest::addColumn<Descriptions>("descriptions");
    QTest::addColumn<QString>("expected");
}
