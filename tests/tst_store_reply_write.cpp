/// The bit that a word read puts into the write behind it.
#include "image/store_reply.h"

#include "driver/emerson_ec_series.h"
#include "tests/exchange_fixture.h"
#include "tests/image_fixture.h"

class TstStoreReplyWrite : public QObject {
    Q_OBJECT

private slots:
    void wordReadCompletesTheWriteBehindIt_data();
    void wordReadCompletesTheWriteBehindIt();
    void withoutAQueuedWriteTheWordGoesBackAsRead();
    void queueEmptiedMeanwhileSendsTheWordBackAsRead();
    void completedFrameIsAsOnTheWire();
    void completionTouchesOnlyFourFrameBytes();
    void completionGrowsAFrameThatIsTooShort();
    void lastOfSeveralWordsReadCompletesTheKeyedWrite();
    void lastWholeWordReadCompletesTheWrite();
    void imageModePatchesWhateverTheSubIndex();
    void keyedModePatchesOnlyWithSubIndexMinusOne();
    void aLoneReadPatchesNothing();
    void otherCodesPatchNothing();
    void bitWriteRunsThroughTheCycle();
};

void TstStoreReplyWrite::wordReadCompletesTheWriteBehindIt_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("bitAddress");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("imageAfter");
    QTest::addColumn<QString>("storeAfter");
    const auto row = [](const char *name, const char *word, int bitAddress, const char *data, const char *value,
                        const char *imageAfter, const char *storeAfter) {
        QTest::newRow(name) << withCrc(("01 03 02 " + QByteArray(word)).constData()) << bitAddress << hex(data)
                            << withCrc(("01 06 00 0A " + QByteArray(value)).constData())
                            << QString::fromLatin1(imageAfter) << QString::fromLatin1(storeAfter);
    };
    row("bit 3 set in 0000", "00 00", 163, "01", "00 08", "", "1/7/10=00 00");
    row("bit 3 set in 0100", "01 00", 163, "01", "01 08", "word7[10]=0100", "1/7/10=00 01");
    row("bit 3 set already", "00 08", 163, "01", "00 08", "word7[10]=0008", "1/7/10=08 00");
    row("bit 3 cleared", "FF FF", 163, "00", "FF F7", "word7[10]=ffff", "1/7/10=FF FF");
    row("bit 0 set", "00 00", 160, "01", "00 01", "", "1/7/10=00 00");
    row("bit 15 set", "00 00", 175, "01", "80 00", "", "1/7/10=00 00");
    row("bit 15 cleared", "FF FF", 175, "00", "7F FF", "word7[10]=ffff", "1/7/10=FF FF");
    row("2 leaves the word as read", "12 34", 163, "02", "12 34", "word7[10]=1234", "1/7/10=34 12");
    row("2 leaves a set bit", "12 3C", 163, "02", "12 3C", "word7[10]=123c", "1/7/10=3C 12");
    row("FF leaves the word as read", "12 3C", 163, "FF", "12 3C", "word7[10]=123c", "1/7/10=3C 12");
    row("no value byte leaves the word as read", "12 34", 163, "", "12 34", "word7[10]=1234", "1/7/10=34 12");
    row("only the first value byte counts", "00 00", 163, "00 01", "00 00", "", "1/7/10=00 00");
    row("a negative address names its low four bits", "00 00", -1, "01", "80 00", "", "1/7/10=00 00");
}

void TstStoreReplyWrite::wordReadCompletesTheWriteBehindIt()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, bitAddress);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, frame);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        PLC_driver.writeList << writeVar(15, bitAddress, 1, data) << writeVar(15, 5, 1, hex("00"));
        readInFlight(15, 10, 2, 1, -1);
        writeBehind();
        storeReply(reply);
        QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), toHex(frame));
        // The word as it was read: the bit came into the image when the write was built.
        if (stationScope == 0)
            QTEST(image(), "imageAfter");
        else
            QTEST(store(), "storeAfter");
        QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("15/%1/1@1 15/5/1@1").arg(bitAddress));
    }
}

void TstStoreReplyWrite::withoutAQueuedWriteTheWordGoesBackAsRead()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        readInFlight(15, 10, 2, 1, -1);
        writeBehind();
        storeReply(withCrc("01 03 02 12 34"));
        QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), toHex(withCrc("01 06 00 0A 12 34")));
    }
}

void TstStoreReplyWrite::queueEmptiedMeanwhileSendsTheWordBackAsRead()
{
    DriverFixture driver;
    QByteArray one = hex("01");
    SetRegisterData(QString(), 15, QStringLiteral("10.3"), 1, &one, 1, 4, 9);
    QVERIFY(ComCommunication() != nullptr);
    PLC_driver.writeList.clear();
    QByteArray word = withCrc("01 03 02 12 34");
    QCOMPARE(DataCom(&word, 7)->resultCode, 1);
    const Protocol *const sent = ComCommunication();
    QVERIFY(sent != nullptr);
    QCOMPARE(toHex(sent->frame), toHex(withCrc("01 06 00 0A 12 34")));
}

void TstStoreReplyWrite::completedFrameIsAsOnTheWire()
{
    DriverFixture driver;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    readInFlight(15, 10, 2, 1, -1);
    writeBehind();
    storeReply(withCrc("01 03 02 00 00"));
    QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
}

void TstStoreReplyWrite::completionTouchesOnlyFourFrameBytes()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
        readInFlight(15, 10, 2, 1, -1);
        writeBehind();
        writeBehind();
        PLC_driver.protocolList[1].frame = hex("09 06 12 34 00 00 00 00 EE");
        storeReply(withCrc("01 03 02 00 00"));
        const Protocol &write = PLC_driver.protocolList.at(1);
        QCOMPARE(toHex(write.frame), toHex(withCrc("09 06 12 34 00 08") + hex("EE")));
        QCOMPARE(write.frameLen, 8);
        QCOMPARE(write.replyLen, 8);
        QCOMPARE(write.dataOffset, 0);
        QCOMPARE(write.dataLen, 0);
        QCOMPARE(write.extra20, 20);
        QCOMPARE(write.var.address, 10);
        QCOMPARE(toHex(write.var.data), QStringLiteral("01"));
        QCOMPARE(toHex(PLC_driver.protocolList.at(2).frame), QStringLiteral("01 06 00 0A 00 00 A9 C8"));
    }
}

void TstStoreReplyWrite::completionGrowsAFrameThatIsTooShort()
{
    DriverFixture driver;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    readInFlight(15, 10, 2, 1, -1);
    writeBehind();
    PLC_driver.protocolList[1].frame = hex("01 06 00");
    storeReply(withCrc("01 03 02 12 34"));
    QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), toHex(withCrc("01 06 00 00 12 3C")));
}

void TstStoreReplyWrite::lastOfSeveralWordsReadCompletesTheKeyedWrite()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    readInFlight(15, 10, 4, 1, -1);
    writeBehind();
    storeReply(withCrc("01 03 04 12 34 56 70"));
    QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), toHex(withCrc("01 06 00 0A 56 78")));
}

// Replies that end with their data: of the second word, half is missing.
void TstStoreReplyWrite::lastWholeWordReadCompletesTheWrite()
{
    for (int stationScope : {0, 1}) {
        for (const char *reply : {"01 03 02 12 34", "01 03 04 12 34 56"}) {
            DriverFixture driver;
            driver.settings.stationScope = stationScope;
            PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
            readInFlight(15, 10, 4, 1, -1);
            writeBehind();
            storeReply(hex(reply));
            QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), toHex(withCrc("01 06 00 0A 12 3C")));
        }
    }
}

void TstStoreReplyWrite::imageModePatchesWhateverTheSubIndex()
{
    DriverFixture driver;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    readInFlight(15, 10, 2, 1, 0);
    writeBehind();
    storeReply(withCrc("01 03 02 00 00"));
    QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
}

void TstStoreReplyWrite::keyedModePatchesOnlyWithSubIndexMinusOne()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    readInFlight(15, 10, 2, 1, 0);
    writeBehind();
    for (int subIndex : {0, 1, -2}) {
        PLC_driver.protocolList[0].var.subIndex = subIndex;
        storeReply(withCrc("01 03 02 00 00"));
        QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), QStringLiteral("01 06 00 0A 00 00 A9 C8"));
    }
}

void TstStoreReplyWrite::aLoneReadPatchesNothing()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
        readInFlight(15, 10, 2, 1, -1);
        PLC_driver.protocolList.first().frame = hex("01 03 00 0A 00 01 A4 08");
        storeReply(withCrc("01 03 02 01 00"));
        QCOMPARE(PLC_driver.protocolList.size(), 1);
        QCOMPARE(toHex(PLC_driver.protocolList.first().frame), QStringLiteral("01 03 00 0A 00 01 A4 08"));
        QCOMPARE(image(), stationScope ? QString() : QStringLiteral("word7[10]=0100"));
    }
}

void TstStoreReplyWrite::otherCodesPatchNothing()
{
    for (int stationScope : {0, 1}) {
        for (int devType : {0, 6, 7, 8, 9, 10, 11, 12, 13, 14, 18, 99, 100, 101, 103}) {
            DriverFixture driver;
            driver.settings.stationScope = stationScope;
            PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
            readInFlight(devType, 10, 2, 1, -1);
            writeBehind();
            storeReply(withCrc("01 03 02 00 00"));
            QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), QStringLiteral("01 06 00 0A 00 00 A9 C8"));
        }
    }
}

void TstStoreReplyWrite::bitWriteRunsThroughTheCycle()
{
    DriverFixture driver;
    QByteArray one = hex("01");
    QCOMPARE(SetRegisterData(QString(), 15, QStringLiteral("10.3"), 1, &one, 1, 4, 9), 1);
    const Protocol *sent = ComCommunication();
    QVERIFY(sent != nullptr);
    QCOMPARE(toHex(sent->frame), QStringLiteral("01 03 00 0A 00 01 A4 08"));
    QCOMPARE(image(), QStringLiteral("word7[10]=0008"));
    QByteArray word = withCrc("01 03 02 01 00");
    QCOMPARE(DataCom(&word, 7)->resultCode, 1);
    QCOMPARE(image(), QStringLiteral("word7[10]=0100"));
    sent = ComCommunication();
    QVERIFY(sent != nullptr);
    QCOMPARE(toHex(sent->frame), toHex(withCrc("01 06 00 0A 01 08")));
    QByteArray echo = sent->frame;
    QCOMPARE(DataCom(&echo, 8)->resultCode, 1);
    QCOMPARE(PLC_driver.writeList.size(), 0);
    QCOMPARE(DriverFixture::requestsDone.size(), 1);
    QCOMPARE(DriverFixture::requestsDone.first().status, 1);
}

QTEST_APPLESS_MAIN(TstStoreReplyWrite)
#include "tst_store_reply_write.moc"
