/// The frame of the chosen request: its builder, its transaction, entries that none can be built for.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <climits>

class TstSchedulerFrames : public QObject {
    Q_OBJECT

private slots:
    void builderFollowsListAndFormat_data();
    void builderFollowsListAndFormat();
    void servedEntryStaysAtTheHead_data();
    void servedEntryStaysAtTheHead();
    void headWriteWithoutABuilderIsNeverRemoved();
    void headOneShotReadWithoutABuilderIsNeverRemoved();
    void headCyclicReadWithoutABuilderIsNeverRemoved();
    void transactionStartsWithItsFrameCount_data();
    void transactionStartsWithItsFrameCount();
    void absurdEntryIsTreatedAsHavingNoBuilder_data();
    void absurdEntryIsTreatedAsHavingNoBuilder();
    void longestFramesAreStillBuilt();
    void missingSettingsReadAsZero();
};

void TstSchedulerFrames::builderFollowsListAndFormat_data()
{
    QTest::addColumn<int>("list");
    QTest::addColumn<int>("remoteMode");
    QTest::addColumn<QString>("frame");

    QTest::newRow("write, PLC format") << 1 << 0 << "01 06 00 64 12 34 C5 62";
    QTest::newRow("one-shot read, PLC format") << 2 << 0 << "01 03 00 64 00 01 C5 D5";
    QTest::newRow("cyclic read, PLC format") << 0 << 0 << "01 03 00 64 00 01 C5 D5";
    QTest::newRow("write, remote format")
        << 1 << 1 << "18 00 01 01 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 34 12 CD";
    QTest::newRow("write, remote format by a negative mode")
        << 1 << -1 << "18 00 01 01 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 34 12 CD";
    QTest::newRow("one-shot read, remote format")
        << 2 << 1 << "16 00 00 01 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 84";
    QTest::newRow("cyclic read, remote format")
        << 0 << -1 << "16 00 00 01 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 84";
}

void TstSchedulerFrames::builderFollowsListAndFormat()
{
    QFETCH(int, list);
    QFETCH(int, remoteMode);
    QFETCH(QString, frame);
    DriverFixture driver;
    driver.settings.remoteMode = remoteMode;
    if (list == 1)
        PLC_driver.writeList << wordWrite(100);
    else
        (list == 2 ? PLC_driver.onceReadList : PLC_driver.readList) << readVar(7, 100, 1);
    const Protocol *request = ComCommunication();
    QVERIFY(request != nullptr);
    QCOMPARE(toHex(request->frame), frame);
    QCOMPARE(request->frameLen, request->frame.size());
    QCOMPARE(PLC_driver.servedList, list);
}

void TstSchedulerFrames::servedEntryStaysAtTheHead_data()
{
    QTest::addColumn<int>("list");
    QTest::newRow("cyclic") << 0;
    QTest::newRow("write") << 1;
    QTest::newRow("one-shot") << 2;
}

void TstSchedulerFrames::servedEntryStaysAtTheHead()
{
    QFETCH(int, list);
    DriverFixture driver;
    QList<RW_VAR> *lists[] = {&PLC_driver.readList, &PLC_driver.writeList, &PLC_driver.onceReadList};
    QList<RW_VAR> &served = *lists[list];
    served << (list == 1 ? wordWrites(2) : wordReads(100, 2));
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(summary(served), QStringLiteral("7/100/1@1 7/101/1@1"));
    QCOMPARE(PLC_driver.writeStreak, list == 1 ? 1 : 0);
    QCOMPARE(PLC_driver.onceStreak, list == 2 ? 1 : 0);
}

// It is tried five times like any other, then lets one cyclic read pass.
void TstSchedulerFrames::headWriteWithoutABuilderIsNeverRemoved()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.writeList << writeVar(0, 8, 1, hex("01")) << wordWrite(100);
    QCOMPARE(nextOf(8), QStringLiteral("- - - - - C:0 - -"));
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("0/8/1@1 7/100/1@1"));
}

void TstSchedulerFrames::headOneShotReadWithoutABuilderIsNeverRemoved()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << readVar(12, 8, 2) << readVar(7, 50, 1);
    QCOMPARE(nextOf(8), QStringLiteral("- - - - - C:0 - -"));
    QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("12/8/2@1 7/50/1@1"));
}

void TstSchedulerFrames::headCyclicReadWithoutABuilderIsNeverRemoved()
{
    DriverFixture driver;
    PLC_driver.readList << readVar(55, 0, 1) << readVar(7, 1, 1);
    PLC_driver.writeStreak = PLC_driver.onceStreak = 5;
    driver.settings.frameTotal = driver.settings.frameDone = 9;
    QCOMPARE(nextOf(3), QStringLiteral("- - -"));
    QCOMPARE(summary(PLC_driver.readList), QStringLiteral("55/0/1@1 7/1/1@1"));
    QCOMPARE(PLC_driver.writeStreak + PLC_driver.onceStreak, 0);
    QCOMPARE(driver.settings.frameTotal, 9);
    QCOMPARE(driver.settings.frameDone, 9);
    QCOMPARE(driver.settings.finishFlag, 0);
}

void TstSchedulerFrames::transactionStartsWithItsFrameCount_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("rwFlag");
    QTest::addColumn<int>("remoteMode");
    QTest::addColumn<int>("frames");

    QTest::newRow("bit read") << 2 << 0 << 0 << 1;
    QTest::newRow("word read") << 7 << 0 << 0 << 1;
    QTest::newRow("bit write") << 2 << 1 << 0 << 1;
    QTest::newRow("word write") << 7 << 1 << 0 << 1;
    QTest::newRow("32-bit write") << 13 << 1 << 0 << 1;
    QTest::newRow("bit-in-word write") << 15 << 1 << 0 << 2;
    QTest::newRow("remote read") << 7 << 0 << 1 << 1;
    QTest::newRow("remote bit-in-word write") << 15 << 1 << 1 << 1;
}

void TstSchedulerFrames::transactionStartsWithItsFrameCount()
{
    QFETCH(int, devType);
    QFETCH(int, rwFlag);
    QFETCH(int, remoteMode);
    QFETCH(int, frames);
    DriverFixture driver;
    driver.settings.remoteMode = remoteMode;
    driver.settings.frameTotal = driver.settings.frameDone = 9;
    if (rwFlag == 1)
        PLC_driver.writeList << writeVar(devType, 16, 1, hex("01 00 00 00"));
    else
        PLC_driver.readList << readVar(devType, 16, 1);
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(driver.settings.frameTotal, frames);
    QCOMPARE(driver.settings.frameDone, 0);
    QCOMPARE(PLC_driver.protocolList.size(), frames);
}

void TstSchedulerFrames::absurdEntryIsTreatedAsHavingNoBuilder_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("dataBytes");
    QTest::addColumn<int>("rwFlag");
    QTest::addColumn<int>("remoteMode");

    QTest::newRow("word write, huge count") << 7 << INT_MAX << 2 << 1 << 0;
    QTest::newRow("32-bit write, huge count") << 13 << INT_MAX << 4 << 1 << 0;
    QTest::newRow("word write, frame of 65545 bytes") << 7 << 32768 << 2 << 1 << 0;
    QTest::newRow("word read, count above the most elements") << 7 << 1048577 << 0 << 0 << 0;
    QTest::newRow("bit read, huge count") << 2 << INT_MAX << 0 << 0 << 0;
    QTest::newRow("remote read, huge count") << 13 << INT_MAX << 0 << 0 << 1;
    QTest::newRow("remote write, frame of 65545 bytes") << 7 << 1 << 65523 << 1 << 1;
}

void TstSchedulerFrames::absurdEntryIsTreatedAsHavingNoBuilder()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    QFETCH(int, dataBytes);
    QFETCH(int, rwFlag);
    QFETCH(int, remoteMode);
    DriverFixture driver;
    driver.settings.remoteMode = remoteMode;
    if (rwFlag == 1)
        PLC_driver.writeList << writeVar(devType, 0, count, QByteArray(dataBytes, '\1'));
    else
        PLC_driver.readList << readVar(devType, 0, count);
    QVERIFY(ComCommunication() == nullptr);
    QCOMPARE(PLC_driver.writeList.size() + PLC_driver.readList.size(), 1);
    QCOMPARE(driver.settings.frameTotal, 0);
}

void TstSchedulerFrames::longestFramesAreStillBuilt()
{
    DriverFixture driver;
    PLC_driver.writeList << writeVar(7, 0, 32767, QByteArray());
    Protocol *request = ComCommunication();
    QVERIFY(request != nullptr);
    QCOMPARE(request->frameLen, 65543);
    PLC_driver.protocolList.clear();
    driver.settings.remoteMode = 1;
    PLC_driver.writeList.first() = writeVar(7, 0, 1, QByteArray(65522, '\0'));
    request = ComCommunication();
    QVERIFY(request != nullptr);
    QCOMPARE(request->frameLen, 65544);
}

void TstSchedulerFrames::missingSettingsReadAsZero()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    PLC_driver.writeList << wordWrite(100);
    PLC_driver.readList << wordReads(0, 1);
    Protocol *request = ComCommunication();
    QVERIFY(request != nullptr);
    QCOMPARE(toHex(request->frame), QStringLiteral("01 06 00 64 12 34 C5 62"));
}

QTEST_APPLESS_MAIN(TstSchedulerFrames)
#include "tst_scheduler_frames.moc"
