/// Which array holds which storage code.
#include "image/areas.h"

#include "tests/driver_fixture.h"

#include <climits>

class TstAreas : public QObject {
    Q_OBJECT

private slots:
    void eachBitCodeHasAnAreaOfItsOwn()
    {
        QCOMPARE(bitArea(0), &PLC_driver.bitImage0[0]);
        QCOMPARE(bitArea(1), &PLC_driver.bitImage1[0]);
        QCOMPARE(bitArea(2), &PLC_driver.bitImage2[0]);
        QCOMPARE(bitArea(3), &PLC_driver.bitImage3[0]);
        QCOMPARE(bitArea(4), &PLC_driver.bitImage4[0]);
        QCOMPARE(bitArea(5), &PLC_driver.bitImage5[0]);
        QCOMPARE(bitArea(6), &PLC_driver.bitImage6[0]);
    }

    void eachWordCodeHasAnAreaOfItsOwn()
    {
        QCOMPARE(wordArea(7), &PLC_driver.wordImage7[0]);
        QCOMPARE(wordArea(8), &PLC_driver.wordImage8[0]);
        QCOMPARE(wordArea(9), &PLC_driver.wordImage9[0]);
        QCOMPARE(wordArea(10), &PLC_driver.wordImage10[0]);
        QCOMPARE(wordArea(11), &PLC_driver.wordImage11[0]);
        QCOMPARE(wordArea(100), &PLC_driver.wordImage100[0]);
    }

    void otherCodesHaveNone()
    {
        for (int code : {INT_MIN, -1, 7, 13, 100, INT_MAX})
            QVERIFY2(bitArea(code) == nullptr, qPrintable(QString::number(code)));
        for (int code : {INT_MIN, -1, 0, 6, 12, 13, 99, 101, INT_MAX})
            QVERIFY2(wordArea(code) == nullptr, qPrintable(QString::number(code)));
    }
};

QTEST_APPLESS_MAIN(TstAreas)
#include "tst_areas.moc"
