#include "tests/frame_fixture.h"

#include "frames/write_request.h"
#include "tests/image_fixture.h"

QString frames()
{
    QStringList all;
    for (const Protocol &request : PLC_driver.protocolList)
        all << toHex(request.frame);
    return all.join(QStringLiteral(" + "));
}

QString lengths(const Protocol &request)
{
    return QStringLiteral("%1/%2/%3/%4")
        .arg(request.frameLen)
        .arg(request.replyLen)
        .arg(request.dataOffset)
        .arg(request.dataLen);
}

QString lengths()
{
    QStringList all;
    for (const Protocol &request : PLC_driver.protocolList)
        all << lengths(request);
    return all.join(QStringLiteral(" + "));
}

QString fields(const RW_VAR &var)
{
    QStringList all;
    for (int word : {var.connectNo, var.varId, var.rwFlag, var.hostWord3, var.panelStation, var.resultCode})
        all << QString::number(word);
    all << var.nameText << var.addrText;
    for (int word : {var.devType, var.address, var.station, var.count, var.subIndex, var.hostWord13})
        all << QString::number(word);
    all << toHex(var.data);
    return all.join(QLatin1Char(','));
}

void addWriteColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("station");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("built");
    QTest::addColumn<QString>("reply");
}

void addWriteRow(const WriteRow &row)
{
    QTest::newRow(row.name) << row.devType << row.address << row.count << row.station << hex(row.data)
                            << QString::fromLatin1(row.built) << QString::fromLatin1(row.reply);
}

RW_VAR writeOfTheRow()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, count);
    QFETCH(int, station);
    QFETCH(QByteArray, data);
    return writeVar(devType, address, count, data, station);
}

void checkBuiltWrite()
{
    DriverFixture driver;
    driver.settings.frameTotal = 77;
    driver.settings.frameDone = 66;
    const RW_VAR entry = writeOfTheRow();
    WriteRegister(&entry);
    QTEST(frames(), "built");
    QTEST(lengths(), "reply");
    QCOMPARE(driver.settings.frameTotal, frames().contains(QLatin1Char('+')) ? 2 : 1);
    QCOMPARE(driver.settings.frameDone, 0);
}

void checkNoWriteIsBuilt(const RW_VAR &entry)
{
    DriverFixture driver;
    driver.settings.frameTotal = 77;
    driver.settings.frameDone = 66;
    WriteRegister(&entry);
    QCOMPARE(PLC_driver.protocolList.size(), 0);
    QCOMPARE(driver.settings.frameTotal, 77);
    QCOMPARE(driver.settings.frameDone, 66);
    QCOMPARE(image() + store(), QString());
}
