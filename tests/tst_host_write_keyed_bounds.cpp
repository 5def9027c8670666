/// Host writes with counts beyond what the keyed store can take, each mirrored at once because the link fails.
#include "driver/emerson_ec_series.h"

#include "tests/host_fixture.h"

#include <climits>

class TstHostWriteKeyedBounds : public QObject {
    Q_OBJECT

private slots:
    void hugeKeyedCountsAreBounded_data();
    void hugeKeyedCountsAreBounded();
};

void TstHostWriteKeyedBounds::hugeKeyedCountsAreBounded_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("maxBlockLen");
    QTest::newRow("keyed bits") << 3 << QByteArray("0") << 32;
    QTest::newRow("keyed word bits") << 15 << QByteArray("0.0") << 32;
    QTest::newRow("keyed words one by one") << 7 << QByteArray("0") << 1;
    QTest::newRow("keyed words in one block") << 8 << QByteArray("0") << 0;
    QTest::newRow("keyed pairs") << 12 << QByteArray("0") << 2;
    QTest::newRow("keyed values") << 13 << QByteArray("200") << 32;
    QTest::newRow("keyed, the largest address") << 7 << QByteArray("2147483647") << 32;
}

void TstHostWriteKeyedBounds::hugeKeyedCountsAreBounded()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, maxBlockLen);
    DriverFixture driver;
    driver.settings.maxBlockLen = maxBlockLen;
    driver.settings.stationScope = 1;
    driver.settings.remoteMode = 1;
    PLC_driver.failFlag = true;
    writeRegister(devType, addrText.constData(), hex("01 00 01 00"), INT_MAX);
    checkWriteBounds();
}

QTEST_APPLESS_MAIN(TstHostWriteKeyedBounds)
#include "tst_host_write_keyed_bounds.moc"
