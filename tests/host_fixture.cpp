#include "tests/host_fixture.h"

int readRegister(int devType, const char *addrText, QByteArray *values, int count, int station)
{
    return GetRegisterData(0, devType, QString::fromLatin1(addrText), station, values, count);
}

void readColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("after");
}

void readRow(const char *name, int devType, const char *addrText, int count, const char *after)
{
    QTest::newRow(name) << devType << QByteArray(addrText) << count << QByteArray() << QString::fromLatin1(after);
}

void overRow(const char *name, int devType, const char *addrText, int count, const char *before, const char *after)
{
    QTest::newRow(name) << devType << QByteArray(addrText) << count << hex(before) << QString::fromLatin1(after);
}

void checkHostRead()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, count);
    QFETCH(QByteArray, before);
    QByteArray values = before;
    QCOMPARE(readRegister(devType, addrText.constData(), &values, count), 1);
    QTEST(toHex(values), "after");
}

void fillImage()
{
    unsigned char *const bits[] = {PLC_driver.bitImage0, PLC_driver.bitImage1, PLC_driver.bitImage2,
                                   PLC_driver.bitImage3, PLC_driver.bitImage4, PLC_driver.bitImage5,
                                   PLC_driver.bitImage6};
    for (int i = 0; i < 7; ++i)
        bits[i][1] = static_cast<unsigned char>(1 << i);
    PLC_driver.wordImage7[10] = 0x1107;
    PLC_driver.wordImage7[11] = 0x2207;
    PLC_driver.wordImage8[10] = 0x1108;
    PLC_driver.wordImage8[11] = 0x2208;
    PLC_driver.wordImage9[10] = 0x1109;
    PLC_driver.wordImage9[11] = 0x2209;
    PLC_driver.wordImage10[10] = 0x110A;
    PLC_driver.wordImage10[11] = 0x220A;
    PLC_driver.wordImage11[10] = 0x110B;
    PLC_driver.wordImage11[11] = 0x220B;
    PLC_driver.wordImage100[10] = 0x1164;
    PLC_driver.wordImage100[11] = 0x2264;
    PLC_driver.wordImage100[65534] = 0xC001;
    PLC_driver.dwordImage13[10] = 0x44332213;
    PLC_driver.dwordImage13[11] = 0x88776613;
}

void fillStore()
{
    for (int station : {8, 7}) {
        const char *const first = station == 7 ? "06" : "FF";
        PLC_driver.extendVarList << record(station, 0, 8, first) << record(station, 1, 8, first)
                                 << record(station, 2, 8, first) << record(station, 3, 8, first)
                                 << record(station, 4, 8, first) << record(station, 5, 8, first)
                                 << record(station, 6, 8, first);
        for (int devType : {7, 8, 9, 10, 11, 100}) {
            PLC_driver.extendVarList << record(station, devType, 10, station == 7 ? "34 12" : "EE EE");
            PLC_driver.extendVarList << record(station, devType, 11, station == 7 ? "78 56" : "EE EE");
        }
        PLC_driver.extendVarList << record(station, 13, 10, station == 7 ? "33 44 11 22" : "EE EE EE EE");
    }
}

int writeRegister(int devType, const char *addrText, const QByteArray &data, int count, int station)
{
    QByteArray values = data;
    return SetRegisterData(QStringLiteral("name"), devType, QString::fromLatin1(addrText), station, &values, count, 4,
                           9);
}

QString queue()
{
    QStringList entries;
    for (const RW_VAR &var : PLC_driver.writeList)
        entries << summary(QList<RW_VAR>{var}) + QLatin1Char('=') + toHex(var.data);
    return entries.join(QStringLiteral(", "));
}

void writeColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("maxBlockLen");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("returned");
    QTest::addColumn<QString>("after");
}

void writeRow(const char *name, int devType, const char *addrText, int count, int maxBlockLen, const char *data,
              int returned, const char *after)
{
    QTest::newRow(name) << devType << QByteArray(addrText) << count << maxBlockLen << hex(data) << returned
                        << QString::fromLatin1(after);
}

void checkHostWrite(DriverFixture &driver)
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, count);
    QFETCH(int, maxBlockLen);
    QFETCH(QByteArray, data);
    driver.settings.maxBlockLen = maxBlockLen;
    QTEST(writeRegister(devType, addrText.constData(), data, count), "returned");
}

void checkWriteBounds()
{
    QVERIFY2(PLC_driver.writeList.size() <= 1025, qPrintable(QString::number(PLC_driver.writeList.size())));
    qint64 bytes = 0;
    for (const RW_VAR &var : qAsConst(PLC_driver.writeList))
        bytes += var.data.size();
    QVERIFY2(bytes <= 4 * 1048576, qPrintable(QString::number(bytes)));
    QVERIFY(PLC_driver.extendVarList.size() <= 1048576);
    const Protocol *sent = ComCommunication();
    QVERIFY(sent == nullptr || sent->frame.size() <= 65535 + 9);
}
