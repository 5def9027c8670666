/// The trace as text: what is written, and what is read back.
#include "host/trace.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <random>

namespace {

QVector<TraceLine> parse(const char *text, QStringList *problems)
{
    return parseTrace(text, QStringLiteral("t"), problems);
}

} // namespace

class TstPanelTrace : public QObject {
    Q_OBJECT

private slots:
    void aTextIsAWord_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("field");

        QTest::newRow("plain") << "level_1" << QByteArray("level_1");
        QTest::newRow("nothing") << "" << QByteArray("-");
        QTest::newRow("looks like nothing") << "-" << QByteArray("%2D");
        QTest::newRow("hyphen inside") << "a-b" << QByteArray("a-b");
        QTest::newRow("blank") << "set point" << QByteArray("set%20point");
        QTest::newRow("percent") << "50%20" << QByteArray("50%2520");
        QTest::newRow("address") << "10.3" << QByteArray("10.3");
        QTest::newRow("path") << "/dev/ttyUSB0" << QByteArray("/dev/ttyUSB0");
        QTest::newRow("equals") << "=" << QByteArray("%3D");
        QTest::newRow("umlaut") << QString::fromUtf8("h\xC3\xB6he") << QByteArray("h%C3%B6he");
        QTest::newRow("line end") << "a\nb" << QByteArray("a%0Ab");
    }

    void aTextIsAWord()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, field);
        QCOMPARE(trace::ofText(text), field);
        QString back = QStringLiteral("other");
        QVERIFY(trace::toText(field, &back));
        QCOMPARE(back, text);
    }

    void whatIsNoTextIsRefused()
    {
        QString text = QStringLiteral("kept");
        for (const char *field : {"", "%", "a%2", "%G0", "%0G", "%FF", "a%C3"})
            QVERIFY2(!trace::toText(field, &text), field);
        QCOMPARE(text, QStringLiteral("kept"));
    }

    void bytesAndNumbersAreWords()
    {
        QCOMPARE(trace::ofBytes(QByteArray::fromHex("01ab")), QByteArray("01AB"));
        QCOMPARE(trace::ofBytes(QByteArray()), QByteArray("-"));
        QCOMPARE(trace::ofNumber(-12), QByteArray("-12"));
        QByteArray bytes;
        QVERIFY(trace::toBytes("01aB", &bytes));
        QCOMPARE(bytes, QByteArray::fromHex("01AB"));
        QVERIFY(trace::toBytes("-", &bytes));
        QVERIFY(bytes.isEmpty());
        for (const char *field : {"", "0", "012", "0G", "0x01", "01 02"})
            QVERIFY2(!trace::toBytes(field, &bytes), field);
        qint64 number = 7;
        QVERIFY(trace::toNumber("-9223372036854775808", &number));
        QCOMPARE(number, std::numeric_limits<qint64>::min());
        for (const char *field : {"", "-", "+1", " 1", "1 ", "1.0", "0x1", "9223372036854775808"})
            QVERIFY2(!trace::toNumber(field, &number), field);
        QCOMPARE(number, std::numeric_limits<qint64>::min());
    }

    void whatIsWrittenIsReadBack()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(QStringLiteral("t"));
        QString error;
        TraceWriter writer;
        writer.write(0, "lost");
        QVERIFY(writer.open(name, &error));
        writer.write(0, "settings", {"a=1"});
        writer.write(12345678, "idle", {"2"});
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        // Before the writer has closed it.
        const QByteArray text = file.readAll();
        QCOMPARE(text, QByteArray("# ecpanel trace 1\n0.000000 settings a=1\n12.345678 idle 2\n"));
        writer.close();
        QVERIFY(!writer.isOpen());
        QVERIFY(writer.error().isEmpty());

        QStringList problems;
        const QVector<TraceLine> lines = parseTrace(text, name, &problems);
        QVERIFY(problems.isEmpty());
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(1).moment, qint64(12345678));
        QCOMPARE(lines.at(1).word, QByteArray("idle"));
        QCOMPARE(lines.at(1).fields, QVector<QByteArray>({"2"}));
        QCOMPARE(lines.at(1).number, 3);
    }

    void aFileThatCannotBeWrittenIsNamed()
    {
        QString error;
        TraceWriter writer;
        QVERIFY(!writer.open(QStringLiteral("/no/such/folder/t"), &error));
        QVERIFY2(error.startsWith(QLatin1String("/no/such/folder/t: expected a file that can be written: ")),
                 qPrintable(error));
        QVERIFY(!writer.isOpen());
        QVERIFY(!writer.open(QStringLiteral("/dev/full"), &error));
        QVERIFY2(error.startsWith(QLatin1String("/dev/full: expected room for the trace: ")), qPrintable(error));
    }

    void badLinesAreNamedAndLeftOut_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("problem");
        QTest::addColumn<int>("lines");

        const QByteArray head = "# ecpanel trace 1\n";
        QTest::newRow("empty file") << QByteArray() << "t:1: : expected \"# ecpanel trace 1\" in the first line" << 0;
        QTest::newRow("other heading") << QByteArray("# ecpanel trace 2\n0.000001 end\n")
                                       << "t:1: # ecpanel trace 2: expected \"# ecpanel trace 1\" in the first line"
                                       << 1;
        QTest::newRow("no moment") << head + "idle 1\n0.000001 end\n"
                                   << "t:2: idle 1: expected seconds with six decimals, \"12.345678\"" << 1;
        QTest::newRow("five decimals") << head + "0.00000 end\n"
                                       << "t:2: 0.00000 end: expected seconds with six decimals, \"12.345678\"" << 0;
        QTest::newRow("too late") << head + "1234567890123.000000 end\n"
                                  << "t:2: 1234567890123.000000 end: expected seconds with six decimals, "
                                     "\"12.345678\""
                                  << 0;
        QTest::newRow("no word") << head + "0.000000\n"
                                 << "t:2: 0.000000: expected a word in small letters behind the "
                                    "moment"
                                 << 0;
        QTest::newRow("a number as word")
            << head + "0.000000 12\n"
            << "t:2: 0.000000 12: expected a word in small letters behind the moment" << 0;
        QTest::newRow("a tab") << head + "0.000000\tidle 1\n"
                               << "t:2: 0.000000?idle 1: expected printable ASCII characters and blanks" << 0;
        QTest::newRow("a long line") << head + "0.000000 x" + QByteArray(100, 'y') + "\x80\n"
                                     << "t:2: 0.000000 x" + QString(50, QLatin1Char('y'))
                                            + "...: expected printable ASCII characters and blanks"
                                     << 0;
        QTest::newRow("many fields")
            << head + "0.000000 x" + QByteArray(" 1").repeated(33) + "\n0.000000 end\n"
            << "t:2: 0.000000 x 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1...: expected "
               "at most 32 fields"
            << 1;
    }

    void badLinesAreNamedAndLeftOut()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, problem);
        QFETCH(int, lines);
        QStringList problems;
        QCOMPARE(parseTrace(text, QStringLiteral("t"), &problems).size(), lines);
        QCOMPARE(problems, QStringList(problem));
    }

    void momentsBeforeTheFirstAreNegative()
    {
        QStringList problems;
        const auto lines = parse("# ecpanel trace 1\n-0.000001 idle 3\n-12.500000 end\n", &problems);
        QVERIFY(problems.isEmpty());
        QCOMPARE(lines.at(0).moment, qint64(-1));
        QCOMPARE(lines.at(1).moment, qint64(-12500000));
    }

    void aReadersOwnLinesMeanNothing()
    {
        QStringList problems;
        const auto lines = parse("# ecpanel trace 1\r\n# here it went wrong\r\n\r\n0.000001  idle   3 \r\n", &problems);
        QVERIFY(problems.isEmpty());
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines.at(0).fields, QVector<QByteArray>({"3"}));
        QCOMPARE(lines.at(0).number, 4);
    }

    void aLineThatWasCutOffIsIgnored()
    {
        QStringList problems;
        QCOMPARE(parse("# ecpanel trace 1\n0.000001 idle 3\n0.000002 rx 0103", &problems).size(), 1);
        QCOMPARE(parse("# ecpanel trace 1\n0.000001 idle 3\n0.00", &problems).size(), 1);
        QCOMPARE(parse("# ecpanel trace 1\n0.000001 idle 3\n0.000002 end", &problems).size(), 2);
        QVERIFY(problems.isEmpty());
    }

    void problemsAreCountedBeyondTheHundredth()
    {
        QStringList problems;
        QVERIFY(parseTrace("# ecpanel trace 1\n" + QByteArray("?\n").repeated(250), QStringLiteral("t"), &problems)
                    .isEmpty());
        QCOMPARE(problems.size(), 101);
        QCOMPARE(problems.last(), QStringLiteral("t: 150 more"));
    }

    void anyBytesAreBorne()
    {
        std::mt19937 random(20);
        const QByteArray alphabet = "0123456789ABC .-%#=\n\r\tidlerxtx\x80\xFF";
        for (int round = 0; round < 2000; ++round) {
            QByteArray text = round % 2 ? QByteArray("# ecpanel trace 1\n") : QByteArray();
            for (unsigned i = random() % 200; i > 0; --i)
                text += round % 3 ? alphabet.at(int(random() % unsigned(alphabet.size()))) : char(random());
            QStringList problems;
            for (const TraceLine &line : parseTrace(text, QStringLiteral("t"), &problems)) {
                QVERIFY(line.number > 0 && !line.word.isEmpty() && line.fields.size() <= 32);
                QVERIFY(!line.fields.contains(QByteArray()));
            }
            QVERIFY(round % 2 || !problems.isEmpty());
        }
    }
};

QTEST_APPLESS_MAIN(TstPanelTrace)
#include "tst_panel_trace.moc"
