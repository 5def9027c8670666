/// The simulated PLC behind the remote format: requests that describe a variable, answers of the ordinary form.
#include "tests/slave_memory.h"

#include <QtTest/QtTest>

#include <random>

namespace {

/// A frame as it goes onto the line: its length in front (the text has 00 there) and its sum behind.
QByteArray sealed(QByteArray frame)
{
    frame[0] = char(frame.size() + 1);
    unsigned sum = 0;
    for (const char byte : qAsConst(frame))
        sum += static_cast<quint8>(byte);
    return frame.append(char(sum));
}

QByteArray withSum(const char *text)
{
    return sealed(hex(text));
}

/// A request to station 5, of connection 1 and panel station 1.
QByteArray request(int rwFlag, int deviceType, qint64 address, int count, const QByteArray &value = QByteArray())
{
    QByteArray frame(21, '\0');
    frame[1] = 1;
    frame[2] = char(rwFlag);
    frame[3] = 1;
    frame[4] = 5;
    frame[5] = char(deviceType >> 8);
    frame[6] = char(deviceType);
    for (int i = 0; i < 4; ++i)
        frame[7 + i] = char(address >> 8 * (3 - i));
    frame[11] = char(count >> 8);
    frame[12] = char(count);
    return sealed(frame + value);
}

QByteArray read(int deviceType, qint64 address, int count)
{
    return request(0, deviceType, address, count);
}

QByteArray write(int deviceType, qint64 address, int count, const char *value)
{
    return request(1, deviceType, address, count, hex(value));
}

/// Stations 5 and 6; registers of 5 hold twice their number, its coils are on where the number divides by 3.
struct Line {
    Line() : slave(RequestFormat::Remote)
    {
        PlcMemory *const five = slave.addStation(5);
        for (int number = 0; number < PlcMemory::Cells; ++number) {
            five->setHoldingRegister(number, quint16(2 * number));
            five->setCoil(number, number % 3 == 0);
        }
        slave.addStation(6);
    }

    QByteArray exchange(const QByteArray &bytes) { return ::exchange(slave, bytes); }
    PlcMemory &memory(int station = 5) { return *slave.memory(station); }

    Slave slave;
};

} // namespace

class TstSimRemote : public QObject {
    Q_OBJECT

private slots:
    void wholeFramesAreAnswered_data();
    void wholeFramesAreAnswered();
    void everyTypeIsReadFromItsCells_data();
    void everyTypeIsReadFromItsCells();
    void readsHaveTheLengthOfTheirType_data();
    void readsHaveTheLengthOfTheirType();
    void everyTypeIsWrittenToItsCells_data();
    void everyTypeIsWrittenToItsCells();
    void aBitGoesToItsCoil_data();
    void aBitGoesToItsCoil();
    void aBitInAWordLeavesTheOtherBits_data();
    void aBitInAWordLeavesTheOtherBits();
    void whatThePanelSaysOfItselfDoesNotMatter();
    void illegalRequestsAreRefused_data();
    void illegalRequestsAreRefused();
    void aRefusedWriteChangesNothing_data();
    void aRefusedWriteChangesNothing();
    void aWriteOfMoreThan255BytesIsWhole();
    void theLongestReadAndWriteAreCarriedOut();
    void aValueOfAWrongLengthIsRefusedInTheSilence();
    void aBroadcastIsCarriedOutByAllAndNotAnswered();
    void aStationThatIsNotHereStaysSilent();
    void answersSayWhatTheyAreFor();
    void bytesMayComeOneByOne();
    void requestsMayComeTogether();
    void whatIsNoRequestIsNotAnswered_data();
    void whatIsNoRequestIsNotAnswered();
    void aRequestBehindGarbageIsFoundInTheSilence();
    void aFloodDoesNotPileUp_data();
    void aFloodDoesNotPileUp();
    void hostileRequestsStayInside();
};

void TstSimRemote::wholeFramesAreAnswered_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reply");

    QTest::newRow("read 16 bits") << "16 03 00 02 05 00 02 00 00 00 0A 00 02 FF FF FF FF 00 00 00 00 2A"
                                  << "05 01 02 49 92 FE 01";
    QTest::newRow("read two 32-bit values") << "16 03 00 02 05 00 0D 00 00 00 38 00 02 FF FF FF FF 00 00 00 07 6A"
                                            << "05 03 08 12 34 56 78 9A BC DE F0 6F 15";
    QTest::newRow("write a bit") << "17 01 01 01 05 00 03 00 00 00 05 00 01 00 00 00 00 00 00 00 00 01 29"
                                 << "05 05 11 35 FF 00 98 8C";
    QTest::newRow("write a word") << "18 01 01 01 05 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 34 12 D2"
                                  << "05 06 00 64 12 34 C4 E6";
    QTest::newRow("write two words") << "1A 01 01 01 05 00 0A 00 00 00 00 00 02 00 00 00 00 00 00 00 00 34 12 78 56 42"
                                     << "05 10 25 1C 00 02 8A 86";
}

void TstSimRemote::wholeFramesAreAnswered()
{
    QFETCH(QString, request);
    Line line;
    const int words[] = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
    for (int i = 0; i < 4; ++i)
        line.memory().setHoldingRegister(10000 + i, quint16(words[i]));
    QTEST(toHex(line.exchange(hex(qPrintable(request)))), "reply");
}

void TstSimRemote::everyTypeIsReadFromItsCells_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    // Coil n is on where n divides by 3: from 1200 on the first byte is 01001001b, low bit first.
    QTest::newRow("0") << read(0, 0, 1) << withCrc("05 01 01 49");
    QTest::newRow("1") << read(1, 1, 2) << withCrc("05 01 02 24 49");
    QTest::newRow("2, high piece") << read(2, 2048, 1) << withCrc("05 01 01 49");
    QTest::newRow("2, both pieces") << read(2, 2044, 1) << withCrc("05 01 01 99"); // coils 4044-4047, 12000-12003
    QTest::newRow("6") << read(6, 0, 1) << withCrc("05 01 01 92");
    QTest::newRow("7") << read(7, 5, 2) << withCrc("05 03 04 00 0A 00 0C");
    QTest::newRow("8") << read(8, 0, 1) << withCrc("05 03 02 3E 80");
    QTest::newRow("8, both pieces") << read(8, 255, 2) << withCrc("05 03 04 40 7E 5D C0");
    QTest::newRow("9, high piece") << read(9, 256, 1) << withCrc("05 03 02 55 F0");
    QTest::newRow("10") << read(10, 0, 1) << withCrc("05 03 02 4A 38");
    QTest::newRow("11") << read(11, 3, 1) << withCrc("05 03 02 42 6E");
    QTest::newRow("12") << read(12, 5, 2) << withCrc("05 03 04 00 0A 00 0C");
    QTest::newRow("13, both pieces") << read(13, 55, 2) << withCrc("05 03 08 4C A4 4C A6 4E 20 4E 22");
    QTest::newRow("14") << read(14, 256, 2) << withCrc("05 03 04 5D C0 5D C2");
    QTest::newRow("15") << read(15, 163, 2) << withCrc("05 03 04 00 14 00 16");
    QTest::newRow("16") << read(16, 4096, 1) << withCrc("05 03 02 5D C0");
    QTest::newRow("17") << read(17, 48, 1) << withCrc("05 03 02 42 6E");
    QTest::newRow("100") << read(100, 0, 1) << withCrc("05 03 02 65 90");
    QTest::newRow("101") << read(101, 10, 2) << withCrc("05 03 04 65 A4 65 A6");
    QTest::newRow("102") << read(102, 16, 1) << withCrc("05 03 02 65 92");
    QTest::newRow("the last register") << read(7, 65535, 1) << withCrc("05 03 02 FF FE");
}

void TstSimRemote::everyTypeIsReadFromItsCells()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    Line line;
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
}

void TstSimRemote::readsHaveTheLengthOfTheirType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("bytes");

    for (const int type : {0, 1, 2, 3, 4, 5, 6})
        QTest::addRow("bits, type %d", type) << type << 7 << 7;
    for (const int type : {7, 8, 9, 10, 11, 12, 14, 15, 16, 17, 100, 101, 102})
        QTest::addRow("words, type %d", type) << type << 7 << 14;
    QTest::newRow("32-bit values") << 13 << 7 << 28;
    QTest::newRow("bytes beyond 255") << 2 << 300 << 300;
    QTest::newRow("words beyond 255 bytes") << 7 << 200 << 400;
    QTest::newRow("values beyond 255 bytes") << 13 << 100 << 400;
}

void TstSimRemote::readsHaveTheLengthOfTheirType()
{
    QFETCH(int, type);
    QFETCH(int, count);
    QFETCH(int, bytes);
    Line line;
    const QByteArray reply = line.exchange(read(type, 0, count));
    QCOMPARE(reply.size(), bytes + 5);
    QCOMPARE(int(quint8(reply.at(1))), type <= 6 ? 1 : 3);
    QCOMPARE(int(quint8(reply.at(2))), bytes % 256);
    QCOMPARE(toHex(reply), toHex(withCrc(reply.left(bytes + 3).toHex().constData())));
}

void TstSimRemote::everyTypeIsWrittenToItsCells_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("first");
    QTest::addColumn<QString>("registers"); ///< The cells written and one behind them.

    QTest::newRow("7, one word") << write(7, 10, 1, "34 12") << withCrc("05 06 00 0A 12 34") << 10 << "12 34 00 16";
    QTest::newRow("7, two words") << write(7, 10, 2, "34 12 78 56") << withCrc("05 10 00 0A 00 02") << 10
                                  << "12 34 56 78 00 18";
    QTest::newRow("8") << write(8, 256, 1, "34 12") << withCrc("05 06 2E E0 12 34") << 12000 << "12 34 5D C2";
    QTest::newRow("9") << write(9, 0, 2, "01 02 03 04") << withCrc("05 10 23 28 00 02") << 9000 << "02 01 04 03 46 54";
    QTest::newRow("10") << write(10, 0, 1, "FF 00") << withCrc("05 06 25 1C 00 FF") << 9500 << "00 FF 4A 3A";
    QTest::newRow("11") << write(11, 3, 1, "00 FF") << withCrc("05 06 21 37 FF 00") << 8503 << "FF 00 42 70";
    QTest::newRow("12") << write(12, 10, 2, "78 56 34 12") << withCrc("05 10 00 0A 00 02") << 10 << "12 34 56 78 00 18";
    QTest::newRow("12, two values") << write(12, 10, 4, "78 56 34 12 F0 DE BC 9A") << withCrc("05 10 00 0A 00 04") << 10
                                    << "12 34 56 78 9A BC DE F0 00 1C";
    QTest::newRow("12, one register") << write(12, 10, 1, "34 12") << withCrc("05 06 00 0A 12 34") << 10
                                      << "12 34 00 16";
    QTest::newRow("12, an odd register") << write(12, 10, 3, "78 56 34 12 0F 0E") << withCrc("05 10 00 0A 00 03") << 10
                                         << "12 34 56 78 0E 0F 00 1A";
    QTest::newRow("13, one value") << write(13, 56, 1, "78 56 34 12") << withCrc("05 10 27 10 00 02") << 10000
                                   << "12 34 56 78 4E 24";
    QTest::newRow("13, two values") << write(13, 0, 2, "78 56 34 12 F0 DE BC 9A") << withCrc("05 10 25 E4 00 04")
                                    << 9700 << "12 34 56 78 9A BC DE F0 4B D0";
    QTest::newRow("14") << write(14, 0, 2, "78 56 34 12") << withCrc("05 10 1F 40 00 02") << 8000
                        << "12 34 56 78 3E 84";
    QTest::newRow("100") << write(100, 10, 1, "34 12") << withCrc("05 06 32 D2 12 34") << 13010 << "12 34 65 A6";
    QTest::newRow("101") << write(101, 10, 2, "78 56 34 12") << withCrc("05 10 32 D2 00 02") << 13010
                         << "12 34 56 78 65 A8";
    QTest::newRow("14, in both pieces") << write(14, 255, 2, "78 56 34 12") << withCrc("05 10 20 3F 00 02") << 12000
                                        << "56 78 5D C2";
}

void TstSimRemote::everyTypeIsWrittenToItsCells()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    QFETCH(int, first);
    QFETCH(QString, registers);
    Line line;
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
    QCOMPARE(registersOf(line.memory(), first, (registers.size() + 1) / 6), registers);
}

void TstSimRemote::aBitGoesToItsCoil_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("coil");
    QTest::addColumn<bool>("on");

    QTest::newRow("0, on") << write(0, 2, 1, "01") << withCrc("05 05 04 B2 FF 00") << 1202 << true;
    QTest::newRow("1, on") << write(1, 1, 1, "01") << withCrc("05 05 00 01 FF 00") << 1 << true;
    QTest::newRow("1, off") << write(1, 3, 1, "00") << withCrc("05 05 00 03 00 00") << 3 << false;
    QTest::newRow("1, off by any other value") << write(1, 3, 1, "02") << withCrc("05 05 00 03 00 00") << 3 << false;
    QTest::newRow("2, high piece") << write(2, 2049, 1, "01") << withCrc("05 05 2E E1 FF 00") << 12001 << true;
    QTest::newRow("3") << write(3, 5, 1, "01") << withCrc("05 05 11 35 FF 00") << 4405 << true;
    QTest::newRow("4, high piece") << write(4, 1024, 1, "01") << withCrc("05 05 79 18 FF 00") << 31000 << true;
    QTest::newRow("5") << write(5, 0, 1, "01") << withCrc("05 05 1F 40 FF 00") << 8000 << true;
    QTest::newRow("6") << write(6, 0, 1, "01") << withCrc("05 05 23 F0 FF 00") << 9200 << true;
    QTest::newRow("whatever the count") << write(1, 1, 9, "01") << withCrc("05 05 00 01 FF 00") << 1 << true;
}

void TstSimRemote::aBitGoesToItsCoil()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    QFETCH(int, coil);
    QFETCH(bool, on);
    Line line;
    line.memory().setCoil(coil, !on);
    const bool next = line.memory().coil(coil + 1);
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
    QCOMPARE(line.memory().coil(coil), on);
    QCOMPARE(line.memory().coil(coil + 1), next);
}

void TstSimRemote::aBitInAWordLeavesTheOtherBits_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("word"); ///< From 0x0FF0.

    QTest::newRow("set") << write(15, 163, 1, "01") << withCrc("05 06 00 0A 0F F8") << 10 << 0x0FF8;
    QTest::newRow("set already") << write(15, 164, 1, "01") << withCrc("05 06 00 0A 0F F0") << 10 << 0x0FF0;
    QTest::newRow("clear") << write(15, 164, 1, "00") << withCrc("05 06 00 0A 0F E0") << 10 << 0x0FE0;
    QTest::newRow("any other value") << write(15, 164, 1, "02") << withCrc("05 06 00 0A 0F F0") << 10 << 0x0FF0;
    QTest::newRow("the highest bit") << write(15, 15, 1, "01") << withCrc("05 06 00 00 8F F0") << 0 << 0x8FF0;
    QTest::newRow("16, high piece") << write(16, 4096, 1, "01") << withCrc("05 06 2E E0 0F F1") << 12000 << 0x0FF1;
    QTest::newRow("17") << write(17, 48, 1, "01") << withCrc("05 06 21 37 0F F1") << 8503 << 0x0FF1;
    QTest::newRow("102") << write(102, 31, 1, "01") << withCrc("05 06 32 C9 8F F0") << 13001 << 0x8FF0;
}

void TstSimRemote::aBitInAWordLeavesTheOtherBits()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    QFETCH(int, number);
    Line line;
    line.memory().setHoldingRegister(number, 0x0FF0);
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
    QTEST(line.memory().holdingRegister(number), "word");
}

void TstSimRemote::whatThePanelSaysOfItselfDoesNotMatter()
{
    const QString reply = toHex(withCrc("05 03 02 00 C8"));
    for (const char *text : {"00 00 00 00 05 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00",
                             "00 FF 00 FF 05 00 07 00 00 00 64 00 01 FF FF FF FF FF FF FF FF",
                             "00 01 00 05 05 00 07 00 00 00 64 00 01 00 00 00 07 12 34 56 78"}) {
        Line line;
        QCOMPARE(toHex(line.exchange(withSum(text))), reply);
    }
}

void TstSimRemote::illegalRequestsAreRefused_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("read of no byte") << read(2, 0, 0) << withCrc("05 81 03");
    QTest::newRow("read of no word") << read(7, 0, 0) << withCrc("05 83 03");
    QTest::newRow("read of too many bytes") << read(4, 1024, 4097) << withCrc("05 81 03");
    QTest::newRow("read of too many words") << read(7, 0, 2049) << withCrc("05 83 03");
    QTest::newRow("read of too many values") << read(13, 0, 1025) << withCrc("05 83 03");
    QTest::newRow("read of 65535 values") << read(13, 0, 65535) << withCrc("05 83 03");
    QTest::newRow("read into a gap of coils") << read(1, 4041, 1) << withCrc("05 81 02");
    QTest::newRow("read into a gap of registers") << read(7, 8255, 2) << withCrc("05 83 02");
    QTest::newRow("read over the end") << read(7, 65535, 2) << withCrc("05 83 02");
    QTest::newRow("read of bits over the end") << read(1, 65529, 1) << withCrc("05 81 02");
    QTest::newRow("read below the first element") << read(8, -3, 1) << withCrc("05 83 02");
    QTest::newRow("read of a far element") << read(13, 0x7FFFFFFF, 2) << withCrc("05 83 02");
    QTest::newRow("read of a far bit in a word") << read(15, 0x7FFFFFFF, 2) << withCrc("05 83 02");
    QTest::newRow("read of an unknown type") << read(18, 0, 1) << withCrc("05 83 02");
    QTest::newRow("read of a negative type") << read(0xFFFF, 0, 1) << withCrc("05 83 02");
    QTest::newRow("write of no word") << write(7, 0, 0, "") << withCrc("05 90 03");
    QTest::newRow("write of no value") << write(13, 0, 0, "") << withCrc("05 90 03");
    QTest::newRow("write of a bit in a gap") << write(1, 4048, 1, "01") << withCrc("05 85 02");
    QTest::newRow("write of a word in a gap") << write(7, 8256, 1, "01 00") << withCrc("05 86 02");
    QTest::newRow("write into a gap") << write(7, 8255, 2, "01 00 02 00") << withCrc("05 90 02");
    QTest::newRow("write of a bit in a word in a gap") << write(15, 8256 * 16, 1, "01") << withCrc("05 86 02");
    QTest::newRow("write of a value over the end") << write(13, 27824, 1, "01 02 03 04") << withCrc("05 90 02");
    QTest::newRow("write below the first bit") << write(15, -1, 1, "01") << withCrc("05 86 02");
    QTest::newRow("write of an unknown type") << write(99, 0, 1, "01 00") << withCrc("05 86 02");
}

void TstSimRemote::illegalRequestsAreRefused()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, reply);
    Line line;
    QCOMPARE(toHex(line.exchange(request)), toHex(reply));
    QCOMPARE(line.slave.statistics().exceptions, 1);
}

void TstSimRemote::aRefusedWriteChangesNothing_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("words into a gap") << write(7, 8254, 3, "FF FF FF FF FF FF");
    QTest::newRow("words over the end") << write(7, 65534, 3, "FF FF FF FF FF FF");
    QTest::newRow("a value in a gap") << write(12, 8255, 2, "FF FF FF FF");
    QTest::newRow("a bit in a word in a gap") << write(15, 8256 * 16, 1, "01");
    QTest::newRow("a bit in a gap") << write(1, 4048, 1, "01");
}

void TstSimRemote::aRefusedWriteChangesNothing()
{
    QFETCH(QByteArray, request);
    Line line;
    const QByteArray before = wholeMemory(line.memory());
    QCOMPARE(line.exchange(request).size(), 5);
    QVERIFY(wholeMemory(line.memory()) == before);
}

void TstSimRemote::aWriteOfMoreThan255BytesIsWhole()
{
    Line line;
    const QByteArray frame = request(1, 7, 0, 120, QByteArray(240, '\x11'));
    QCOMPARE(frame.size(), 262);
    QCOMPARE(int(frame.at(0)), 6);
    QCOMPARE(line.slave.receive(frame.left(261)).size(), 0);
    const QList<SlaveAnswer> answers = line.slave.receive(frame.mid(261));
    QCOMPARE(answers.size(), 1);
    QCOMPARE(toHex(answers.first().reply), toHex(withCrc("05 10 00 00 00 78")));
    QCOMPARE(registersOf(line.memory(), 119, 2), QStringLiteral("11 11 00 F0"));
    // 256 bytes and their multiples have a length byte of 0.
    const QByteArray even = request(1, 7, 0, 117, QByteArray(234, '\x22'));
    QCOMPARE(even.size(), 256);
    QCOMPARE(int(even.at(0)), 0);
    QCOMPARE(toHex(line.exchange(even)), toHex(withCrc("05 10 00 00 00 75")));
}

void TstSimRemote::theLongestReadAndWriteAreCarriedOut()
{
    Line line;
    QCOMPARE(line.exchange(read(7, 0, 2048)).size(), 4101);
    QCOMPARE(line.exchange(read(13, 56, 1024)).size(), 4101);
    QCOMPARE(line.exchange(read(4, 1024, 4096)).size(), 4101);
    QCOMPARE(toHex(line.exchange(request(1, 7, 0, 2048, QByteArray(4096, '\x33')))),
             toHex(withCrc("05 10 00 00 08 00")));
    QCOMPARE(registersOf(line.memory(), 2047, 2), QStringLiteral("33 33 10 00"));
    // One more is taken for no request at all.
    QCOMPARE(toHex(line.exchange(request(1, 7, 0, 2049, QByteArray(4098, '\x44')))), QString());
    QCOMPARE(line.memory().holdingRegister(0), 0x3333);
}

void TstSimRemote::aValueOfAWrongLengthIsRefusedInTheSilence()
{
    const struct {
        QByteArray request;
        const char *reply;
    } rows[] = {{write(7, 0, 2, "01 02"), "05 90 03"},  {write(7, 0, 1, "01 02 03"), "05 86 03"},
                {write(13, 0, 1, "01 02"), "05 90 03"}, {write(1, 0, 1, ""), "05 85 03"},
                {write(1, 0, 1, "01 01"), "05 85 03"},  {write(15, 0, 1, "01 00"), "05 86 03"}};
    for (const auto &row : rows) {
        Line line;
        const QByteArray before = wholeMemory(line.memory());
        QCOMPARE(line.slave.receive(row.request).size(), 0);
        const QList<SlaveAnswer> answers = line.slave.lineQuiet();
        QCOMPARE(answers.size(), 1);
        QCOMPARE(toHex(answers.first().reply), toHex(withCrc(row.reply)));
        QVERIFY(wholeMemory(line.memory()) == before);
        QVERIFY(!line.slave.isPending());
    }
}

void TstSimRemote::aBroadcastIsCarriedOutByAllAndNotAnswered()
{
    Line line;
    QCOMPARE(toHex(line.exchange(withSum("00 01 01 01 00 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 34 12"))),
             QString());
    QCOMPARE(line.memory(5).holdingRegister(100), 0x1234);
    QCOMPARE(line.memory(6).holdingRegister(100), 0x1234);
    QCOMPARE(toHex(line.exchange(withSum("00 01 00 01 00 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00"))),
             QString());
    QCOMPARE(line.slave.statistics().broadcasts, 2);
    QCOMPARE(line.slave.statistics().requests, 0);
}

void TstSimRemote::aStationThatIsNotHereStaysSilent()
{
    Line line;
    const QList<SlaveAnswer> answers =
        line.slave.receive(withSum("00 01 00 01 07 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00"));
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers.first().station, 7);
    QCOMPARE(answers.first().reply.size(), 0);
    QCOMPARE(line.slave.statistics().otherStations, 1);
}

void TstSimRemote::answersSayWhatTheyAreFor()
{
    Line line;
    const QList<SlaveAnswer> answers =
        line.slave.receive(read(2, 0, 1) + write(7, 0, 1, "01 00") + write(7, 0, 2, "01 00 02 00") + read(7, 8256, 1));
    QCOMPARE(answers.size(), 4);
    const int functions[] = {1, 6, 16, 3};
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(answers.at(i).station, 5);
        QCOMPARE(answers.at(i).function, functions[i]);
        QCOMPARE(answers.at(i).isException, i == 3);
    }
    QCOMPARE(toHex(answers.at(0).request), toHex(read(2, 0, 1)));
}

void TstSimRemote::bytesMayComeOneByOne()
{
    for (const QByteArray &frame :
         {read(7, 5, 2), write(7, 5, 2, "01 02 03 04"), request(1, 7, 0, 130, QByteArray(260, 0))}) {
        Line line;
        int answers = 0;
        for (int i = 0; i < frame.size(); ++i) {
            QCOMPARE(answers, 0);
            answers += line.slave.receive(frame.mid(i, 1)).size();
            QCOMPARE(line.slave.isPending(), i < frame.size() - 1);
        }
        QCOMPARE(answers, 1);
    }
}

void TstSimRemote::requestsMayComeTogether()
{
    Line line;
    QCOMPARE(toHex(line.exchange(write(7, 5, 2, "01 02 03 04") + read(7, 5, 2) + read(1, 1, 2))),
             toHex(withCrc("05 10 00 05 00 02") + withCrc("05 03 04 02 01 04 03") + withCrc("05 01 02 24 49")));
}

void TstSimRemote::whatIsNoRequestIsNotAnswered_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QByteArray wrongSum = read(7, 5, 2);
    wrongSum[21] = char(wrongSum.at(21) ^ 1);
    QByteArray wrongLength = read(7, 5, 2);
    wrongLength[0] = 23;
    wrongLength[21] = char(wrongLength.at(21) + 1);
    QTest::newRow("wrong sum") << wrongSum;
    QTest::newRow("wrong length") << wrongLength;
    QTest::newRow("neither read nor write") << request(2, 7, 5, 2);
    QTest::newRow("a byte missing") << read(7, 5, 2).left(21);
    QTest::newRow("one byte") << hex("16");
    QTest::newRow("a read with a value") << request(0, 7, 5, 1, hex("01 02"));
    QTest::newRow("a Modbus request") << withCrc("05 03 00 05 00 02");
    QTest::newRow("zeros") << QByteArray(100, '\0');
}

void TstSimRemote::whatIsNoRequestIsNotAnswered()
{
    QFETCH(QByteArray, bytes);
    Line line;
    QCOMPARE(toHex(line.exchange(bytes)), QString());
    QVERIFY(!line.slave.isPending());
    QCOMPARE(line.slave.statistics().garbageBytes, qint64(bytes.size()));
}

void TstSimRemote::aRequestBehindGarbageIsFoundInTheSilence()
{
    for (const char *garbage : {"00", "FF", "16", "16 01", "16 01 00", "16 01 00 16 01 00", "1A 01 01 01 05 00 0A"}) {
        Line line;
        QCOMPARE(line.slave.receive(hex(garbage) + read(7, 5, 2)).size(), 0);
        QCOMPARE(toHex(line.exchange(QByteArray())), toHex(withCrc("05 03 04 00 0A 00 0C")));
        QCOMPARE(line.slave.statistics().garbageBytes, qint64(hex(garbage).size()));
    }
}

void TstSimRemote::aFloodDoesNotPileUp_data()
{
    QTest::addColumn<QByteArray>("piece");

    QTest::newRow("bytes that no request has") << hex("55");
    QTest::newRow("bytes that every byte could start a write with") << hex("01");
    QTest::newRow("heads of long writes") << write(7, 0, 2045, "").left(21);
}

void TstSimRemote::aFloodDoesNotPileUp()
{
    QFETCH(QByteArray, piece);
    Line line;
    const int size = 100000 / piece.size() * piece.size();
    QCOMPARE(line.slave.receive(piece.repeated(size / piece.size())).size(), 0);
    // What is still pending is no more than the longest request, 4118 bytes.
    QVERIFY(line.slave.statistics().garbageBytes >= size - 4118);
    line.slave.lineQuiet();
    QCOMPARE(line.slave.statistics().garbageBytes, qint64(size));
    QCOMPARE(toHex(line.exchange(read(7, 5, 2))), toHex(withCrc("05 03 04 00 0A 00 0C")));
}

void TstSimRemote::hostileRequestsStayInside()
{
    Line line;
    std::mt19937 random(1);
    const qint64 addresses[] = {0, 255, 256, 8255, 65535, 0x7FFFFFFF, -1, -0x7FFFFFFF};
    for (int i = 0; i < 5000; ++i) {
        const int rwFlag = int(random() % 2), type = int(random() % 4 ? random() % 18 : random() % 65536);
        const int count = int(random() % 4 ? random() % 8 : random() % 65536);
        const QByteArray value(rwFlag ? int(random() % 2 ? 2 * (count % 2000) : random() % 40) : 0, char(random()));
        const qint64 address = random() % 2 ? addresses[random() % 8] : qint64(random() % 12000);
        const QByteArray reply = line.exchange(request(rwFlag, type, address, count, value));
        QVERIFY(reply.size() <= 4101);
        if (reply.isEmpty())
            continue;
        QCOMPARE(int(reply.at(0)), 5);
        QCOMPARE(toHex(reply), toHex(withCrc(reply.left(reply.size() - 2).toHex().constData())));
    }
    QVERIFY(line.slave.statistics().requests > 4000);
    QVERIFY(line.slave.statistics().replies > line.slave.statistics().exceptions);
}

QTEST_APPLESS_MAIN(TstSimRemote)
#include "tst_sim_remote.moc"
