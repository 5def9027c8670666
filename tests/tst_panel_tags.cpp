/// Reading tag files: every check of a row, and the round trip.
#include "host/tag_check.h"
#include "host/tags.h"

#include "tests/damaged_text.h"
#include "tests/tag_settings.h"

#include <QtTest/QtTest>

namespace {

const char Header[] = "name,type,address,station,count,format,order,scale,unit,rw\n";

QString problemsOf(const QByteArray &text, const PanelSettings &settings = onePlc())
{
    QStringList problems;
    parseTags(text, QStringLiteral("tags.csv"), settings, &problems);
    return problems.join(QLatin1Char('\n'));
}

/// The tag of one row; its name is empty when the row has a problem.
Tag tagOf(const QByteArray &row, const PanelSettings &settings = onePlc())
{
    QStringList problems;
    const TagFile file = parseTags(Header + row, QStringLiteral("tags.csv"), settings, &problems);
    return file.tags.isEmpty() ? Tag() : file.tags.first();
}

QByteArray exampleText(const char *name)
{
    QFile file(QLatin1String(EC_SOURCE_DIR "/examples/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TstPanelTags : public QObject {
    Q_OBJECT

private slots:
    void emptyCellsHaveTheirUsualValues_data();
    void emptyCellsHaveTheirUsualValues();
    void eachCellArrives();
    void anAddressBecomesAnElement_data();
    void anAddressBecomesAnElement();
    void elementsAreCountedAsTheDriverDoes_data();
    void elementsAreCountedAsTheDriverDoes();
    void aWrongRowIsNamed_data();
    void aWrongRowIsNamed();
    void aWrongRowOfSeveralStationsIsNamed_data();
    void aWrongRowOfSeveralStationsIsNamed();
    void goodRowsAreTaken_data();
    void goodRowsAreTaken();
    void goodRowsOfSeveralStationsAreTaken_data();
    void goodRowsOfSeveralStationsAreTaken();
    void specialValuesNeedShortBlocks();
    void allProblemsComeAtOnceAndGoodRowsStay();
    void aWrongHeaderIsOneProblem_data();
    void aWrongHeaderIsOneProblem();
    void aFileThatIsNoTextIsOneProblem_data();
    void aFileThatIsNoTextIsOneProblem();
    void aFileWithoutRowsHasNoTags_data();
    void aFileWithoutRowsHasNoTags();
    void aFileComesBackByteForByte_data();
    void aFileComesBackByteForByte();
    void aFileWithProblemsComesBackToo();
    void newTagsAreAppended();
    void newTagsMakeAFile();
    void aFileThatCannotBeReadIsAProblem();
    void aFileThatIsTooLongIsAProblem();
    void manyProblemsAreCountedOnly();
    void tagsThatShareCellsAreWarnedOf_data();
    void tagsThatShareCellsAreWarnedOf();
    void tagsOfTwoStationsShareNothing();
    void anOrderThatChangesNothingIsWarnedOf_data();
    void anOrderThatChangesNothingIsWarnedOf();
    void manyWarningsAreCountedOnly();
    void theExampleIsGood();
    void anyBytesGiveTagsOrProblems();
};

void TstPanelTags::emptyCellsHaveTheirUsualValues_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QString>("format");
    QTest::addColumn<bool>("isWritable");
    QTest::newRow("read-only bit") << QByteArray("a,0,17,,,,,,,\n") << "bit" << false;
    QTest::newRow("bit") << QByteArray("a,1,17,,,,,,,\n") << "bit" << true;
    QTest::newRow("word") << QByteArray("a,7,17,,,,,,,\n") << "uint16" << true;
    QTest::newRow("pair") << QByteArray("a,12,17,,,,,,,\n") << "uint32" << true;
    QTest::newRow("special") << QByteArray("a,13,217,,,,,,,\n") << "uint32" << true;
    QTest::newRow("bit in word") << QByteArray("a,15,17.0,,,,,,,\n") << "bit" << true;
}

void TstPanelTags::emptyCellsHaveTheirUsualValues()
{
    QFETCH(QByteArray, row);
    const Tag tag = tagOf(row);
    QCOMPARE(tag.name, QString("a"));
    QCOMPARE(tag.station, 5);
    QCOMPARE(tag.count, 1);
    QTEST(formatName(tag.format), "format");
    QVERIFY(tag.order == ByteOrder::ABCD);
    QCOMPARE(tag.scale, 1.0);
    QCOMPARE(tag.unit, QString());
    QCOMPARE(tag.isReadable, true);
    QTEST(tag.isWritable, "isWritable");
    QCOMPARE(tag.line, 2);
}

void TstPanelTags::eachCellArrives()
{
    const Tag tag =
        tagOf("_Tank-1.level,8,0100,17,3,float32,CDAB,-2.5e-1,\"\"\"m\"\", m\xC2\xB3\",w\r\n", severalPlcs());
    QCOMPARE(tag.name, QString("_Tank-1.level"));
    QCOMPARE(tag.type, 8);
    QCOMPARE(tag.address, QString("0100"));
    QCOMPARE(tag.element, 100);
    QCOMPARE(tag.station, 17);
    QCOMPARE(tag.count, 3);
    QCOMPARE(tag.elements, 6);
    QVERIFY(tag.format == Format::Float32);
    QVERIFY(tag.order == ByteOrder::CDAB);
    QCOMPARE(tag.scale, -0.25);
    QCOMPARE(tag.unit, QString::fromUtf8("\"m\", m\xC2\xB3"));
    QCOMPARE(tag.isReadable, false);
    QCOMPARE(tag.isWritable, true);
}

void TstPanelTags::anAddressBecomesAnElement_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("element");
    const auto row = [](int type, const char *address, int element) {
        QTest::newRow(qPrintable(QStringLiteral("%1 at %2").arg(type).arg(address)))
            << type << QString(address) << element;
    };
    row(0, "17", 15);
    row(0, "1437", 799);
    row(1, "2257", 1199);
    row(2, "17", 17);
    row(2, "20047", 20047);
    row(3, "1255", 1255);
    row(4, "35559", 35559);
    row(5, "1255", 1255);
    row(6, "1255", 1255);
    row(7, "7999", 7999);
    row(7, "000000000000017", 17);
    row(8, "1255", 1255);
    row(9, "1255", 1255);
    row(10, "199", 199);
    row(11, "499", 499);
    row(12, "7998", 7998);
    row(13, "200", 0);
    row(13, "755", 555);
    row(14, "1254", 1254);
    row(15, "10.3", 163);
    row(15, "7999.15", 127999);
    row(16, "1255.0", 20080);
    row(17, "499.15", 7999);
    row(100, "52535", 52535);
    row(101, "52534", 52534);
    row(102, "52535.15", 840575);
}

void TstPanelTags::anAddressBecomesAnElement()
{
    QFETCH(int, type);
    QFETCH(QString, address);
    const Tag tag = tagOf(QStringLiteral("a,%1,%2,,,,,,,\n").arg(type).arg(address).toUtf8());
    QCOMPARE(tag.name, QString("a"));
    QTEST(tag.element, "element");
    QCOMPARE(tag.address, address);
}

void TstPanelTags::elementsAreCountedAsTheDriverDoes_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<int>("elements");
    QTest::newRow("bits") << QByteArray("a,2,0,,20,,,,,\n") << 20;
    QTest::newRow("bits in words") << QByteArray("a,15,0.0,,20,,,,,\n") << 20;
    QTest::newRow("words") << QByteArray("a,7,0,,20,int16,,,,\n") << 20;
    QTest::newRow("two words a value") << QByteArray("a,7,0,,20,int32,,,,\n") << 40;
    QTest::newRow("pairs") << QByteArray("a,12,0,,20,,,,,\n") << 40;
    QTest::newRow("special") << QByteArray("a,13,200,,20,,,,,\n") << 40;
}

void TstPanelTags::elementsAreCountedAsTheDriverDoes()
{
    QFETCH(QByteArray, row);
    QTEST(tagOf(row).elements, "elements");
}

void TstPanelTags::aWrongRowIsNamed_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *row, const char *problem) {
        QTest::newRow(row) << QByteArray(row) + '\n' << QStringLiteral("tags.csv:2: ") + QString::fromUtf8(problem);
    };
    const QString allFormats = "expected one of bit, int16, uint16, int32, uint32, float32";
    // Rows
    row("a,7,1", "row: 3 cells: expected 10, as in the header");
    row("a", "row: 1 cell: expected 10, as in the header");
    row("a;7;1;;;;;;;", "row: a;7;1;;;;;;;: expected commas between the cells, not semicolons");
    row("a;7,1", "row: 2 cells: expected 10, as in the header");
    row("a,7,1,,,,,,,,", "row: 11 cells: expected 10, as in the header");
    row("a,7,1,,,,,,\"m", "row: a,7,1,,,,,,\"m: expected each cell in quotes closed before the next comma or the "
                          "line's end");
    row("a,7,1,,,,,,\"m\"x,", "row: a,7,1,,,,,,\"m\"x,: expected each cell in quotes closed before the next comma or "
                              "the line's end");
    row("a,7,1,,,,,,m\",", "row: a,7,1,,,,,,m\",: expected each cell in quotes closed before the next comma or the "
                           "line's end");
    row("a,7,1,,,,,,\xB0"
        "C,",
        "row: a,7,1,,,,,,\xEF\xBF\xBD"
        "C,: expected UTF-8");
    // Names
    row(",7,1,,,,,,,", "name: '': expected a letter or _, then letters, digits, _ . or -");
    row("1st,7,1,,,,,,,", "name: 1st: expected a letter or _, then letters, digits, _ . or -");
    row("a b,7,1,,,,,,,", "name: a b: expected a letter or _, then letters, digits, _ . or -");
    row("\xC3\xA4,7,1,,,,,,,", "name: \xC3\xA4: expected a letter or _, then letters, digits, _ . or -");
    // Types
    row("a,,1,,,,,,,", "type: '': expected a code from 0 to 17 or from 100 to 102");
    row("a,18,1,,,,,,,", "type: 18: expected a code from 0 to 17 or from 100 to 102");
    row("a,99,1,,,,,,,", "type: 99: expected a code from 0 to 17 or from 100 to 102");
    row("a,103,1,,,,,,,", "type: 103: expected a code from 0 to 17 or from 100 to 102");
    row("a,-1,1,,,,,,,", "type: -1: expected a code from 0 to 17 or from 100 to 102");
    row("a,4294967303,1,,,,,,,", "type: 4294967303: expected a code from 0 to 17 or from 100 to 102");
    // Addresses
    row("a,0,18,,,,,,,", "address: 18: expected an octal number");
    row("a,1,9,,,,,,,", "address: 9: expected an octal number");
    row("a,7,,,,,,,,", "address: '': expected a number");
    row("a,7,-1,,,,,,,", "address: -1: expected a number");
    row("a,7,+1,,,,,,,", "address: +1: expected a number");
    row("a,7, 1,,,,,,,", "address: ' 1': expected a number");
    row("a,7, 100 ,,,,,,,", "address: ' 100 ': expected a number");
    row("a,7,1\xC2\xA0,,,,,,,", "address: '1\xC2\xA0': expected a number");
    row("a,7,0x1,,,,,,,", "address: 0x1: expected a number");
    row("a,14,10.3,,,,,,,", "address: 10.3: expected a number");
    row("a,13,abc,,,,,,,", "address: abc: expected a number");
    row("a,15,10,,,,,,,", "address: 10: expected a word and a bit from 0 to 15, as 10.3");
    row("a,15,1.2.3,,,,,,,", "address: 1.2.3: expected a word and a bit from 0 to 15, as 10.3");
    row("a,15,x.3,,,,,,,", "address: x.3: expected a word and a bit from 0 to 15, as 10.3");
    row("a,15,12.,,,,,,,", "address: 12.: expected a word and a bit from 0 to 15, as 10.3");
    row("a,15,1.16,,,,,,,", "address: 1.16: expected a word and a bit from 0 to 15, as 10.3");
    // Areas
    row("a,0,1440,,,,,,,", "address: 1440: expected octal 0 to 1437 for type 0");
    row("a,1,2260,,,,,,,", "address: 2260: expected octal 0 to 2257 for type 1");
    row("a,2,20048,,,,,,,", "address: 20048: expected 0 to 20047 for type 2");
    row("a,3,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 3");
    row("a,4,35560,,,,,,,", "address: 35560: expected 0 to 35559 for type 4");
    row("a,5,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 5");
    row("a,6,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 6");
    row("a,7,8000,,,,,,,", "address: 8000: expected 0 to 7999 for type 7");
    row("a,7,18446744073709551617,,,,,,,", "address: 18446744073709551617: expected 0 to 7999 for type 7");
    row("a,8,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 8");
    row("a,9,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 9");
    row("a,10,200,,,,,,,", "address: 200: expected 0 to 199 for type 10");
    row("a,11,500,,,,,,,", "address: 500: expected 0 to 499 for type 11");
    row("a,12,8000,,,,,,,", "address: 8000: expected 0 to 7999 for type 12");
    row("a,13,199,,,,,,,", "address: 199: expected 200 to 755 for type 13");
    row("a,13,756,,,,,,,", "address: 756: expected 200 to 755 for type 13");
    row("a,14,1256,,,,,,,", "address: 1256: expected 0 to 1255 for type 14");
    row("a,15,8000.0,,,,,,,", "address: 8000.0: expected 0.0 to 7999.15 for type 15");
    row("a,16,1256.0,,,,,,,", "address: 1256.0: expected 0.0 to 1255.15 for type 16");
    row("a,17,500.0,,,,,,,", "address: 500.0: expected 0.0 to 499.15 for type 17");
    row("a,100,52536,,,,,,,", "address: 52536: expected 0 to 52535 for type 100");
    row("a,101,52536,,,,,,,", "address: 52536: expected 0 to 52535 for type 101");
    row("a,102,52536.0,,,,,,,", "address: 52536.0: expected 0.0 to 52535.15 for type 102");
    row("a,12,7999,,,,,,,", "address: 7999: expected two words for a value, 7999 is the last of type 12");
    row("a,10,199,,,int32,,,,", "address: 199: expected two words for a value, 199 is the last of type 10");
    // Counts
    row("a,7,1,,0,,,,,", "count: 0: expected a number from 1 to 2000, or nothing for 1");
    row("a,7,1,,2001,,,,,", "count: 2001: expected a number from 1 to 2000, or nothing for 1");
    row("a,7,1,,-1,,,,,", "count: -1: expected a number from 1 to 2000, or nothing for 1");
    row("a,7,1,,two,,,,,", "count: two: expected a number from 1 to 2000, or nothing for 1");
    row("a,0,1430,,9,,,,,", "count: 9: expected at most 8, octal 1437 is the last of type 0");
    row("a,7,7990,,11,,,,,", "count: 11: expected at most 10, 7999 is the last of type 7");
    row("a,7,7990,,6,uint32,,,,", "count: 6: expected at most 5, 7999 is the last of type 7");
    row("a,12,7991,,5,,,,,", "count: 5: expected at most 4, 7999 is the last of type 12");
    row("a,13,750,,7,,,,,", "count: 7: expected at most 6, 755 is the last of type 13");
    row("a,17,499.8,,9,,,,,", "count: 9: expected at most 8, 499.15 is the last of type 17");
    // Formats
    row("a,7,1,,,INT16,,,,", "format: INT16: expected one of uint16, int16, int32, uint32, float32");
    row("a,7,1,,,bit,,,,", "format: bit: expected one of uint16, int16, int32, uint32, float32");
    row("a,1,1,,,uint16,,,,", "format: uint16: expected bit");
    row("a,15,1.0,,,uint16,,,,", "format: uint16: expected bit");
    row("a,12,1,,,uint16,,,,", "format: uint16: expected one of uint32, int32, float32");
    row("a,13,201,,,bit,,,,", "format: bit: expected one of uint32, int32, float32");
    row("a,101,1,,,int16,,,,", "format: int16: expected one of uint32, int32, float32");
    // Orders
    row("a,7,1,,,,abcd,,,", "order: abcd: expected one of ABCD, BADC, CDAB, DCBA");
    row("a,12,1,,,,ABDC,,,", "order: ABDC: expected one of ABCD, BADC, CDAB, DCBA");
    // Scales
    row("a,7,1,,,,,x,,", "scale: x: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,0,,", "scale: 0: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,-0.0,,", "scale: -0.0: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,1e-400,,", "scale: 1e-400: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,1e400,,", "scale: 1e400: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,nan,,", "scale: nan: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,inf,,", "scale: inf: expected a number other than 0, as 0.1");
    row("a,7,1,,,,,\"0,1\",,", "scale: 0,1: expected a number other than 0, as 0.1");
    row("a,1,1,,,,,1,,", "scale: 1: expected nothing, a bit has no scale");
    row("a,102,1.0,,,bit,,2,,", "scale: 2: expected nothing, a bit has no scale");
    // Units
    row("a,7,1,,,,,,m\t,", "unit: 'm?': expected a text without control characters");
    // Reading and writing
    row("a,7,1,,,,,,,x", "rw: x: expected r, w or rw");
    row("a,7,1,,,,,,,wr", "rw: wr: expected r, w or rw");
    row("a,0,1,,,,,,,w", "rw: w: expected r, code 0 cannot be written");
    row("a,0,1,,,,,,,rw", "rw: rw: expected r, code 0 cannot be written");
    // Stations
    row("a,7,1,6,,,,,,", "station: 6: expected 5, the PLC's, or nothing");
    row("a,7,1,0,,,,,,w", "station: 0: expected 5, the PLC's, or nothing");
    row("a,7,1,x,,,,,,", "station: x: expected 5, the PLC's, or nothing");
    // Values over words that are not neighbours
    row("a,14,255,,,,,,,", "address: 255: expected no value on both 255 and 256, they are not neighbours in the PLC");
    row("a,14,251,,3,,,,,", "address: 251: expected no value on both 255 and 256, they are not neighbours in the PLC");
    row("a,8,255,,,int32,,,,",
        "address: 255: expected no value on both 255 and 256, they are not neighbours in the PLC");
    row("a,9,253,,2,float32,,,,",
        "address: 253: expected no value on both 255 and 256, they are not neighbours in the PLC");
}

void TstPanelTags::aWrongRowIsNamed()
{
    QFETCH(QByteArray, row);
    QTEST(problemsOf(Header + row), "problem");
    QCOMPARE(tagOf(row).name, QString());
}

void TstPanelTags::aWrongRowOfSeveralStationsIsNamed_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *row, const char *problem) {
        QTest::newRow(row) << QByteArray(row) + '\n' << QStringLiteral("tags.csv:2: ") + QString(problem);
    };
    row("a,7,1,,,,,,,", "station: '': expected a number from 1 to 247, or 0 to write to all");
    row("a,7,1,248,,,,,,", "station: 248: expected a number from 1 to 247, or 0 to write to all");
    row("a,7,1,256,,,,,,", "station: 256: expected a number from 1 to 247, or 0 to write to all");
    row("a,7,1,-1,,,,,,", "station: -1: expected a number from 1 to 247, or 0 to write to all");
    row("a,7,1,0,,,,,,", "rw: '': expected w, nobody answers what is sent to all");
    row("a,7,1,0,,,,,,r", "rw: r: expected w, nobody answers what is sent to all");
    row("a,7,1,0,,,,,,rw", "rw: rw: expected w, nobody answers what is sent to all");
    row("a,15,1.0,0,,,,,,w", "station: 0: expected 1 to 247, a bit of a word cannot be written to all");
    row("a,0,1,0,,,,,,r", "station: 0: expected 1 to 247, code 0 cannot be written");
}

void TstPanelTags::aWrongRowOfSeveralStationsIsNamed()
{
    QFETCH(QByteArray, row);
    QTEST(problemsOf(Header + row, severalPlcs()), "problem");
    QCOMPARE(tagOf(row, severalPlcs()).name, QString());
}

void TstPanelTags::goodRowsAreTaken_data()
{
    QTest::addColumn<QByteArray>("row");
    for (const char *row :
         {"a,7,1,5,,,,,,",          "a,7,1,,2000,,,,,",     "a,7,7990,,10,,,,,",
          "a,7,7990,,5,uint32,,,,", "a,13,750,,6,,,,,",     "a,17,499.8,,8,,,,,",
          "a,0,1430,,8,,,,,r",      "a,14,254,,,,,,,",      "a,14,250,,10,,,,,",
          "a,14,257,,3,,,,,",       "a,8,250,,10,,,,,",     "a,8,254,,2,int32,,,,",
          "a,9,256,,2,float32,,,,", "a,7,255,,,int32,,,,",  "a,101,255,,3,,,,,",
          "a,12,255,,,,,,,",        "a,1,0,,,bit,ABCD,,,w", "\"a\",\"7\",\"1\",\"\",\"\",\"\",\"\",\"\",\"\",\"\"",
          "a,7,1,,,,,+1.E+2,,",     "a,7,1,,,,,.5,,"}) {
        QTest::newRow(row) << QByteArray(row) + '\n';
    }
}

void TstPanelTags::goodRowsAreTaken()
{
    QFETCH(QByteArray, row);
    QCOMPARE(problemsOf(Header + row), QString());
    QCOMPARE(tagOf(row).name, QString("a"));
}

void TstPanelTags::goodRowsOfSeveralStationsAreTaken_data()
{
    QTest::addColumn<QByteArray>("row");
    for (const char *row : {"a,7,1,1,,,,,,", "a,7,1,247,,,,,,", "a,7,1,0,,,,,,w", "a,1,1,0,,,,,,w", "a,13,201,0,,,,,,w",
                            "a,15,1.0,1,,,,,,w"})
        QTest::newRow(row) << QByteArray(row) + '\n';
}

void TstPanelTags::goodRowsOfSeveralStationsAreTaken()
{
    QFETCH(QByteArray, row);
    QCOMPARE(problemsOf(Header + row, severalPlcs()), QString());
    QCOMPARE(tagOf(row, severalPlcs()).name, QString("a"));
}

void TstPanelTags::specialValuesNeedShortBlocks()
{
    const QByteArray text = QByteArray(Header) + "a,13,201,,,,,,,\nb,12,201,,,,,,,\n";
    PanelSettings settings = onePlc();
    settings.maxBlockLen = 60;
    QCOMPARE(problemsOf(text, settings), QString());
    settings.maxBlockLen = 62;
    QCOMPARE(problemsOf(text, settings),
             QString("tags.csv:2: type: 13: expected another code, or a max_block_len up to 60 (it is 62)"));
    settings.isRemote = true;
    settings.maxBlockLen = 58;
    QCOMPARE(problemsOf(text, settings), QString());
    settings.maxBlockLen = 60;
    QCOMPARE(problemsOf(text, settings),
             QString("tags.csv:2: type: 13: expected another code, or a max_block_len up to 58 (it is 60)"));
}

void TstPanelTags::allProblemsComeAtOnceAndGoodRowsStay()
{
    const QByteArray text = QByteArray("# a comment\n\n") + Header
                            + "a,7,1,,,,,,,\n"
                              "1,18,x,6,0,word,AB,0,\t,no\n"
                              "a,7,2,,,,,,,\n"
                              "b,7,3\n"
                              "c,7,8000,,0,bit,,,,\n"
                              "d,7,4,,,,,,,";
    QStringList problems;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), onePlc(), &problems);
    QCOMPARE(problems.join('\n'),
             QString("tags.csv:5: name: 1: expected a letter or _, then letters, digits, _ . or -\n"
                     "tags.csv:5: type: 18: expected a code from 0 to 17 or from 100 to 102\n"
                     "tags.csv:5: count: 0: expected a number from 1 to 2000, or nothing for 1\n"
                     "tags.csv:5: format: word: expected one of bit, int16, uint16, int32, uint32, float32\n"
                     "tags.csv:5: order: AB: expected one of ABCD, BADC, CDAB, DCBA\n"
                     "tags.csv:5: scale: 0: expected a number other than 0, as 0.1\n"
                     "tags.csv:5: unit: '?': expected a text without control characters\n"
                     "tags.csv:5: station: 6: expected 5, the PLC's, or nothing\n"
                     "tags.csv:5: rw: no: expected r, w or rw\n"
                     "tags.csv:6: name: a: expected a name of its own, line 4 has this one\n"
                     "tags.csv:7: row: 3 cells: expected 10, as in the header\n"
                     "tags.csv:8: address: 8000: expected 0 to 7999 for type 7\n"
                     "tags.csv:8: count: 0: expected a number from 1 to 2000, or nothing for 1\n"
                     "tags.csv:8: format: bit: expected one of uint16, int16, int32, uint32, float32"));
    QStringList places;
    for (const Tag &tag : file.tags)
        places << QStringLiteral("%1 in %2").arg(tag.name).arg(tag.line);
    QCOMPARE(places.join(", "), QString("a in 4, d in 9"));
}

void TstPanelTags::aWrongHeaderIsOneProblem_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    const QString expected = "expected name,type,address,station,count,format,order,scale,unit,rw";
    QTest::newRow("none") << QByteArray() << "tags.csv: header: missing: " + expected;
    QTest::newRow("comments only") << QByteArray("# a\n\n") << "tags.csv: header: missing: " + expected;
    QTest::newRow("a row") << QByteArray("a,7,1,,,,,,,\nb,,,,,,,,,\n")
                           << "tags.csv:1: header: a,7,1,,,,,,,: " + expected;
    QTest::newRow("capitals") << QByteArray("# a\nNAME,type,address,station,count,format,order,scale,unit,rw\nb\n")
                              << "tags.csv:2: header: NAME,type,address,station,count,format,o...: " + expected;
    QTest::newRow("semicolons") << QByteArray("name;type\na;7\n")
                                << QStringLiteral(
                                       "tags.csv:1: header: name;type: expected commas between the cells, not "
                                       "semicolons");
    QTest::newRow("one more") << QByteArray("name,type,address,station,count,format,order,scale,unit,rw,x\n")
                              << "tags.csv:1: header: name,type,address,station,count,format,o...: " + expected;
}

void TstPanelTags::aWrongHeaderIsOneProblem()
{
    QFETCH(QByteArray, text);
    QTEST(problemsOf(text), "problem");
}

void TstPanelTags::aFileThatIsNoTextIsOneProblem_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *name, const QByteArray &text, const char *problem) {
        QTest::newRow(name) << text << QStringLiteral("tags.csv:%1: expected a CSV file in UTF-8").arg(problem);
    };
    const QByteArray good = QByteArray(Header) + "a,7,1,,,,,,,\n";
    row("a program",
        QByteArray("\x7F"
                   "ELF\x02\x01\0\0",
                   8),
        "1: is no text file: byte 0x7f");
    row("UTF-16", QByteArray("\xFF\xFEn\0a\0m\0e\0,\0", 12), "1: is no text file: byte 0x00");
    row("a zero byte in a row", good + QByteArray("b,7,2,,,,,,\0,\nc,99,x\n", 22), "3: is no text file: byte 0x00");
    row("a control byte in a comment", good + "# \x1B[1m\n", "3: is no text file: byte 0x1b");
    row("a control byte behind problems", good + "b,99\n\x01\n\x02\n", "4: is no text file: byte 0x01");
}

void TstPanelTags::aFileThatIsNoTextIsOneProblem()
{
    QFETCH(QByteArray, text);
    QStringList problems;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), onePlc(), &problems);
    QTEST(problems.join('\n'), "problem");
    QVERIFY(file.tags.isEmpty());
    QCOMPARE(file.toCsv(), text);
}

void TstPanelTags::aFileWithoutRowsHasNoTags_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("header only") << QByteArray(Header);
    QTest::newRow("header without its end") << QByteArray(Header).trimmed();
    QTest::newRow("comments") << "# \xFF any bytes, \"even these\n  \n" + QByteArray(Header) + "#\n# a,7,1\n\n";
}

void TstPanelTags::aFileWithoutRowsHasNoTags()
{
    QFETCH(QByteArray, text);
    QStringList problems;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), onePlc(), &problems);
    QCOMPARE(problems, QStringList("tags.csv: no tags: expected at least one row"));
    QCOMPARE(file.toCsv(), text);
}

void TstPanelTags::aFileComesBackByteForByte_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("tags");
    const QByteArray header = Header;
    const QByteArray crlf = "name,type,address,station,count,format,order,scale,unit,rw\r\n";
    QTest::newRow("without the last line end") << header + "a,7,1,,,,,,," << 1;
    QTest::newRow("CRLF") << crlf + "a,7,1,,,,,,,\r\n\r\n# x\r\nb,7,01,,,,,,,rw\r\n" << 2;
    QTest::newRow("both line ends") << crlf + "a,7,1,,,,,,,\nb,7,2,,,,,,,\r\n" << 2;
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + header + "a,7,1,,,,,,,\n" << 1;
    QTest::newRow("mark before a comment") << "\xEF\xBB\xBF# x\n" + header + "a,7,1,,,,,,,\n" << 1;
    QTest::newRow("comments") << "# \xFF any bytes, \"even these\n  \n" + header + "#\n# a,7,1\n\na,7,1,,,,,,,\n" << 1;
    QTest::newRow("quotes") << header + "\"a\",7,1,,,,,,\"1 \"\"x\"\", 2\",\"r\"\n" << 1;
    QTest::newRow("example") << exampleText("tags.csv") << 16;
}

void TstPanelTags::aFileComesBackByteForByte()
{
    QFETCH(QByteArray, text);
    PanelSettings settings = onePlc();
    QStringList problems;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), settings, &problems);
    QCOMPARE(problems, QStringList());
    QTEST(file.tags.size(), "tags");
    QCOMPARE(file.toCsv(), text);
}

void TstPanelTags::aFileWithProblemsComesBackToo()
{
    const QByteArray text = QByteArray(Header) + "a,99,x\n\xFF\r\r\n\"";
    QStringList problems;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), onePlc(), &problems);
    QCOMPARE(problems.size(), 3);
    QCOMPARE(file.toCsv(), text);
}

void TstPanelTags::newTagsAreAppended()
{
    QStringList problems;
    const QByteArray crlf = "name,type,address,station,count,format,order,scale,unit,rw\r\n";
    TagFile file = parseTags(crlf + "# x\r\na,7,1,,,,,,,", QStringLiteral("tags.csv"), onePlc(), &problems);
    Tag tag = tagOf("b,8,254,,2,int32,DCBA,0.1,\"m, \"\"x\"\"\",w\n");
    tag.line = 0;
    file.tags << tag;
    Tag bit = tagOf("c,0,17,,,,,,,\n");
    bit.line = 0;
    file.tags << bit;
    const QByteArray text = file.toCsv();
    QCOMPARE(text, crlf
                       + "# x\r\na,7,1,,,,,,,\r\n"
                         "b,8,254,5,2,int32,DCBA,0.1,\"m, \"\"x\"\"\",w\r\n"
                         "c,0,17,5,1,bit,ABCD,,,r\r\n");
    QCOMPARE(problemsOf(text), QString());
}

void TstPanelTags::newTagsMakeAFile()
{
    TagFile file;
    QCOMPARE(file.toCsv(), QByteArray(Header));
    Tag tag = tagOf("b,12,2,,,,,1e-9,,\n");
    tag.line = 0;
    file.tags << tag;
    Tag quoted = tagOf("c,7,2,,,,,,\"1\"\"\",r\n");
    quoted.line = 0;
    file.tags << quoted;
    QCOMPARE(file.toCsv(),
             Header + QByteArray("b,12,2,5,1,uint32,ABCD,1e-09,,rw\nc,7,2,5,1,uint16,ABCD,1,\"1\"\"\",r\n"));
}

void TstPanelTags::aFileThatCannotBeReadIsAProblem()
{
    QStringList problems;
    readTags(QStringLiteral("/nowhere/tags.csv"), onePlc(), &problems);
    QCOMPARE(problems, QStringList("/nowhere/tags.csv: No such file or directory: expected a file of tags"));
}

void TstPanelTags::aFileThatIsTooLongIsAProblem()
{
    QCOMPARE(problemsOf(QByteArray((16 << 20) + 1, 'x')),
             QString("tags.csv: size: 16777217 bytes, 0 lines: expected 16777216 bytes and 200000 lines at most"));
    QCOMPARE(problemsOf(Header + QByteArray(200000, '\n')),
             QString("tags.csv: size: 200059 bytes, 200001 lines: expected 16777216 bytes and 200000 lines at most"));
    QCOMPARE(problemsOf(Header + QByteArray(199998, '\n') + "a,7,1,,,,,,,\n"), QString());
    QStringList problems;
    readTags(QStringLiteral("/dev/zero"), onePlc(), &problems);
    QCOMPARE(problems, QStringList("/dev/zero: size: 16777217 bytes, 0 lines: expected 16777216 bytes and 200000 "
                                   "lines at most"));
}

void TstPanelTags::manyProblemsAreCountedOnly()
{
    const auto problems = [](int count) { return problemsOf(Header + QByteArray("x\n").repeated(count)).split('\n'); };
    QCOMPARE(problems(100).size(), 100);
    QCOMPARE(problems(100).last(), QString("tags.csv:101: row: 1 cell: expected 10, as in the header"));
    QCOMPARE(problems(101).size(), 101);
    QCOMPARE(problems(101).last(), QString("tags.csv: 1 more problem"));
    QCOMPARE(problems(5000).size(), 101);
    QCOMPARE(problems(5000).at(99), QString("tags.csv:101: row: 1 cell: expected 10, as in the header"));
    QCOMPARE(problems(5000).last(), QString("tags.csv: 4900 more problems"));
}

void TstPanelTags::tagsThatShareCellsAreWarnedOf_data()
{
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QString>("shared");
    // "line with name": where the warning is, and whom it names.
    const auto row = [](const char *name, const char *rows, const char *shared) {
        QTest::newRow(name) << QByteArray(rows) << QString(shared);
    };
    row("the same word", "a,7,100,,,,,,,\nb,7,100,,,,,,,\n", "3 with a (line 2)");
    row("neighbours", "a,7,100,,2,,,,,\nb,7,102,,,,,,,\nc,7,99,,,,,,,\n", "");
    row("the last word of an array", "a,7,100,,3,,,,,\nb,7,102,,,,,,,\n", "3 with a (line 2)");
    row("an array behind its words", "a,7,102,,,,,,,\nb,7,104,,,,,,,\nc,7,100,,9,,,,,\n",
        "4 with a (line 2); 4 with b (line 3)");
    row("words behind a long array", "a,7,0,,100,,,,,\nb,7,5,,,,,,,\nc,7,50,,,,,,,\n",
        "3 with a (line 2); 4 with a (line 2)");
    row("read only", "a,7,100,,,,,,,\nb,7,100,,,,,,,r\n", "");
    row("write only", "a,7,100,,,,,,,w\nb,7,100,,,,,,,w\n", "3 with a (line 2)");
    row("32 bits and a word", "a,12,100,,,,,,,\nb,7,101,,,,,,,\nc,7,102,,,,,,,\n", "3 with a (line 2)");
    row("32 bits of words", "a,7,100,,2,float32,,,,\nb,12,103,,,,,,,\n", "3 with a (line 2)");
    row("32 bits of another area", "a,14,100,,,,,,,\nb,7,100,,,,,,,\nc,8,101,,,,,,,\n", "4 with a (line 2)");
    row("a bit and its word", "a,15,10.3,,,,,,,\nb,7,10,,,,,,,\n", "3 with a (line 2)");
    row("the last bit and its word", "a,7,10,,,,,,,\nb,15,10.15,,,,,,,\nc,15,11.0,,,,,,,\n", "3 with a (line 2)");
    row("bits of a word", "a,15,10.3,,,,,,,\nb,15,10.4,,,,,,,\n", "");
    row("the same bit of a word", "a,102,10.3,,2,,,,,\nb,102,10.4,,,,,,,\n", "3 with a (line 2)");
    row("a bit of a word of another area", "a,17,10.3,,,,,,,\nb,7,10,,,,,,,\nc,11,10,,,,,,,\n", "4 with a (line 2)");
    row("coils", "a,1,10,,8,,,,,\nb,1,17,,,,,,,\nc,1,20,,,,,,,\n", "3 with a (line 2)");
    row("coils of two types", "a,1,10,,,,,,,\nb,2,8,,,,,,,\n", "");
    row("special values", "a,13,200,,2,,,,,\nb,13,201,,,,,,,\nc,13,202,,,,,,,\n", "3 with a (line 2)");
}

void TstPanelTags::tagsThatShareCellsAreWarnedOf()
{
    QFETCH(QByteArray, rows);
    QFETCH(QString, shared);
    QStringList problems;
    const TagFile file = parseTags(Header + rows, QStringLiteral("tags.csv"), onePlc(), &problems);
    QCOMPARE(problems, QStringList());
    QStringList expected;
    for (const QString &one : shared.split("; ", Qt::SkipEmptyParts))
        expected << "tags.csv:" + QString(one).replace(" with ", ": address: shares cells with ")
                        + " and both can be written: the older of two queued writes may come last";
    QCOMPARE(tagWarnings(file.tags, QStringLiteral("tags.csv")), expected);
}

void TstPanelTags::tagsOfTwoStationsShareNothing()
{
    QStringList problems;
    const TagFile file = parseTags(Header
                                       + QByteArray("a,7,1,1,,,,,,\nb,7,1,2,,,,,,\nall,7,1,0,,,,,,w\n"
                                                    "c,12,0,2,,,,,,\n"),
                                   QStringLiteral("tags.csv"), severalPlcs(), &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(tagWarnings(file.tags, QStringLiteral("tags.csv")),
             QStringList("tags.csv:5: address: shares cells with b (line 3) and both can be written: the older of two "
                         "queued writes may come last"));
}

void TstPanelTags::anOrderThatChangesNothingIsWarnedOf_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QString>("warning");
    const auto row = [](const char *row, const char *warning) {
        QTest::newRow(row) << QByteArray(row) + '\n' << QString(warning);
    };
    row("a,7,1,,,uint16,CDAB,,,", "tags.csv:2: order: CDAB: changes nothing for uint16");
    row("a,7,1,,,int16,CDAB,,,r", "tags.csv:2: order: CDAB: changes nothing for int16");
    row("a,7,1,,,,ABCD,,,", "");
    row("a,7,1,,,,BADC,,,", "");
    row("a,7,1,,,,DCBA,,,", "");
    row("a,7,1,,,int32,CDAB,,,", "");
    row("a,12,1,,,,CDAB,,,", "");
    row("a,1,1,,,,ABCD,,,", "");
    row("a,1,1,,,,BADC,,,", "tags.csv:2: order: BADC: changes nothing for bit");
    row("a,0,1,,,,CDAB,,,", "tags.csv:2: order: CDAB: changes nothing for bit");
    row("a,15,1.0,,,,DCBA,,,", "tags.csv:2: order: DCBA: changes nothing for bit");
}

void TstPanelTags::anOrderThatChangesNothingIsWarnedOf()
{
    QFETCH(QByteArray, row);
    QCOMPARE(problemsOf(Header + row), QString());
    QTEST(tagWarnings({tagOf(row)}, QStringLiteral("tags.csv")).join('\n'), "warning");
}

void TstPanelTags::manyWarningsAreCountedOnly()
{
    // Each tag on the same word, from the last line to the first: a pair of each two would never end.
    QList<Tag> tags;
    for (int line = 50001; line > 1; --line) {
        Tag tag = tagOf("a,7,100,,,,CDAB,,,\n");
        tag.name = QStringLiteral("t%1").arg(line);
        tag.line = line;
        tags << tag;
    }
    QElapsedTimer timer;
    timer.start();
    const QStringList warnings = tagWarnings(tags, QStringLiteral("tags.csv"));
    const qint64 took = timer.elapsed();
    QVERIFY2(took < 5000, qPrintable(QString::number(took)));
    QCOMPARE(warnings.size(), 101);
    QCOMPARE(warnings.at(0), QString("tags.csv:2: order: CDAB: changes nothing for uint16"));
    QCOMPARE(warnings.at(1), QString("tags.csv:3: address: shares cells with t2 (line 2) and both can be written: the "
                                     "older of two queued writes may come last"));
    QCOMPARE(warnings.last(), QString("tags.csv: 99899 more warnings"));
}

void TstPanelTags::theExampleIsGood()
{
    QStringList problems;
    const QString examples = QStringLiteral(EC_SOURCE_DIR "/examples/");
    const PanelSettings settings = readSettings(examples + "line.toml", &problems);
    const TagFile file = readTags(examples + "tags.csv", settings, &problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(tagWarnings(file.tags, "tags.csv"), QStringList());
    QSet<int> formats;
    for (const Tag &tag : file.tags)
        formats << int(tag.format);
    QVERIFY2(formats.size() >= 4, "an example of bits, words, 32-bit numbers and floats");
}

void TstPanelTags::anyBytesGiveTagsOrProblems()
{
    const QByteArray example = exampleText("tags.csv");
    QVERIFY(!example.isEmpty());
    QRandomGenerator random(1);
    int refused = 0;
    for (int i = 0; i < 2000; ++i) {
        const QByteArray text = damaged(example, random);
        QStringList problems;
        const TagFile file = parseTags(text, QStringLiteral("tags.csv"), onePlc(), &problems);
        QCOMPARE(file.toCsv(), text);
        refused += problems.isEmpty() ? 0 : 1;
        for (const QString &problem : qAsConst(problems))
            QVERIFY2(problem.startsWith("tags.csv") && problem.contains(": expected "), qPrintable(problem));
        for (const Tag &tag : file.tags)
            QVERIFY(tag.elements >= 1 && tag.elements <= 4000 && !piecesOf(tag, onePlc()).isEmpty());
    }
    QVERIFY(refused > 200 && refused < 2000);
}

QTEST_APPLESS_MAIN(TstPanelTags)
#include "tst_panel_tags.moc"
