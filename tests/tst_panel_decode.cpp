/// Frames and traces in words.
#include "host/decode.h"
#include "host/plugin.h"
#include "tests/bytes_text.h"

#include <QtTest/QtTest>

#include <limits>
#include <random>

Q_DECLARE_METATYPE(FrameDirection)

class TstPanelDecode : public QObject {
    Q_OBJECT

private:
    Plugin plugin;

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(plugin.load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
    }

    void hexIsReadAsPeopleWriteIt_data()
    {
        QTest::addColumn<QString>("text");

        QTest::newRow("blanks") << "01 03 AB";
        QTest::newRow("together") << "0103ab";
        QTest::newRow("C") << "0x01,0x03,0xAB";
        QTest::newRow("C with blanks") << "0X01, 0x03, 0xab,";
        QTest::newRow("one prefix") << "0x0103AB";
        QTest::newRow("colons") << "01:03:ab";
        QTest::newRow("hyphens and lines") << " 01-03\n\tAB ";
        QTest::newRow("semicolons") << "01;03;AB";
    }

    void hexIsReadAsPeopleWriteIt()
    {
        QFETCH(QString, text);
        QByteArray bytes;
        QString error;
        QVERIFY2(parseHex(text, &bytes, &error), qPrintable(error));
        QCOMPARE(toHex(bytes), QStringLiteral("01 03 AB"));
    }

    void whatIsNoHexIsNamedWithItsPlace_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("error");

        const QString expected = QStringLiteral(": expected two hexadecimal digits for each byte");
        QTest::newRow("odd") << "01 0"
                             << "character 5" + expected;
        QTest::newRow("odd together") << "01033"
                                      << "character 6" + expected;
        QTest::newRow("odd inside") << "01 3 04"
                                    << "character 5" + expected;
        QTest::newRow("letter") << "01 0G"
                                << "character 5, 'G'" + expected;
        QTest::newRow("first letter") << "x1"
                                      << "character 1, 'x'" + expected;
        QTest::newRow("prefix alone") << "01 0x"
                                      << "character 6" + expected;
        QTest::newRow("prefix inside") << "010x03"
                                       << "character 4, 'x'" + expected;
        QTest::newRow("percent") << "%1"
                                 << "character 1, '%'" + expected;
        QTest::newRow("other digits") << QString::fromUtf8("\xD9\xA1\xD9\xA1")
                                      << QString::fromUtf8("character 1, '\xD9\xA1'") + expected;
        QTest::newRow("nothing") << " , "
                                 << "no bytes: expected hexadecimal digits, \"01 03 00 00 00 01 84 0A\"";
    }

    void whatIsNoHexIsNamedWithItsPlace()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);
        QByteArray bytes = "kept";
        QString got;
        QVERIFY(!parseHex(text, &bytes, &got));
        QCOMPARE(got, error);
        QCOMPARE(bytes, QByteArray("kept"));
    }

    void aFrameIsSaidInWords_data()
    {
        QTest::addColumn<QString>("frame");
        QTest::addColumn<QStringList>("words");

        const auto row = [](const char *name, const char *frame, const QStringList &words) {
            QTest::newRow(name) << QString::fromLatin1(frame) << words;
        };
        row("read request", "01 03 2F 0C 00 04 8C DE",
            {"request to station 1: read holding registers (03), 4 registers from 12044 (code 8 at 300) to 12047 (code "
             "8 "
             "at 303)",
             "CRC 8C DE is right"});
        row("request for no register", "01 03 00 64 00 00 04 15",
            {"request to station 1: read holding registers (03), no registers from 100 (code 7 at 100)",
             "CRC 04 15 is right"});
        row("read reply", "01 03 04 00 01 AB CD 15 56",
            {"reply of station 1: read holding registers (03), 4 bytes", "value 1 = 1 (0x0001)",
             "value 2 = 43981 (0xABCD)", "CRC 15 56 is right"});
        row("both halves of a value", "01 03 27 10 00 02 CF 7A",
            {"request to station 1: read holding registers (03), 2 registers from 10000 (code 13 at 256, high word) to "
             "10001 (code 13 at 256, low word)",
             "CRC CF 7A is right"});
        row("bits", "01 01 01 2C 50 55",
            {"reply of station 1: read coils (01), 1 bytes", "value 1 = 0", "value 2 = 0", "value 3 = 1", "value 4 = 1",
             "value 5 = 0", "value 6 = 1", "value 7 = 0", "value 8 = 0", "CRC 50 55 is right"});
        row("coil", "01 05 11 35 FF 00 99 08",
            {"request to station 1: write a coil (05), coil 4405 (code 3 at 5): on; or the reply to it: both look the "
             "same",
             "CRC 99 08 is right"});
        row("register", "01 06 00 64 12 34 C5 62",
            {"request to station 1: write a register (06), register 100 (code 7 at 100): 4660 (0x1234); or the reply "
             "to "
             "it: both look the same",
             "CRC C5 62 is right"});
        row("coil neither on nor off", "00 05 11 35 12 34 D4 5E",
            {"request to all stations (0): write a coil (05), coil 4405 (code 3 at 5): neither on nor off, 4660 "
             "(0x1234); or the reply to it: both look the same",
             "CRC D4 5E is right"});
        row("request or reply", "01 01 03 12 34 56 0A B5",
            {"request to station 1: read coils (01), 13398 coils from 786 (code 1 at 1422) to 14183 (code 2 at 4231); "
             "or "
             "a reply of station 1: read coils (01), 3 bytes: 0 1 0 0 1 0 0 0 0 0 1 0 1 1 0 0 0 1 1 0 1 0 1 0",
             "CRC 0A B5 is right"});
        row("registers", "01 10 00 64 00 02 04 12 34 56 78 8F 40",
            {"request to station 1: write registers (10), 2 registers from 100 (code 7 at 100) to 101 (code 7 at 101)",
             "register 100 (code 7 at 100) = 4660 (0x1234)", "register 101 (code 7 at 101) = 22136 (0x5678)",
             "CRC 8F 40 is right"});
        row("registers written", "01 10 00 64 00 02 00 17",
            {"reply of station 1: write registers (10), 2 registers from 100 (code 7 at 100) to 101 (code 7 at 101)",
             "CRC 00 17 is right"});
        row("exception", "01 83 02 C0 F1",
            {"exception of station 1 to read holding registers (03): illegal data address (02)", "CRC C0 F1 is right"});
        row("unknown exception", "01 83 4D 81 05",
            {"exception of station 1 to read holding registers (03): exception code 77 (4D)", "CRC 81 05 is right"});
        row("wrong CRC", "01 03 00 0A 00 01 A4 09",
            {"request to station 1: read holding registers (03), register 10 (code 7 at 10)",
             "CRC A4 09 is wrong: expected A4 08"});
        row("no cell", "01 04 00 00 00 01 31 CA",
            {"request to station 1: read input registers (04), register 0 (no cell of this PLC)",
             "CRC 31 CA is right"});
        row("unknown function", "01 2B 0E 01 00 70 77",
            {"request to station 1: unknown function (2B)", "CRC 70 77 is right"});
        row("two bytes", "01 03", {"2 bytes", "no frame: expected 4 to 65537 bytes"});
        row("nothing", "", {"no bytes", "no frame: expected 4 to 65537 bytes"});
        row("remote read", "16 00 00 09 05 00 0D 00 00 00 05 00 02 FF FF FF FF 00 00 00 00 34",
            {"request in the remote format to station 5: read code 13 at 205, count 2", "length 22", "connection 0",
             "read (0)", "panel station 9", "station 5", "code 13", "element 5", "count 2", "sub-index -1",
             "host word 0", "data none", "sum 34 is right"});
        row("remote write with a wrong sum", "18 03 01 01 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00 34 12 D1",
            {"request in the remote format to station 1: write code 7 at 100, count 1", "length 24", "connection 3",
             "write (1)", "panel station 1", "station 1", "code 7", "element 100", "count 1", "sub-index 0",
             "host word 0", "data 34 12", "sum D1 is wrong: expected D0"});
    }

    void aFrameIsSaidInWords()
    {
        QFETCH(QString, frame);
        QFETCH(QStringList, words);
        QCOMPARE(decodeFrame(hex(frame.toLatin1().constData()), FrameDirection::Unknown, plugin.calCrc), words);
    }

    void aReplyIsReadWithItsRequest_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QStringList>("words");

        const auto row = [](const char *name, const char *request, const char *reply, const QStringList &words) {
            QTest::newRow(name) << QString::fromLatin1(request) << QString::fromLatin1(reply) << words;
        };
        row("registers", "01 03 2F 0C 00 02 0C DC", "01 03 04 00 01 AB CD 15 56",
            {"reply of station 1: read holding registers (03), 2 registers from 12044 (code 8 at 300) to 12045 (code 8 "
             "at "
             "301)",
             "register 12044 (code 8 at 300) = 1 (0x0001)", "register 12045 (code 8 at 301) = 43981 (0xABCD)",
             "CRC 15 56 is right"});
        row("coils", "01 01 07 D8 00 03 FD 44", "01 01 01 2C 50 55",
            {"reply of station 1: read coils (01), 3 coils from 2008 (code 2 at 8) to 2010 (code 2 at 10)",
             "coil 2008 (code 2 at 8) = 0", "coil 2009 (code 2 at 9) = 0", "coil 2010 (code 2 at 10) = 1",
             "CRC 50 55 is right"});
        row("too few bytes", "01 03 2F 0C 00 02 0C DC", "01 03 04 00 01 99 85",
            {"reply of station 1: read holding registers (03), 2 registers from 12044 (code 8 at 300) to 12045 (code 8 "
             "at "
             "301)",
             "register 12044 (code 8 at 300) = 1 (0x0001)", "CRC 99 85 is right", "7 bytes: expected 9"});
        row("another quantity", "01 03 2F 0C 00 02 0C DC", "01 03 02 00 01 79 84",
            {"reply of station 1: read holding registers (03), 2 registers from 12044 (code 8 at 300) to 12045 (code 8 "
             "at "
             "301)",
             "register 12044 (code 8 at 300) = 1 (0x0001)", "CRC 79 84 is right", "byte count 2: expected 4"});
        row("another station and value", "01 06 00 64 12 34 C5 62", "02 06 00 64 12 35 04 91",
            {"reply of station 2: write a register (06), register 100 (code 7 at 100): 4661 (0x1235)",
             "CRC 04 91 is right", "station 2: expected 1", "echoes 00 64 12 35: expected 00 64 12 34"});
        row("another function", "01 06 00 64 12 34 C5 62", "01 03 02 00 01 79 84",
            {"reply of station 1: read holding registers (03), 2 bytes", "value 1 = 1 (0x0001)", "CRC 79 84 is right",
             "function read holding registers (03): expected write a register (06)"});
        row("exception", "01 03 2F 0C 00 02 0C DC", "01 83 02 C0 F1",
            {"exception of station 1 to read holding registers (03): illegal data address (02)", "CRC C0 F1 is right"});
        row("to a remote request", "16 00 00 09 05 00 0D 00 00 00 05 00 02 FF FF FF FF 00 00 00 00 34",
            "05 03 08 00 01 00 02 00 00 00 07 A8 25",
            {"reply of station 5: read holding registers (03), 8 bytes", "value 1 = 1 (0x0001)", "value 2 = 2 (0x0002)",
             "value 3 = 0 (0x0000)", "value 4 = 7 (0x0007)", "CRC A8 25 is right"});
    }

    void aReplyIsReadWithItsRequest()
    {
        QFETCH(QString, request);
        QFETCH(QString, reply);
        QFETCH(QStringList, words);
        QCOMPARE(decodeFrame(hex(reply.toLatin1().constData()), FrameDirection::Reply, plugin.calCrc,
                             hex(request.toLatin1().constData())),
                 words);
    }

    void whoeverKnowsTheDirectionGetsOneMeaning()
    {
        const QByteArray frame = hex("01 06 00 64 12 34 C5 62");
        QCOMPARE(decodeShort(frame, FrameDirection::Request, plugin.calCrc),
                 QStringLiteral("request to station 1: write a register (06), register 100 (code 7 at 100): 4660 "
                                "(0x1234)"));
        QCOMPARE(decodeShort(frame, FrameDirection::Reply, plugin.calCrc),
                 QStringLiteral("reply of station 1: write a register (06), register 100 (code 7 at 100): 4660 "
                                "(0x1234)"));
        QCOMPARE(decodeShort(hex("01 03 02 00 01 79 85"), FrameDirection::Reply, plugin.calCrc),
                 QStringLiteral("reply of station 1: read holding registers (03), 2 bytes: 1; CRC 79 85 is wrong: "
                                "expected 79 84"));
    }

    void resultCodesHaveWords_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");

        QTest::newRow("0") << 0 << "bad reply, the frame will be sent again (0)";
        QTest::newRow("1") << 1 << "good (1)";
        QTest::newRow("11") << 11 << "reply refused, its CRC is wrong, given up (11, connection 0 or above 11)";
        QTest::newRow("22") << 22 << "reply refused, its CRC is wrong, given up (22, connection 11)";
        QTest::newRow("23") << 23 << "unknown result (23)";
        QTest::newRow("44") << 44 << "no reply, given up (44, connection 3)";
        QTest::newRow("82") << 82 << "reply of a wrong length, given up (82, connection 11)";
        QTest::newRow("100") << 100 << "good remote reply, not stored or not the last (100)";
        QTest::newRow("112") << 112 << "remote reply refused, its CRC is wrong, given up (112, connection 1)";
        QTest::newRow("142") << 142 << "no remote reply, given up (142, connection 1)";
        QTest::newRow("172") << 172 << "remote reply of a wrong length, given up (172, connection 1)";
        QTest::newRow("200") << 200 << "unknown result (200)";
        QTest::newRow("the least") << std::numeric_limits<int>::min() << "unknown result (-2147483648)";
    }

    void resultCodesHaveWords()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        QCOMPARE(resultText(code), text);
    }

    void silenceIsNoBadReply()
    {
        QStringList problems;
        const QVector<TraceLine> lines = parseTrace("# ecpanel trace 1\n"
                                                    "0.000000 tx 01032F0C00020CDC 9 cyclic\n"
                                                    "0.500000 rx -\n"
                                                    "0.500001 result 0\n"
                                                    "0.600000 tx 01032F0C00020CDC 9 cyclic\n"
                                                    "0.700000 rx 0103\n"
                                                    "0.700001 result 0\n",
                                                    QStringLiteral("t"), &problems);
        const QStringList texts = decodeTrace(lines, plugin.calCrc);
        QCOMPARE(texts.size(), 6);
        QCOMPARE(texts.at(2), QStringLiteral("0.500001   driver: no reply, the frame will be sent again (0)"));
        QCOMPARE(texts.at(5), QStringLiteral("0.700001   driver: bad reply, the frame will be sent again (0)"));
    }

    void aTraceIsSaidInWords()
    {
        QStringList problems;
        const QVector<TraceLine> lines = parseTrace("# ecpanel trace 1\n"
                                                    "0.000000 settings maxBlockLen=32\n"
                                                    "0.001000 describe 1 = 1\n"
                                                    "0.001000 variable 8 1 2 300 %251\n"
                                                    "0.002000 write 7 1 1 100 3412 3 44 - = 1\n"
                                                    "0.002000 write 0 1 1 1 01 3 44 - = 0\n"
                                                    "0.003000 read-once 15 1 1 10.3 3 45 = 1\n"
                                                    "0.004000 tx 00051135FF0098D9 0 write\n"
                                                    "0.005000 rx -\n"
                                                    "0.006000 result 1\n"
                                                    "0.007000 done 7 3 44 1\n"
                                                    "0.008000 tx 01032F0C00020CDC 9 cyclic\n"
                                                    "0.009000 rx 010304000100022A33\n"
                                                    "0.010000 result 11\n"
                                                    "0.011000 fail 0 1\n"
                                                    "0.012000 station 3 off\n"
                                                    "0.013000 stations on\n"
                                                    "0.014000 idle 12\n"
                                                    "0.015000 drop late 0103\n"
                                                    "0.016000 port gone\n"
                                                    "0.017000 image 13 5 02000100\n"
                                                    "0.018000 image 5 0 8 01\n"
                                                    "12.019000 end\n"
                                                    "12.020000 rx 01G\n"
                                                    "12.021000 idle\n",
                                                    QStringLiteral("t"), &problems);
        QCOMPARE(problems, QStringList());
        const QStringList expected = {
            "0.000000 settings maxBlockLen=32",
            "0.001000 poll 1 variables in 1 blocks",
            "0.001000   code 8 at 300 of station 1, count 2 (%1)",
            "0.002000 write code 7 at 100 of station 1, count 1: 34 12, variable 44 of connection 3: 1 queued",
            "0.002000 write code 0 at 1 of station 1, count 1: 01, variable 44 of connection 3: not taken",
            "0.003000 read once code 15 at 10.3 of station 1, count 1, variable 45 of connection 3: 1 queued",
            "0.004000 > write: request to all stations (0): write a coil (05), coil 4405 (code 3 at 5): on; no reply "
            "expected",
            "0.005000 < nothing",
            "0.006000   driver: good (1)",
            "0.007000   driver: variable 44 of connection 3 answered (channel 7)",
            "0.008000 > cyclic: request to station 1: read holding registers (03), 2 registers from 12044 (code 8 at "
            "300) "
            "to 12045 (code 8 at 301)",
            "0.009000 < reply of station 1: read holding registers (03), 2 registers from 12044 (code 8 at 300) to "
            "12045 "
            "(code 8 at 301): 1 2; CRC 2A 33 is wrong: expected 2A 32",
            "0.010000   driver: reply refused, its CRC is wrong, given up (11, connection 0 or above 11)",
            "0.011000   driver: communication of connection 0 failed (flag 1)",
            "0.012000 station 3 switched off",
            "0.013000 stations on",
            "0.014000 nothing to send, 12 times",
            "0.015000 dropped (late): 01 03",
            "0.016000 port gone",
            "0.017000 image: code 13 at 205: 02 00 01 00",
            "0.018000 image of station 5: code 0 at 10: 01",
            "12.019000 end of the session",
            "12.020000 ? rx 01G: expected a reply, hexadecimal bytes or -",
            "12.021000 ? idle: expected a count, a number from -2147483648 to 2147483647",
        };
        const QStringList words = decodeTrace(lines, plugin.calCrc);
        for (int i = 0; i < qMin(words.size(), expected.size()); ++i)
            QCOMPARE(words.at(i), expected.at(i));
        QCOMPARE(words.size(), expected.size());
    }

    void anyBytesAreBorne()
    {
        std::mt19937 random(9);
        const char functions[] = {1, 2, 3, 4, 5, 6, 15, 16, char(0x81), char(0x90), 0, 43};
        int right = 0;
        for (int round = 0; round < 20000; ++round) {
            QByteArray frame(int(random() % 40), '\0'), request(int(random() % 12), '\0');
            for (char &byte : frame)
                byte = char(random());
            for (char &byte : request)
                byte = char(random());
            for (QByteArray *bytes : {&frame, &request}) {
                if (bytes->size() > 1 && round % 4)
                    (*bytes)[1] = functions[random() % sizeof functions];
            }
            if (round % 5 == 0 && frame.size() > 21) {
                frame[0] = char(frame.size());
                frame[2] = char(random() % 2);
            }
            for (const auto direction : {FrameDirection::Unknown, FrameDirection::Request, FrameDirection::Reply}) {
                const QStringList words = decodeFrame(frame, direction, plugin.calCrc, request);
                QVERIFY(words.size() >= 2);
                right += words.join(QLatin1Char('\n')).contains(QLatin1String(" is right"));
            }
        }
        QVERIFY(right < 3 * 20000 / 100); // random bytes rarely have the right check
        QCOMPARE(decodeFrame(QByteArray(70000, 1), FrameDirection::Unknown, plugin.calCrc),
                 QStringList({"70000 bytes", "no frame: expected 4 to 65537 bytes"}));
    }
};

QTEST_APPLESS_MAIN(TstPanelDecode)
#include "tst_panel_decode.moc"
