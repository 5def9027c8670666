/// The simulated PLC as a Modbus RTU slave: bytes in, answers out.
#include "tests/slave_memory.h"

#include <QtTest/QtTest>

#include <random>

namespace {

/// Stations 1 and 2 with known values.
struct Line {
    Line()
    {
        PlcMemory *const one = slave.addStation(1);
        PlcMemory *const two = slave.addStation(2);
        const int words[] = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
        for (int i = 0; i < 4; ++i) {
            one->setHoldingRegister(100 + i, quint16(words[i]));
            one->setHoldingRegister(12044 + i, quint16(words[i]));
            two->setHoldingRegister(100 + i, quint16(0x2000 + i));
        }
        const bool bits[] = {true, false, true, true, false, false, true, false, true, true};
        for (int i = 0; i < 10; ++i) {
            one->setCoil(20 + i, bits[i]);
            two->setCoil(20 + i, !bits[i]);
        }
    }

    QByteArray exchange(const QByteArray &bytes) { return ::exchange(slave, bytes); }
    PlcMemory &memory(int station) { return *slave.memory(station); }

    Slave slave;
};

QString coilsOf(const PlcMemory &memory, int first, int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += memory.coil(first + i) ? QLatin1Char('1') : QLatin1Char('0');
    return text;
}

QByteArray filled(int size, char byte)
{
    return QByteArray(size, byte).toHex();
}

} // namespace

class TstSimSlave : public QObject {
    Q_OBJECT

private slots:
    void wholeFramesAreAnswered_data();
    void wholeFramesAreAnswered();
    void everyFunctionIsAnswered_data();
    void everyFunctionIsAnswered();
    void writesReachTheMemory();
    void severalCoilsLeaveTheirNeighboursAlone();
    void bothReadFunctionsSeeTheSameCells();
    void exceptionsNameWhatIsWrong_data();
    void exceptionsNameWhatIsWrong();
    void cellsInAGapAreIllegal_data();
    void cellsInAGapAreIllegal();
    void aRefusedWriteChangesNothing_data();
    void aRefusedWriteChangesNothing();
    void theLongestRequestsAreCarriedOut_data();
    void theLongestRequestsAreCarriedOut();
    void theLongestWritesReachTheirLastCell();
    void stationsAnswerForThemselves();
    void aStationThatIsNotHereStaysSilent();
    void aBroadcastIsCarriedOutByAllAndNotAnswered_data();
    void aBroadcastIsCarriedOutByAllAndNotAnswered();
    void aBroadcastReadIsNotAnswered();
    void answersSayWhatTheyAreFor();
    void bytesMayComeOneByOne();
    void requestsMayComeTogether();
    void aWrongCheckIsNotAnswered();
    void aRequestBehindGarbageIsFoundInTheSilence();
    void anUnknownFunctionIsAnsweredInTheSilenceOnly();
    void resetForgetsHalfARequest();
    void aFloodDoesNotPileUp();
    void aRequestAtTheEndOfAFloodIsAnswered();
    void hostileRequestsStayInside();
    void everythingIsCounted();
    void addingAStationAgainKeepsItsMemory();
    void stuckCellsAcknowledgeAWrite();
    void liveCellsOfEveryStationMoveOn();
    void epochsMoveOnTogether();
};

void TstSimSlave::wholeFramesAreAnswered_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reply");

    QTest::newRow("read coils") << "01 01 00 14 00 0A FC 09"
                                << "01 01 02 4D 03 CC AD";
    QTest::newRow("read registers") << "01 03 2F 0C 00 04 8C DE"
                                    << "01 03 08 12 34 56 78 9A BC DE F0 7A 25";
    QTest::newRow("write a coil") << "01 05 11 35 FF 00 99 08"
                                  << "01 05 11 35 FF 00 99 08";
    QTest::newRow("write a register") << "01 06 00 64 12 34 C5 62"
                                      << "01 06 00 64 12 34 C5 62";
    QTest::newRow("write registers") << "01 10 25 1C 00 02 04 12 34 56 78 2F 53"
                                     << "01 10 25 1C 00 02 8B 02";
}

void TstSimSlave::wholeFramesAreAnswered()
{
    QFETCH(QString, request);
    Line line;
    QTEST(toHex(line.exchange(hex(qPrintable(request)))), "reply");
}

void TstSimSlave::everyFunctionIsAnswered_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("01") << withCrc("01 01 00 14 00 08") << withCrc("01 01 01 4D");
    QTest::newRow("01, one coil") << withCrc("01 01 00 15 00 01") << withCrc("01 01 01 00");
    QTest::newRow("02") << withCrc("01 02 00 14 00 0A") << withCrc("01 02 02 4D 03");
    QTest::newRow("03") << withCrc("01 03 00 65 00 01") << withCrc("01 03 02 56 78");
    QTest::newRow("04") << withCrc("01 04 00 64 00 02") << withCrc("01 04 04 12 34 56 78");
    QTest::newRow("05, on") << withCrc("01 05 00 15 FF 00") << withCrc("01 05 00 15 FF 00");
    QTest::newRow("05, off") << withCrc("01 05 00 14 00 00") << withCrc("01 05 00 14 00 00");
    QTest::newRow("06") << withCrc("01 06 FF FF 00 03") << withCrc("01 06 FF FF 00 03");
    QTest::newRow("0F") << withCrc("01 0F 00 13 00 0A 02 CD 01") << withCrc("01 0F 00 13 00 0A");
    QTest::newRow("10") << withCrc("01 10 00 01 00 02 04 00 0A 01 02") << withCrc("01 10 00 01 00 02");
}

void TstSimSlave::everyFunctionIsAnswered()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    Line line;
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
}

void TstSimSlave::writesReachTheMemory()
{
    Line line;
    line.exchange(withCrc("01 05 00 15 FF 00"));
    line.exchange(withCrc("01 05 00 14 00 00"));
    QCOMPARE(coilsOf(line.memory(1), 20, 10), QStringLiteral("0111001011"));
    line.exchange(withCrc("01 06 00 64 AB CD"));
    line.exchange(withCrc("01 10 00 65 00 02 04 01 02 03 04"));
    QCOMPARE(registersOf(line.memory(1), 100, 4), QStringLiteral("AB CD 01 02 03 04 DE F0"));
    QCOMPARE(registersOf(line.memory(2), 100, 4), QStringLiteral("20 00 20 01 20 02 20 03"));
    QCOMPARE(coilsOf(line.memory(2), 20, 10), QStringLiteral("0100110100"));
}

void TstSimSlave::severalCoilsLeaveTheirNeighboursAlone()
{
    Line line;
    // Coils 21 to 29 become 0 1 0 0 1 1 0 1 0; the rest of the last byte is not theirs.
    line.exchange(withCrc("01 0F 00 15 00 09 02 B2 FE"));
    QCOMPARE(coilsOf(line.memory(1), 20, 10), QStringLiteral("1010011010"));
    line.memory(1).setCoil(30, false);
    line.exchange(withCrc("01 0F 00 15 00 09 02 B2 FF"));
    QCOMPARE(coilsOf(line.memory(1), 20, 11), QStringLiteral("10100110110"));
}

void TstSimSlave::bothReadFunctionsSeeTheSameCells()
{
    Line line;
    line.exchange(withCrc("01 05 27 10 FF 00"));
    line.exchange(withCrc("01 06 27 10 BE EF"));
    QCOMPARE(toHex(line.exchange(withCrc("01 02 27 10 00 01"))), toHex(withCrc("01 02 01 01")));
    QCOMPARE(toHex(line.exchange(withCrc("01 04 27 10 00 01"))), toHex(withCrc("01 04 02 BE EF")));
}

void TstSimSlave::exceptionsNameWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("unknown function 07") << withCrc("01 07") << withCrc("01 87 01");
    QTest::newRow("unknown function 2B") << withCrc("01 2B 0E 01 00") << withCrc("01 AB 01");
    QTest::newRow("function 00") << withCrc("01 00 00 00") << withCrc("01 80 01");
    QTest::newRow("01, no coil") << withCrc("01 01 00 00 00 00") << withCrc("01 81 03");
    QTest::newRow("01, 2001 coils") << withCrc("01 01 00 00 07 D1") << withCrc("01 81 03");
    QTest::newRow("02, 65535 coils") << withCrc("01 02 00 00 FF FF") << withCrc("01 82 03");
    QTest::newRow("03, no register") << withCrc("01 03 00 00 00 00") << withCrc("01 83 03");
    QTest::newRow("03, 126 registers") << withCrc("01 03 00 00 00 7E") << withCrc("01 83 03");
    QTest::newRow("04, 126 registers") << withCrc("01 04 00 00 00 7E") << withCrc("01 84 03");
    QTest::newRow("05, neither on nor off") << withCrc("01 05 00 00 FF 01") << withCrc("01 85 03");
    QTest::newRow("05, value 1") << withCrc("01 05 00 00 00 01") << withCrc("01 85 03");
    QTest::newRow("0F, no coil") << withCrc("01 0F 00 00 00 00 00") << withCrc("01 8F 03");
    QTest::newRow("0F, a byte too few") << withCrc("01 0F 00 00 00 09 01 FF") << withCrc("01 8F 03");
    QTest::newRow("0F, a byte too many") << withCrc("01 0F 00 00 00 08 02 FF 00") << withCrc("01 8F 03");
    QTest::newRow("0F, 1969 coils") << withCrc(("010F000007B1F7" + filled(247, 0)).constData()) << withCrc("01 8F 03");
    QTest::newRow("10, no register") << withCrc("01 10 00 00 00 00 00") << withCrc("01 90 03");
    QTest::newRow("10, a byte too few") << withCrc("01 10 00 00 00 01 01 FF") << withCrc("01 90 03");
    QTest::newRow("10, a word too many") << withCrc("01 10 00 00 00 01 04 00 00 00 00") << withCrc("01 90 03");
    QTest::newRow("10, 124 registers") << withCrc(("01100000007CF8" + filled(248, 0)).constData())
                                       << withCrc("01 90 03");
    QTest::newRow("01, over the end") << withCrc("01 01 FF FF 00 02") << withCrc("01 81 02");
    QTest::newRow("02, over the end") << withCrc("01 02 FF FF 00 02") << withCrc("01 82 02");
    QTest::newRow("03, over the end") << withCrc("01 03 FF FF 00 02") << withCrc("01 83 02");
    QTest::newRow("04, over the end") << withCrc("01 04 FF FF 00 02") << withCrc("01 84 02");
    QTest::newRow("05, in a gap") << withCrc("01 05 0F D0 FF 00") << withCrc("01 85 02");
    QTest::newRow("06, in a gap") << withCrc("01 06 20 40 00 00") << withCrc("01 86 02");
    QTest::newRow("0F, into a gap") << withCrc("01 0F 0F CF 00 02 01 03") << withCrc("01 8F 02");
    QTest::newRow("0F, over the end") << withCrc("01 0F FF FF 00 02 01 03") << withCrc("01 8F 02");
    QTest::newRow("10, into a gap") << withCrc("01 10 20 3F 00 02 04 00 00 00 00") << withCrc("01 90 02");
    QTest::newRow("10, over the end") << withCrc("01 10 FF FF 00 02 04 00 00 00 00") << withCrc("01 90 02");
    // The quantity or value is looked at before the address.
    QTest::newRow("01, both wrong") << withCrc("01 01 0F D0 07 D1") << withCrc("01 81 03");
    QTest::newRow("03, both wrong") << withCrc("01 03 20 40 00 00") << withCrc("01 83 03");
    QTest::newRow("05, both wrong") << withCrc("01 05 0F D0 12 34") << withCrc("01 85 03");
    QTest::newRow("0F, both wrong") << withCrc("01 0F 0F D0 00 00 00") << withCrc("01 8F 03");
    QTest::newRow("10, both wrong") << withCrc("01 10 20 40 00 01 00") << withCrc("01 90 03");
}

void TstSimSlave::exceptionsNameWhatIsWrong()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    Line line;
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
    QCOMPARE(line.slave.statistics().exceptions, 1);
}

void TstSimSlave::cellsInAGapAreIllegal_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<bool>("exists");

    const struct {
        const char *function, *lastBefore, *firstInside, *lastInside, *firstAfter;
    } gaps[] = {{"01 01", "0F CF", "0F D0", "11 2F", "11 30"}, {"01 01", "12 2F", "12 30", "17 6F", "17 70"},
                {"01 01", "1B 6F", "1B 70", "1F 3F", "1F 40"}, {"01 01", "20 3F", "20 40", "23 EF", "23 F0"},
                {"01 02", "24 EF", "24 F0", "27 0F", "27 10"}, {"01 03", "20 3F", "20 40", "21 33", "21 34"},
                {"01 03", "24 27", "24 28", "25 1B", "25 1C"}, {"01 04", "26 53", "26 54", "27 0F", "27 10"}};
    for (const auto &gap : gaps) {
        const QByteArray function = QByteArray(gap.function) + ' ';
        const auto add = [&](const char *number, const char *count, bool exists) {
            const QByteArray text = function + number + ' ' + count;
            QTest::newRow(text.constData()) << withCrc(text.constData()) << exists;
        };
        add(gap.lastBefore, "00 01", true);
        add(gap.lastBefore, "00 02", false);
        add(gap.firstInside, "00 01", false);
        add(gap.lastInside, "00 01", false);
        add(gap.lastInside, "00 02", false);
        add(gap.firstAfter, "00 01", true);
    }
    QTest::newRow("coils of two areas") << withCrc("01 01 04 AF 00 02") << true;
    QTest::newRow("registers of two areas") << withCrc("01 03 1F 3F 00 02") << true;
    QTest::newRow("the last coil") << withCrc("01 01 FF FF 00 01") << true;
    QTest::newRow("the last register") << withCrc("01 03 FF FF 00 01") << true;
}

void TstSimSlave::cellsInAGapAreIllegal()
{
    QFETCH(QByteArray, request);
    QFETCH(bool, exists);
    Line line;
    const QByteArray reply = line.exchange(request);
    const QByteArray refusal = QByteArray(1, '\x01').append(char(request.at(1) | 0x80)).append('\x02');
    if (exists)
        QCOMPARE(reply.at(1), request.at(1));
    else
        QCOMPARE(toHex(reply), toHex(withCrc(refusal.toHex().constData())));
}

void TstSimSlave::aRefusedWriteChangesNothing_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("coil, wrong value") << withCrc("01 05 00 14 12 34");
    QTest::newRow("coil in a gap") << withCrc("01 05 0F D0 FF 00");
    QTest::newRow("register in a gap") << withCrc("01 06 20 40 12 34");
    QTest::newRow("coils into a gap") << withCrc("01 0F 0F C0 00 20 04 55 AA 55 AA");
    QTest::newRow("coils over the end") << withCrc("01 0F FF F8 00 09 02 55 AA");
    QTest::newRow("registers into a gap") << withCrc("01 10 20 3E 00 03 06 00 00 12 34 56 78");
    QTest::newRow("registers over the end") << withCrc("01 10 FF FE 00 03 06 00 00 12 34 56 78");
    QTest::newRow("fewer words than stated") << withCrc("01 10 00 64 00 02 02 00 00");
}

void TstSimSlave::aRefusedWriteChangesNothing()
{
    QFETCH(QByteArray, request);
    Line line;
    const QByteArray before = wholeMemory(line.memory(1));
    QCOMPARE(line.exchange(request).size(), 5);
    QVERIFY(wholeMemory(line.memory(1)) == before);
}

void TstSimSlave::theLongestRequestsAreCarriedOut_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("size");

    QTest::newRow("2000 coils") << withCrc("01 01 27 10 07 D0") << hex("01 01 FA") << 255;
    QTest::newRow("1999 coils") << withCrc("01 01 27 10 07 CF") << hex("01 01 FA") << 255;
    QTest::newRow("125 registers") << withCrc("01 03 00 00 00 7D") << hex("01 03 FA") << 255;
    QTest::newRow("1968 coils in a write")
        << withCrc(("010F271007B0F6" + filled(246, '\x55')).constData()) << hex("01 0F 27 10 07 B0") << 8;
    QTest::newRow("123 registers in a write")
        << withCrc(("01100000007BF6" + filled(246, '\x55')).constData()) << hex("01 10 00 00 00 7B") << 8;
}

void TstSimSlave::theLongestRequestsAreCarriedOut()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, head);
    Line line;
    const QByteArray reply = line.exchange(request);
    QCOMPARE(toHex(reply.left(head.size())), toHex(head));
    QTEST(reply.size(), "size");
}

void TstSimSlave::theLongestWritesReachTheirLastCell()
{
    Line line;
    for (const int number : {11966, 11967, 11968})
        line.memory(1).setCoil(number, number != 11967);
    for (const int number : {122, 123})
        line.memory(1).setHoldingRegister(number, 0);
    line.exchange(withCrc(("010F271007B0F6" + filled(246, '\xAA')).constData()));
    line.exchange(withCrc(("01100000007BF6" + filled(246, '\x55')).constData()));
    QCOMPARE(coilsOf(line.memory(1), 10000, 8), QStringLiteral("01010101"));
    QCOMPARE(coilsOf(line.memory(1), 11966, 3), QStringLiteral("011"));
    QCOMPARE(registersOf(line.memory(1), 122, 2), QStringLiteral("55 55 00 00"));
}

void TstSimSlave::stationsAnswerForThemselves()
{
    Line line;
    QCOMPARE(line.slave.stations(), (QList<int>{1, 2}));
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 01"))), toHex(withCrc("01 03 02 12 34")));
    QCOMPARE(toHex(line.exchange(withCrc("02 03 00 64 00 01"))), toHex(withCrc("02 03 02 20 00")));
    line.exchange(withCrc("02 06 00 64 77 77"));
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 01"))), toHex(withCrc("01 03 02 12 34")));
    QCOMPARE(toHex(line.exchange(withCrc("02 03 00 64 00 01"))), toHex(withCrc("02 03 02 77 77")));
}

void TstSimSlave::aStationThatIsNotHereStaysSilent()
{
    Line line;
    const QList<SlaveAnswer> answers = line.slave.receive(withCrc("03 06 00 64 77 77"));
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers.first().station, 3);
    QCOMPARE(toHex(answers.first().reply), QString());
    QCOMPARE(line.slave.statistics().otherStations, 1);
    QCOMPARE(line.slave.statistics().requests, 0);
    QVERIFY(!line.slave.isPending());
    QVERIFY(!line.slave.memory(3));
    QCOMPARE(line.memory(1).holdingRegister(100), 0x1234);
}

void TstSimSlave::aBroadcastIsCarriedOutByAllAndNotAnswered_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("registers");
    QTest::addColumn<QString>("coils");

    const QString registers = QStringLiteral("12 34 56 78"), coils = QStringLiteral("1011");
    QTest::newRow("05") << withCrc("00 05 00 14 00 00") << registers << "0011";
    QTest::newRow("06") << withCrc("00 06 00 64 AB CD") << "AB CD 56 78" << coils;
    QTest::newRow("0F") << withCrc("00 0F 00 14 00 04 01 06") << registers << "0110";
    QTest::newRow("10") << withCrc("00 10 00 64 00 02 04 01 02 03 04") << "01 02 03 04" << coils;
    QTest::newRow("06 in a gap") << withCrc("00 06 20 40 AB CD") << registers << coils;
}

void TstSimSlave::aBroadcastIsCarriedOutByAllAndNotAnswered()
{
    QFETCH(QByteArray, request);
    Line line;
    for (int i = 0; i < 4; ++i) {
        line.memory(2).setHoldingRegister(100 + i, quint16(line.memory(1).holdingRegister(100 + i)));
        line.memory(2).setCoil(20 + i, line.memory(1).coil(20 + i));
    }
    QCOMPARE(toHex(line.exchange(request)), QString());
    for (const int station : {1, 2}) {
        QTEST(registersOf(line.memory(station), 100, 2), "registers");
        QTEST(coilsOf(line.memory(station), 20, 4), "coils");
    }
    QCOMPARE(line.slave.statistics().broadcasts, 1);
    QCOMPARE(line.slave.statistics().replies, 0);
}

void TstSimSlave::aBroadcastReadIsNotAnswered()
{
    Line line;
    QCOMPARE(toHex(line.exchange(withCrc("00 03 00 64 00 01"))), QString());
    QCOMPARE(toHex(line.exchange(withCrc("00 07"))), QString());
    QCOMPARE(line.slave.statistics().broadcasts, 2);
}

void TstSimSlave::answersSayWhatTheyAreFor()
{
    Line line;
    const QByteArray read = withCrc("02 03 00 64 00 01"), refused = withCrc("02 03 20 40 00 01"),
                     broadcast = withCrc("00 06 00 64 00 01");
    const QList<SlaveAnswer> answers = line.slave.receive(read + refused + broadcast);
    QCOMPARE(answers.size(), 3);
    QCOMPARE(answers.at(0).station, 2);
    QCOMPARE(answers.at(0).function, 3);
    QCOMPARE(answers.at(0).isException, false);
    QCOMPARE(toHex(answers.at(0).request), toHex(read));
    QCOMPARE(answers.at(1).function, 3);
    QCOMPARE(answers.at(1).isException, true);
    QCOMPARE(toHex(answers.at(1).reply), toHex(withCrc("02 83 02")));
    QCOMPARE(answers.at(2).station, 0);
    QCOMPARE(answers.at(2).function, 6);
    QCOMPARE(toHex(answers.at(2).request), toHex(broadcast));
    QCOMPARE(answers.at(2).reply.size(), 0);
}

void TstSimSlave::bytesMayComeOneByOne()
{
    Line line;
    const QByteArray request = withCrc("01 10 00 64 00 02 04 01 02 03 04");
    QList<SlaveAnswer> answers;
    for (int i = 0; i < request.size(); ++i) {
        QCOMPARE(answers.size(), 0);
        answers += line.slave.receive(request.mid(i, 1));
        QCOMPARE(line.slave.isPending(), i < request.size() - 1);
    }
    QCOMPARE(answers.size(), 1);
    QCOMPARE(toHex(answers.first().reply), toHex(withCrc("01 10 00 64 00 02")));
}

void TstSimSlave::requestsMayComeTogether()
{
    Line line;
    QCOMPARE(toHex(line.exchange(withCrc("01 06 00 64 00 05") + withCrc("01 03 00 64 00 01") + hex("01 03 00"))),
             toHex(withCrc("01 06 00 64 00 05") + withCrc("01 03 02 00 05")));
    QCOMPARE(line.slave.statistics().garbageBytes, 3);
}

void TstSimSlave::aWrongCheckIsNotAnswered()
{
    Line line;
    QByteArray request = withCrc("01 06 00 64 00 05");
    request[7] = char(request.at(7) ^ 1);
    QCOMPARE(toHex(line.exchange(request)), QString());
    QCOMPARE(line.memory(1).holdingRegister(100), 0x1234);
    QCOMPARE(line.slave.statistics().garbageBytes, 8);
    QVERIFY(!line.slave.isPending());
}

void TstSimSlave::aRequestBehindGarbageIsFoundInTheSilence()
{
    for (const char *garbage :
         {"00", "FF", "01", "01 03", "01 10 00 00 00 7B F6", "55 AA 01 05 12", "01 07 01 07 01 07"}) {
        Line line;
        QCOMPARE(line.slave.receive(hex(garbage) + withCrc("02 03 00 64 00 01")).size(), 0);
        QVERIFY(line.slave.isPending());
        const QList<SlaveAnswer> answers = line.slave.lineQuiet();
        QCOMPARE(answers.size(), 1);
        QCOMPARE(toHex(answers.first().reply), toHex(withCrc("02 03 02 20 00")));
        QVERIFY(!line.slave.isPending());
        QCOMPARE(line.slave.statistics().garbageBytes, qint64(hex(garbage).size()));
    }
}

void TstSimSlave::anUnknownFunctionIsAnsweredInTheSilenceOnly()
{
    Line line;
    QCOMPARE(line.slave.receive(withCrc("01 08 00 00 12 34")).size(), 0);
    const QList<SlaveAnswer> answers = line.slave.lineQuiet();
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers.first().function, 8);
    QCOMPARE(toHex(answers.first().reply), toHex(withCrc("01 88 01")));
    QCOMPARE(line.slave.statistics().garbageBytes, 0);
}

void TstSimSlave::resetForgetsHalfARequest()
{
    Line line;
    line.slave.receive(hex("01 03 00 64"));
    QVERIFY(line.slave.isPending());
    line.slave.reset();
    QVERIFY(!line.slave.isPending());
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 01"))), toHex(withCrc("01 03 02 12 34")));
    QCOMPARE(line.slave.statistics().garbageBytes, 0);
}

void TstSimSlave::aFloodDoesNotPileUp()
{
    Line line;
    QCOMPARE(line.slave.receive(QByteArray(200000, '\x55')).size(), 0);
    // What is still pending is no more than the longest request, 264 bytes.
    QCOMPARE(line.slave.statistics().garbageBytes, 200000 - 264);
    line.slave.lineQuiet();
    QCOMPARE(line.slave.statistics().garbageBytes, 200000);
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 01"))), toHex(withCrc("01 03 02 12 34")));
}

void TstSimSlave::aRequestAtTheEndOfAFloodIsAnswered()
{
    for (int garbage = 250; garbage < 280; ++garbage) {
        Line line;
        QCOMPARE(toHex(line.exchange(QByteArray(garbage, '\x55') + withCrc("01 03 00 64 00 01"))),
                 toHex(withCrc("01 03 02 12 34")));
        QCOMPARE(line.slave.statistics().garbageBytes, garbage);
    }
}

void TstSimSlave::hostileRequestsStayInside()
{
    Line line;
    std::mt19937 random(1);
    const int functions[] = {1, 2, 3, 4, 5, 6, 15, 16};
    for (int i = 0; i < 5000; ++i) {
        QByteArray text;
        text += char(random() % 3);
        text += char(functions[random() % 8]);
        for (int word = 0; word < 2; ++word)
            text.append(char(random() % 4 ? random() : 0xFF)).append(char(random()));
        if (text.at(1) == 15 || text.at(1) == 16) {
            const int bytes = int(random() % 256);
            text += char(bytes);
            for (int byte = 0; byte < bytes; ++byte)
                text += char(random());
        }
        const QByteArray reply = line.exchange(withCrc(text.toHex().constData()));
        QVERIFY(reply.size() <= 255);
        if (text.at(0) == 0) {
            QCOMPARE(reply.size(), 0);
            continue;
        }
        QVERIFY(reply.size() >= 5);
        QCOMPARE(reply.at(0), text.at(0));
        QCOMPARE(reply.at(1) & 0x7F, int(text.at(1)));
        QCOMPARE(toHex(reply), toHex(withCrc(reply.left(reply.size() - 2).toHex().constData())));
    }
    QCOMPARE(line.slave.statistics().requests + line.slave.statistics().broadcasts, 5000);
    QCOMPARE(line.slave.statistics().garbageBytes, 0);
}

void TstSimSlave::everythingIsCounted()
{
    Line line;
    line.exchange(withCrc("01 03 00 64 00 01"));
    line.exchange(withCrc("02 03 20 40 00 01"));
    line.exchange(withCrc("02 06 00 64 00 01"));
    line.exchange(withCrc("09 03 00 64 00 01"));
    line.exchange(withCrc("00 06 00 64 00 01"));
    line.exchange(hex("AA BB CC"));
    const SlaveStatistics &counted = line.slave.statistics();
    QCOMPARE(counted.requests, 3);
    QCOMPARE(counted.replies, 3);
    QCOMPARE(counted.exceptions, 1);
    QCOMPARE(counted.otherStations, 1);
    QCOMPARE(counted.broadcasts, 1);
    QCOMPARE(counted.garbageBytes, 3);
}

void TstSimSlave::addingAStationAgainKeepsItsMemory()
{
    Line line;
    PlcMemory *const one = line.slave.memory(1);
    for (int station = 3; station <= 247; ++station)
        line.slave.addStation(station);
    QCOMPARE(line.slave.addStation(1), one);
    QCOMPARE(line.slave.memory(1), one);
    QCOMPARE(line.memory(1).holdingRegister(100), 0x1234);
    QCOMPARE(line.slave.stations().size(), 247);
}

void TstSimSlave::stuckCellsAcknowledgeAWrite()
{
    Line line;
    line.memory(1).addStuckCell(101);
    QCOMPARE(toHex(line.exchange(withCrc("01 10 00 64 00 03 06 00 01 00 02 00 03"))),
             toHex(withCrc("01 10 00 64 00 03")));
    QCOMPARE(registersOf(line.memory(1), 100, 3), QStringLiteral("00 01 56 78 00 03"));
}

void TstSimSlave::liveCellsOfEveryStationMoveOn()
{
    Line line;
    LiveCell cell;
    cell.number = 100;
    line.memory(1).addLiveCell(cell);
    cell.number = 101;
    line.memory(2).addLiveCell(cell);
    line.slave.advanceTo(4200);
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 02"))), toHex(withCrc("01 03 04 00 2A 56 78")));
    QCOMPARE(toHex(line.exchange(withCrc("02 03 00 64 00 02"))), toHex(withCrc("02 03 04 20 00 00 2A")));
}

void TstSimSlave::epochsMoveOnTogether()
{
    Line line;
    line.memory(1).showEpochs();
    QCOMPARE(line.slave.epoch(), 0);
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 02"))), toHex(withCrc("01 03 04 FE 7E 66 0B")));
    line.slave.nextEpoch();
    QCOMPARE(line.slave.epoch(), 1);
    QCOMPARE(toHex(line.exchange(withCrc("01 03 00 64 00 01"))), toHex(withCrc("01 03 02 9C B3")));
    QCOMPARE(toHex(line.exchange(withCrc("02 03 00 64 00 01"))), toHex(withCrc("02 03 02 20 00")));
    line.exchange(withCrc("01 06 00 65 00 07"));
    line.slave.nextEpoch();
    QCOMPARE(line.memory(1).holdingRegister(101), 7);
    // One that starts later is in the same epoch as the others.
    line.memory(2).showEpochs();
    QCOMPARE(line.memory(2).holdingRegister(5), int(PlcMemory::epochRegister(2, 5, 2)));
    PlcMemory *const three = line.slave.addStation(3);
    three->showEpochs();
    QCOMPARE(three->holdingRegister(5), int(PlcMemory::epochRegister(3, 5, 2)));
}

QTEST_APPLESS_MAIN(TstSimSlave)
#include "tst_sim_slave.moc"
