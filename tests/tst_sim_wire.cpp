/// The line in a made-up time: when bytes arrive at either end, and what faults, silence and a pulled cable do to them.
#include "sim/wire.h"
#include "tests/bytes_text.h"

#include <QtTest/QtTest>

namespace {

// One register, number 100 of station 1, holding 0x1234.
const char *const Request = "01 03 00 64 00 01 C5 D5";
const char *const Reply = "01 03 02 12 34 B5 33";
// The same of station 2, holding 0x5678.
const char *const OtherRequest = "02 03 00 64 00 01 C5 E6";
const char *const OtherReply = "02 03 02 56 78 C3 C6";
const char *const Sixteen = "01 03 00 00 00 10 44 06";
const char *const Broadcast = "00 06 00 64 00 07 88 06";

WireSettings paced(int baud, int characterBits = 11, int answerMicroseconds = 0)
{
    WireSettings settings;
    settings.baud = baud;
    settings.characterBits = characterBits;
    settings.answerMicroseconds = answerMicroseconds;
    return settings;
}

/// Bytes that reached the host at one moment.
struct Arrival {
    qint64 moment;
    QByteArray bytes;
};

struct Line {
    explicit Line(const WireSettings &settings = WireSettings(), const QStringList &rules = QStringList())
        : wire(slave, faults, settings)
    {
        slave.addStation(1)->setHoldingRegister(100, 0x1234);
        slave.addStation(2)->setHoldingRegister(100, 0x5678);
        for (const QString &text : rules) {
            FaultRule rule;
            QString error;
            if (!FaultRule::parse(text, &rule, &error))
                qFatal("%s", qPrintable(error));
            faults.add(rule);
        }
    }

    /// Goes from one moment at which something happens to the next, and keeps what arrives.
    void runUntil(qint64 until)
    {
        for (qint64 next = wire.nextMoment(); next >= 0 && next <= until; next = wire.nextMoment())
            take(std::max(next, now));
        take(until);
    }

    void take(qint64 moment)
    {
        now = moment;
        const QByteArray bytes = wire.advance(moment);
        if (!bytes.isEmpty())
            arrivals << Arrival{moment, bytes};
    }

    QString heard() const
    {
        QByteArray all;
        for (const Arrival &arrival : arrivals)
            all += arrival.bytes;
        return toHex(all);
    }
    /// "MOMENT HEX", one text an arrival.
    QStringList story() const
    {
        QStringList texts;
        for (const Arrival &arrival : arrivals)
            texts << QString("%1 %2").arg(arrival.moment).arg(toHex(arrival.bytes));
        return texts;
    }

    Slave slave;
    Faults faults;
    Wire wire;
    qint64 now = 0;
    QVector<Arrival> arrivals;
};

} // namespace

class TstSimWire : public QObject {
    Q_OBJECT

private slots:
    void withoutPacingTheAnswerComesAtOnce();
    void withoutPacingOnlyThePlcsOwnTimePasses();
    void pacedReplyArrivesByteByByte();
    void pacedTimesAreExact_data();
    void pacedTimesAreExact();
    void longReplyDoesNotDrift();
    void oneLargeStepBringsTheSameBytes();
    void requestInPiecesTakesNoLongerThanItsBytes();
    void pauseInARequestIsKept();
    void requestsBehindEachOtherAreAnsweredInTurn();
    void bytesOfBothAtOnceAreDamaged();
    void bytesOfTheHostAreDamagedOnlyWhileThePlcTalks();
    void silenceEndsGarbage_data();
    void silenceEndsGarbage();
    void requestBehindGarbageIsFoundInTheSilence();
    void everyRequestHasItsEpoch();
    void liveCellsShowTheTimeOfTheRequest();
    void broadcastIsCarriedOutInSilence();
    void delayedReplyLeavesTheLineToOthers();
    void lateReplyOverTheNextRequestDamagesBoth();
    void noiseComesAfterTheSilence();
    void duplicateFollowsWithoutAPause();
    void echoComesWithTheLastByteOfTheRequest();
    void wrongStationIsNoStationOfTheLine();
    void pulledCableSwallowsBothWays();
    void cablePulledInAReplyCutsIt();
    void stationThatDoesNotAnswerStillHears();
    void portGoesAndComesBack();
    void portTakenAwayLosesWhatIsOnItsWay();
    void floodIsBounded();
    void idleLineHasNoNextMoment();
};

void TstSimWire::withoutPacingTheAnswerComesAtOnce()
{
    Line line;
    line.wire.receive(hex(Request), 777);
    QCOMPARE(line.wire.nextMoment(), 777);
    QCOMPARE(toHex(line.wire.advance(777)), QString(Reply));
    QCOMPARE(line.wire.bytesSent(), 7);
    QCOMPARE(line.wire.nextMoment(), -1);
}

void TstSimWire::withoutPacingOnlyThePlcsOwnTimePasses()
{
    Line line(paced(0, 11, 5000));
    line.wire.receive(hex(Request), 1000);
    QCOMPARE(toHex(line.wire.advance(5999)), QString());
    QCOMPARE(line.wire.nextMoment(), 6000);
    QCOMPARE(toHex(line.wire.advance(6000)), QString(Reply));
}

void TstSimWire::pacedReplyArrivesByteByByte()
{
    // A character takes 1145.83: 9167 for the request, 4011 of silence, then a byte each character.
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    line.runUntil(100000);
    QCOMPARE(line.story(),
             (QStringList{"14324 01", "15470 03", "16616 02", "17762 12", "18908 34", "20053 B5", "21199 33"}));
}

void TstSimWire::pacedTimesAreExact_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("characterBits");
    QTest::addColumn<int>("answerMicroseconds");
    QTest::addColumn<qint64>("first");
    QTest::addColumn<qint64>("last");

    // 8 bytes of request, 37 of reply.
    QTest::newRow("9600, 11 bits") << 9600 << 11 << 0 << 14324LL << 55574LL;
    QTest::newRow("9600, 10 bits") << 9600 << 10 << 0 << 13022LL << 50522LL;
    QTest::newRow("9600, the PLC takes 5 ms") << 9600 << 11 << 5000 << 19324LL << 60574LL;
    QTest::newRow("19200, 3.5 characters of silence") << 19200 << 11 << 0 << 7163LL << 27788LL;
    QTest::newRow("38400, 1750 us of silence") << 38400 << 11 << 0 << 4329LL << 14641LL;
    QTest::newRow("115200") << 115200 << 11 << 0 << 2610LL << 6047LL;
    QTest::newRow("300") << 300 << 11 << 0 << 458335LL << 1778335LL;
}

void TstSimWire::pacedTimesAreExact()
{
    QFETCH(int, baud);
    QFETCH(int, characterBits);
    QFETCH(int, answerMicroseconds);
    QFETCH(qint64, first);
    QFETCH(qint64, last);
    Line line(paced(baud, characterBits, answerMicroseconds));
    line.wire.receive(hex(Sixteen), 0);
    line.runUntil(10000000);
    QCOMPARE(line.arrivals.size(), 37);
    QCOMPARE(line.arrivals.first().moment, first);
    QCOMPARE(line.arrivals.last().moment, last);
}

void TstSimWire::longReplyDoesNotDrift()
{
    Line line(paced(115200));
    line.wire.receive(hex("01 03 00 00 00 7D 85 EB"), 0);
    line.runUntil(10000000);
    QCOMPARE(line.arrivals.size(), 255);
    // 2514 and 255 characters of 95.486 microseconds; rounded one by one they would come to 24480.
    QCOMPARE(line.arrivals.at(99).moment, 2514 + 9549);
    QCOMPARE(line.arrivals.last().moment, 2514 + 24349);
}

void TstSimWire::oneLargeStepBringsTheSameBytes()
{
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    QCOMPARE(toHex(line.wire.advance(19000)), QString("01 03 02 12 34"));
    QCOMPARE(toHex(line.wire.advance(1000000)), QString("B5 33"));
}

void TstSimWire::requestInPiecesTakesNoLongerThanItsBytes()
{
    // The second half is handed over while the first is still on its way.
    Line line(paced(9600));
    line.wire.receive(hex(Request).left(4), 0);
    line.wire.receive(hex(Request).mid(4), 2000);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString(Reply));
    QCOMPARE(line.arrivals.first().moment, 14324);
}

void TstSimWire::pauseInARequestIsKept()
{
    // 4584 for four bytes, a pause until 6000, then 4584, 4011 and 1146.
    Line line(paced(9600));
    line.wire.receive(hex(Request).left(4), 0);
    line.wire.receive(hex(Request).mid(4), 6000);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString(Reply));
    QCOMPARE(line.arrivals.first().moment, 15741);
}

void TstSimWire::requestsBehindEachOtherAreAnsweredInTurn()
{
    Line line;
    line.wire.receive(hex(Request) + hex(OtherRequest), 50);
    QCOMPARE(toHex(line.wire.advance(50)), QString(Reply) + ' ' + OtherReply);
}

void TstSimWire::bytesOfBothAtOnceAreDamaged()
{
    // The reply lies on the line from 13178 to 21199. The host talks from 15000 to 17292: over the second byte of the
    // reply to its fourth.
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    line.runUntil(15000);
    line.wire.receive(hex("00 00"), 15000);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString("01 FC FD ED 34 B5 33"));
    QCOMPARE(line.slave.statistics().garbageBytes, 2);
}

void TstSimWire::bytesOfTheHostAreDamagedOnlyWhileThePlcTalks()
{
    // The write begins as the last byte of the reply, 20053 to 21199, is on the line: its first byte is hit, so that it
    // is no write; the same write again from the end of the line's silence on is one.
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    line.runUntil(20500);
    line.wire.receive(hex("01 06 00 64 00 07 88 17"), 20500);
    line.runUntil(50000);
    QCOMPARE(line.heard(), QString("01 03 02 12 34 B5 CC"));
    QCOMPARE(line.slave.memory(1)->holdingRegister(100), 0x1234);
    line.wire.receive(withCrc("01 06 00 64 00 07"), 50000);
    line.runUntil(100000);
    QCOMPARE(line.slave.memory(1)->holdingRegister(100), 7);
}

void TstSimWire::silenceEndsGarbage_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<qint64>("silentAt");

    QTest::newRow("no pacing: 20 ms") << 0 << 20000LL;
    // Three bytes and 3.5 characters.
    QTest::newRow("9600") << 9600 << 7449LL;
    QTest::newRow("115200") << 115200 << 2037LL;
}

void TstSimWire::silenceEndsGarbage()
{
    QFETCH(int, baud);
    QFETCH(qint64, silentAt);
    Line line(paced(baud));
    line.wire.receive(hex("01 03 00"), 0);
    line.runUntil(silentAt - 1);
    QVERIFY(line.slave.isPending());
    QCOMPARE(line.slave.statistics().garbageBytes, 0);
    QCOMPARE(line.wire.nextMoment(), silentAt);
    line.runUntil(silentAt);
    QVERIFY(!line.slave.isPending());
    QCOMPARE(line.slave.statistics().garbageBytes, 3);
    QCOMPARE(line.wire.nextMoment(), -1);
}

void TstSimWire::requestBehindGarbageIsFoundInTheSilence()
{
    Line line;
    line.wire.receive(hex("01 10") + hex(Request), 0);
    line.runUntil(100000);
    QCOMPARE(line.story(), QStringList{QString("20000 ") + Reply});
}

void TstSimWire::everyRequestHasItsEpoch()
{
    Line line;
    line.slave.addStation(9)->showEpochs();
    const QByteArray request = hex("09 03 00 64 00 01 C4 9D");
    for (int i = 1; i <= 3; ++i) {
        // In pieces, and with others between: neither makes an epoch of its own.
        line.wire.receive(request.left(3), i * 1000);
        line.wire.receive(request.mid(3), i * 1000 + 10);
        const QByteArray reply = line.wire.advance(i * 1000 + 10);
        QCOMPARE(line.slave.epoch(), i);
        const int value = quint8(reply.at(3)) << 8 | quint8(reply.at(4));
        QCOMPARE(value, int(PlcMemory::epochRegister(9, 100, i)));
    }
    line.wire.receive(request + request, 9000);
    QCOMPARE(line.slave.epoch(), 5);
    const QByteArray replies = line.wire.advance(9000);
    QCOMPARE(replies.size(), 14);
    QVERIFY(replies.left(7) != replies.mid(7));
}

void TstSimWire::liveCellsShowTheTimeOfTheRequest()
{
    Line line(paced(9600, 11, 300000));
    LiveCell counter;
    QString error;
    QVERIFY(LiveCell::parse("counter@100", &counter, &error));
    line.slave.memory(1)->addLiveCell(counter);
    // Whole at 1299167: 12 steps of 100 ms have passed; the answer comes at 1603 ms.
    line.wire.receive(hex(Request), 1290000);
    line.runUntil(2000000);
    QCOMPARE(line.heard(), QString("01 03 02 00 0C B8 41"));
}

void TstSimWire::broadcastIsCarriedOutInSilence()
{
    Line line(WireSettings(), {"drop,last=0"});
    line.wire.receive(hex(Broadcast), 0);
    line.runUntil(1000000);
    QCOMPARE(line.heard(), QString());
    QCOMPARE(line.slave.memory(1)->holdingRegister(100), 7);
    QCOMPARE(line.slave.memory(2)->holdingRegister(100), 7);
    QCOMPARE(line.faults.requests(), 0);
}

void TstSimWire::delayedReplyLeavesTheLineToOthers()
{
    Line line(WireSettings(), {"delay,last=0,ms=50", "late,first=2,last=2,ms=900"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(60000);
    line.wire.receive(hex(Request), 60000);
    line.runUntil(70000);
    line.wire.receive(hex(Request), 70000);
    line.runUntil(500000);
    line.wire.receive(hex(OtherRequest), 500000);
    line.runUntil(2000000);
    QCOMPARE(line.story(), (QStringList{QString("50000 ") + Reply, QString("60000 ") + Reply,
                                        QString("500000 ") + OtherReply, QString("970000 ") + Reply}));
}

void TstSimWire::lateReplyOverTheNextRequestDamagesBoth()
{
    // The late reply lies on the line from 113178 to 121199, the next request from 115000 to 124167.
    Line line(paced(9600), {"late,last=0,ms=100"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(115000);
    line.wire.receive(hex(OtherRequest), 115000);
    line.runUntil(1000000);
    QCOMPARE(line.heard(), QString("01 FC FD ED CB 4A CC"));
    QCOMPARE(line.slave.statistics().requests, 1);
    QCOMPARE(line.slave.statistics().garbageBytes, 8);
}

void TstSimWire::noiseComesAfterTheSilence()
{
    Line line(paced(9600), {"noise,ms=30"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(1000000);
    QCOMPARE(line.heard().left(20), QString(Reply));
    QVERIFY(line.arrivals.size() > 7);
    QCOMPARE(line.arrivals.at(6).moment, 21199);
    QCOMPARE(line.arrivals.at(7).moment, 21199 + 30000 + 1146);
}

void TstSimWire::duplicateFollowsWithoutAPause()
{
    Line line(paced(9600), {"duplicate"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(1000000);
    QCOMPARE(line.heard(), QString(Reply) + ' ' + Reply);
    // 13178 and 14 characters.
    QCOMPARE(line.arrivals.last().moment, 13178 + 16042);
}

void TstSimWire::echoComesWithTheLastByteOfTheRequest()
{
    Line line(paced(9600), {"echo,last=0"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(100000);
    QCOMPARE(line.story().first(), QString("9167 ") + Request);
    QCOMPARE(line.arrivals.at(1).moment, 14324);
    QCOMPARE(line.heard(), QString(Request) + ' ' + Reply);
}

void TstSimWire::wrongStationIsNoStationOfTheLine()
{
    Line line(WireSettings(), {"wrong-station"});
    for (int station = 3; station <= 246; ++station)
        line.slave.addStation(station);
    for (int i = 0; i < 200; ++i) {
        line.wire.receive(hex(Request), i);
        QCOMPARE(quint8(line.wire.advance(i).at(0)), quint8(247));
    }
}

void TstSimWire::pulledCableSwallowsBothWays()
{
    Line line;
    line.wire.receive(hex(Request).left(5), 0);
    line.wire.setPlugged(false);
    line.wire.receive(hex(Request), 10);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString());
    QCOMPARE(line.wire.swallowedBytes(), 8);
    QCOMPARE(line.faults.requests(), 0);
    line.wire.setPlugged(true);
    line.wire.receive(hex(Request), 100000);
    line.runUntil(200000);
    // What had come before the cable was pulled is forgotten.
    QCOMPARE(line.heard(), QString(Reply));
}

void TstSimWire::cablePulledInAReplyCutsIt()
{
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    line.runUntil(17000);
    line.wire.setPlugged(false);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString("01 03 02"));
    QCOMPARE(line.wire.swallowedBytes(), 4);
}

void TstSimWire::stationThatDoesNotAnswerStillHears()
{
    Line line;
    line.wire.setAnswering(1, false);
    line.wire.receive(withCrc("01 06 00 64 00 09") + hex(OtherRequest), 0);
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString(OtherReply));
    QCOMPARE(line.slave.memory(1)->holdingRegister(100), 9);
    QCOMPARE(line.faults.requests(), 1);
    line.wire.setAnswering(1, true);
    line.wire.receive(withCrc("01 03 00 64 00 01"), 100000);
    line.runUntil(200000);
    QCOMPARE(line.heard(), QString(OtherReply) + " 01 03 02 00 09 78 42");
}

void TstSimWire::portGoesAndComesBack()
{
    Line line(paced(9600), {"port-gone,last=0,ms=200"});
    line.wire.receive(hex(Request), 0);
    line.runUntil(13177);
    QVERIFY(!line.wire.isPortGone());
    QCOMPARE(line.wire.nextMoment(), 13178);
    line.runUntil(13178);
    QVERIFY(line.wire.isPortGone());
    QCOMPARE(line.wire.nextMoment(), 213178);
    line.wire.receive(hex(Request), 100000);
    line.runUntil(213177);
    QVERIFY(line.wire.isPortGone());
    line.runUntil(213178);
    QVERIFY(!line.wire.isPortGone());
    QCOMPARE(line.wire.swallowedBytes(), 8);
    QCOMPARE(line.heard(), QString());
    line.wire.receive(hex(Request), 300000);
    line.runUntil(400000);
    QCOMPARE(line.heard(), QString(Reply));
}

void TstSimWire::portTakenAwayLosesWhatIsOnItsWay()
{
    Line line(paced(9600));
    line.wire.receive(hex(Request), 0);
    line.runUntil(16000);
    line.wire.takePortAway(16000, 10);
    QVERIFY(line.wire.isPortGone());
    // Taken away once more: it stays away for as long as the longer of the two.
    line.wire.takePortAway(20000, 10);
    line.runUntil(29999);
    QVERIFY(line.wire.isPortGone());
    line.runUntil(30000);
    QVERIFY(!line.wire.isPortGone());
    line.runUntil(100000);
    QCOMPARE(line.heard(), QString("01 03"));
}

void TstSimWire::floodIsBounded()
{
    Line slow(paced(300));
    slow.wire.receive(QByteArray(100000, '\x55'), 0);
    QCOMPARE(slow.wire.swallowedBytes(), 100000 - 16384);
    // 4000 replies of 7 bytes wait for an hour; there is room for 2340.
    Line late(WireSettings(), {"late,ms=3600000"});
    for (int i = 0; i < 4000; ++i)
        late.wire.receive(hex(Request), i);
    late.runUntil(4000000000);
    QCOMPARE(late.wire.bytesSent(), 2340 * 7);
    QCOMPARE(late.wire.swallowedBytes(), 1660 * 7);
}

void TstSimWire::idleLineHasNoNextMoment()
{
    Line line(paced(9600));
    QCOMPARE(line.wire.nextMoment(), -1);
    line.wire.receive(QByteArray(), 10);
    QCOMPARE(line.wire.nextMoment(), -1);
    QCOMPARE(line.wire.advance(1000000), QByteArray());
    line.wire.receive(hex(Request), 1000000);
    line.runUntil(2000000);
    QCOMPARE(line.heard(), QString(Reply));
    QCOMPARE(line.wire.nextMoment(), -1);
}

QTEST_APPLESS_MAIN(TstSimWire)
#include "tst_sim_wire.moc"
