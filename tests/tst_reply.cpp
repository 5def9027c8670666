/// Local and remote replies: what is accepted, what is stored and under which lock.
#include "driver/reply.h"

#include "driver/emerson_ec_series.h"
#include "tests/elsewhere.h"
#include "tests/exchange_fixture.h"

#include <climits>

namespace {

/// Columns and rows of what local and remote replies share; codes without the remote 100.
void addReplyRows()
{
    QTest::addColumn<int>("expectedLen");
    QTest::addColumn<int>("station");
    QTest::addColumn<int>("rwFlag");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("len");
    QTest::addColumn<int>("code");

    const QByteArray good = hex(GoodReply);
    const QByteArray echo = hex("01 06 00 64 12 34 C5 62");
    QTest::newRow("good read") << 7 << 1 << 0 << good << 7 << 1;
    QTest::newRow("good acknowledgement") << 8 << 1 << 1 << echo << 8 << 1;
    QTest::newRow("broadcast, nothing comes") << 0 << 0 << 1 << QByteArray() << 0 << 1;
    QTest::newRow("broadcast read, nothing comes") << 0 << 0 << 0 << QByteArray() << 0 << 1;
    QTest::newRow("broadcast is still answered") << 0 << 0 << 1 << echo << 8 << 74;
    QTest::newRow("broadcast that waits for a reply") << 7 << 0 << 0 << QByteArray() << 0 << 44;
    QTest::newRow("time-out") << 7 << 1 << 0 << QByteArray() << 0 << 44;
    QTest::newRow("time-out beside stale bytes") << 7 << 1 << 0 << good << 0 << 44;
    QTest::newRow("time-out while any length would do") << -1 << 1 << 0 << QByteArray() << 0 << 44;
    QTest::newRow("nothing expected of a real station") << 0 << 1 << 0 << QByteArray() << 0 << 14;
    QTest::newRow("nothing expected of a negative station") << 0 << -1 << 1 << QByteArray() << 0 << 14;
    QTest::newRow("too short") << 7 << 1 << 0 << hex("01 83 02 C0 F1") << 5 << 74;
    QTest::newRow("too long") << 7 << 1 << 0 << echo << 8 << 74;
    QTest::newRow("wrong length before wrong CRC") << 7 << 1 << 0 << hex("01 03 00 00 00") << 5 << 74;
    QTest::newRow("any length, good CRC") << -1 << 1 << 0 << good << 7 << 1;
    QTest::newRow("any length, exception reply") << -1 << 1 << 0 << hex("01 83 02 C0 F1") << 5 << 1;
    QTest::newRow("any length, bad CRC") << -1 << 1 << 0 << hex("01 03 02 12 34 B5 34") << 7 << 14;
    QTest::newRow("wrong CRC") << 7 << 1 << 0 << hex("01 03 02 12 35 B5 33") << 7 << 14;
    QTest::newRow("CRC, low byte one too small") << 7 << 1 << 0 << hex("01 03 02 12 34 B4 33") << 7 << 14;
    QTest::newRow("CRC, low byte one too great") << 7 << 1 << 0 << hex("01 03 02 12 34 B6 33") << 7 << 14;
    QTest::newRow("CRC, high byte one too small") << 7 << 1 << 0 << hex("01 03 02 12 34 B5 32") << 7 << 14;
    QTest::newRow("CRC, high byte one too great") << 7 << 1 << 0 << hex("01 03 02 12 34 B5 34") << 7 << 14;
    QTest::newRow("CRC bytes swapped") << 7 << 1 << 0 << hex("01 03 02 12 34 33 B5") << 7 << 14;
    QTest::newRow("length beyond the buffer") << 7 << 1 << 0 << hex("01 03 02 12 34") << 7 << 14;
    QTest::newRow("unusable read/write flag") << 7 << 1 << 2 << good << 7 << 14;
    QTest::newRow("negative read/write flag") << 7 << 1 << -1 << good << 7 << 14;
    QTest::newRow("unusable flag on a broadcast") << 0 << 0 << 2 << QByteArray() << 0 << 1;
}

} // namespace

class TstReply : public QObject {
    Q_OBJECT

private slots:
    void localReplyBecomesItsResultCode_data();
    void localReplyBecomesItsResultCode();
    void localReadIsStored();
    void localAcknowledgementIsNotStored();
    void rejectedReplyIsNotStored();
    void bitOfTheQueuedWriteGoesIntoTheSecondFrame_data();
    void bitOfTheQueuedWriteGoesIntoTheSecondFrame();
    void localReplyIsStoredUnderTheImageMutexAlone();
    void localReplyThatIsNotStoredNeedsNoImageMutex();
    void remoteReplyBecomesItsResultCode_data();
    void remoteReplyBecomesItsResultCode();
    void remoteReplyIsStoredOnlyWithoutASubIndex_data();
    void remoteReplyIsStoredOnlyWithoutASubIndex();
    void remoteReplyIsStoredWithoutTheImageMutex();
    void remoteAcknowledgementThatReachesTheImageIsBounded_data();
    void remoteAcknowledgementThatReachesTheImageIsBounded();
};

void TstReply::localReplyBecomesItsResultCode_data()
{
    addReplyRows();
}

void TstReply::localReplyBecomesItsResultCode()
{
    QFETCH(int, expectedLen);
    QFETCH(int, station);
    QFETCH(int, rwFlag);
    QFETCH(QByteArray, reply);
    QFETCH(int, len);
    QFETCH(int, code);
    DriverFixture driver;
    Protocol &request = wordReadInFlight();
    request.replyLen = expectedLen;
    request.var.station = station;
    request.var.rwFlag = rwFlag;
    QCOMPARE(DealDataOfLocalArea(&reply, len), code);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QVERIFY(isFree(PLC_driver.imageMutex));
}

void TstReply::localReadIsStored()
{
    DriverFixture driver;
    wordReadInFlight();
    QByteArray reply = hex(GoodReply);
    QCOMPARE(DealDataOfLocalArea(&reply, 7), 1);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0x1234);
}

void TstReply::localAcknowledgementIsNotStored()
{
    DriverFixture driver;
    wordReadInFlight().var.rwFlag = 1;
    QByteArray reply = hex(GoodReply);
    QCOMPARE(DealDataOfLocalArea(&reply, 7), 1);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0);
}

void TstReply::rejectedReplyIsNotStored()
{
    DriverFixture driver;
    wordReadInFlight().var.subIndex = -1;
    QByteArray reply = hex("01 03 02 12 34 33 B5");
    QCOMPARE(DealDataOfLocalArea(&reply, 7), 14);
    QCOMPARE(DealDataOfRemoteArea(&reply, 7), 114);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0);
}

void TstReply::bitOfTheQueuedWriteGoesIntoTheSecondFrame_data()
{
    QTest::addColumn<int>("frames");
    QTest::addColumn<bool>("queued");
    QTest::addColumn<QString>("word");
    QTest::newRow("the read and its write") << 2 << true << "12 3C";
    QTest::newRow("another frame behind them") << 3 << true << "12 3C";
    QTest::newRow("the queue has been emptied meanwhile") << 2 << false << "12 34";
}

void TstReply::bitOfTheQueuedWriteGoesIntoTheSecondFrame()
{
    QFETCH(int, frames);
    QFETCH(bool, queued);
    DriverFixture driver;
    PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(PLC_driver.protocolList.size(), 2);
    while (PLC_driver.protocolList.size() < frames)
        PLC_driver.protocolList << PLC_driver.protocolList.at(1);
    if (!queued)
        PLC_driver.writeList.clear();
    QByteArray reply = hex(GoodReply);
    QCOMPARE(DealDataOfLocalArea(&reply, 7), 1);
    QTEST(toHex(PLC_driver.protocolList.at(1).frame.mid(4, 2)), "word");
}

void TstReply::localReplyIsStoredUnderTheImageMutexAlone()
{
    DriverFixture driver;
    wordReadInFlight();
    QByteArray reply = hex(GoodReply);
    PLC_driver.imageMutex.lock();
    int code = -1;
    Elsewhere storing([&] { code = DealDataOfLocalArea(&reply, 7); });
    const bool waited = storing.isHeldUp();
    const int before = PLC_driver.wordImage7[100];
    const bool listIsFree = isFree(PLC_driver.listMutex);
    PLC_driver.imageMutex.unlock();
    storing.finish();
    QCOMPARE(code, 1);
    QVERIFY(waited);
    QVERIFY(listIsFree);
    QCOMPARE(before, 0);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0x1234);
}

void TstReply::localReplyThatIsNotStoredNeedsNoImageMutex()
{
    DriverFixture driver;
    wordReadInFlight().var.rwFlag = 1;
    QByteArray reply = hex(GoodReply);
    PLC_driver.imageMutex.lock();
    int code = -1;
    Elsewhere storing([&] { code = DealDataOfLocalArea(&reply, 7); });
    storing.finish();
    PLC_driver.imageMutex.unlock();
    QCOMPARE(code, 1);
}

void TstReply::remoteReplyBecomesItsResultCode_data()
{
    addReplyRows();
}

// Good replies give 1, every error code lies 100 higher than its local one.
void TstReply::remoteReplyBecomesItsResultCode()
{
    QFETCH(int, expectedLen);
    QFETCH(int, station);
    QFETCH(int, rwFlag);
    QFETCH(QByteArray, reply);
    QFETCH(int, len);
    QFETCH(int, code);
    DriverFixture driver;
    Protocol &request = wordReadInFlight();
    request.replyLen = expectedLen;
    request.var.station = station;
    request.var.rwFlag = rwFlag;
    request.var.subIndex = -1;
    QCOMPARE(DealDataOfRemoteArea(&reply, len), code == 1 ? 1 : code + 100);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
}

void TstReply::remoteReplyIsStoredOnlyWithoutASubIndex_data()
{
    QTest::addColumn<int>("subIndex");
    QTest::addColumn<int>("frameDone");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("word");

    QTest::newRow("sub-index 0 is acknowledged only") << 0 << 0 << 100 << 0;
    QTest::newRow("sub-index 5 is acknowledged only") << 5 << 0 << 100 << 0;
    QTest::newRow("sub-index -2 is acknowledged only") << -2 << 1 << 100 << 0;
    QTest::newRow("no sub-index, first frame") << -1 << 0 << 1 << 0x1234;
    QTest::newRow("no sub-index, exactly one frame done") << -1 << 1 << 100 << 0x1234;
    QTest::newRow("no sub-index, two frames done") << -1 << 2 << 1 << 0x1234;
    QTest::newRow("no sub-index, negative frames done") << -1 << -1 << 1 << 0x1234;
}

void TstReply::remoteReplyIsStoredOnlyWithoutASubIndex()
{
    QFETCH(int, subIndex);
    QFETCH(int, frameDone);
    QFETCH(int, code);
    QFETCH(int, word);
    DriverFixture driver;
    driver.settings.frameDone = frameDone;
    wordReadInFlight().var.subIndex = subIndex;
    QByteArray reply = hex(GoodReply);
    QCOMPARE(DealDataOfRemoteArea(&reply, 7), code);
    QCOMPARE(int(PLC_driver.wordImage7[100]), word);
    QCOMPARE(driver.settings.frameDone, frameDone);
}

// Unlike a local one: a remote reply is stored while somebody holds imageMutex.
void TstReply::remoteReplyIsStoredWithoutTheImageMutex()
{
    DriverFixture driver;
    wordReadInFlight().var.subIndex = -1;
    QByteArray reply = hex(GoodReply);
    PLC_driver.imageMutex.lock();
    int code = -1;
    Elsewhere storing([&] { code = DealDataOfRemoteArea(&reply, 7); });
    storing.finish();
    PLC_driver.imageMutex.unlock();
    QCOMPARE(code, 1);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0x1234);
}

void TstReply::remoteAcknowledgementThatReachesTheImageIsBounded_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("stationScope");
    for (int code : {2, 7, 12, 13, 17, 100, 101, 55})
        for (int scope : {0, 1})
            QTest::newRow(qPrintable(QStringLiteral("%1, scope %2").arg(code).arg(scope))) << code << scope;
}

// No data length: nothing is read and no record made, also while the keyed store is empty.
void TstReply::remoteAcknowledgementThatReachesTheImageIsBounded()
{
    QFETCH(int, devType);
    QFETCH(int, stationScope);
    DriverFixture driver;
    driver.settings.stationScope = stationScope;
    Protocol &request = wordReadInFlight();
    request.var.rwFlag = 1;
    request.var.devType = devType;
    request.var.subIndex = -1;
    request.var.address = INT_MAX;
    request.replyLen = -1;
    request.dataOffset = request.dataLen = 0;
    QByteArray reply = hex("FF FF");
    QCOMPARE(DealDataOfRemoteArea(&reply, 2), 1);
    QCOMPARE(PLC_driver.extendVarList.size(), 0);
}

QTEST_APPLESS_MAIN(TstReply)
#include "tst_reply.moc"
