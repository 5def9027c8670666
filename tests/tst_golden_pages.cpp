/// The examples of docs/frames.md and docs/device-types.md, taken from the pages themselves.
#include "tests/golden_example.h"
#include "tests/golden_tables.h"

#include "tests/driver_fixture.h"

Q_DECLARE_METATYPE(PageExample)
Q_DECLARE_METATYPE(PageTable)

namespace {

/// What the pages had when this was written, less a few: a page that has lost its examples proves nothing.
enum { FewestExamples = 130, FewestFrames = 320, FewestByteTables = 12, FewestRows = 155 };

const Page &framesPage()
{
    static const Page page = manualPage(QStringLiteral("frames.md"));
    return page;
}

const Page &deviceTypesPage()
{
    static const Page page = manualPage(QStringLiteral("device-types.md"));
    return page;
}

/// All that follows this word in the examples of a page.
QStringList allOf(const Page &page, const char *word)
{
    QStringList found;
    for (const PageExample &example : page.examples) {
        for (const PageLine &line : example.lines) {
            if (line.word == QLatin1String(word))
                found << line.rest;
        }
    }
    return found;
}

/// A slot with data but no row would abort. That the page is empty is for pagesAreWellFormedAndFull() to say.
void skipWithout(int rows)
{
    if (rows == 0)
        QSKIP("nothing on the page");
}

const char GoodExample[] = "```frame\n"
                           "write     code 15, address 10.3, count 1, value 01\n"
                           "request   01 03 00 0A 00 01 A4 08\n"
                           "expects   7 bytes, 2 of data from byte 3\n"
                           "behind    01 06 00 0A 00 00 A9 C8\n"
                           "reply     01 03 02 00 00 B8 44\n"
                           "image\n"
                           "request   01 06 00 0A 00 08 A8 0E\n"
                           "expects   8 bytes\n"
                           "reply     01 06 00 0A 00 08 A8 0E\n"
                           "result    1\n"
                           "shows     00\n"
                           "```\n";

} // namespace

class TstGoldenPages : public QObject {
    Q_OBJECT

private slots:
    void pagesAreWellFormedAndFull();
    void examplesCoverEveryCodeAndBothSidesOfEachJump_data();
    void examplesCoverEveryCodeAndBothSidesOfEachJump();
    void driverDoesWhatTheExampleSays_data();
    void driverDoesWhatTheExampleSays();
    void tableOfBytesIsAFrameOfThePage_data();
    void tableOfBytesIsAFrameOfThePage();
    void driverAgreesWithTheRow_data();
    void driverAgreesWithTheRow();
    void damageIsFoundAndItsLineNamed_data();
    void damageIsFoundAndItsLineNamed();
    void damagedPageIsFound();
    void damagedRowIsFound_data();
    void damagedRowIsFound();
};

void TstGoldenPages::pagesAreWellFormedAndFull()
{
    QCOMPARE((framesPage().problems + deviceTypesPage().problems).join(QLatin1Char(' ')), QString());
    const int frames =
        (allOf(framesPage(), "request") + allOf(framesPage(), "behind")).size() + allOf(framesPage(), "reply").size();
    int byteTables = 0;
    int rows = 0;
    for (const PageTable &table : framesPage().tables)
        byteTables += isTableOfBytes(table) ? 1 : 0;
    for (const PageTable &table : deviceTypesPage().tables)
        rows += isTableOfDeviceTypes(table) ? table.rows.size() : 0;
    const QString found = QStringLiteral("%1 examples, %2 frames, %3 tables of bytes, %4 rows")
                              .arg(framesPage().examples.size())
                              .arg(frames)
                              .arg(byteTables)
                              .arg(rows);
    qInfo("%s", qPrintable(found));
    QVERIFY2(framesPage().examples.size() >= FewestExamples && frames >= FewestFrames, qPrintable(found));
    QVERIFY2(byteTables >= FewestByteTables && rows >= FewestRows, qPrintable(found));
}

void TstGoldenPages::examplesCoverEveryCodeAndBothSidesOfEachJump_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("start");
    const QStringList readAndWritten = QStringLiteral("1@20 2@2047 2@2048 3@255 3@256 4@1023 4@1024 5@255 5@256 6@255 "
                                                      "6@256 7@0 7@100 8@250 8@255 8@256 9@254 9@255 9@256 10@0 11@3 "
                                                      "12@10 13@255 13@256 14@254 14@256 15@10.3 16@255.15 16@256.0 "
                                                      "17@3.0 100@0 101@10 102@1.20")
                                           .split(QLatin1Char(' '));
    const QStringList readOnly = {QStringLiteral("0@17"), QStringLiteral("14@255")};
    for (const QString &place : readAndWritten + readOnly) {
        const QString start =
            QStringLiteral("code %1, address %2, count").arg(place.section('@', 0, 0), place.section('@', 1));
        QTest::newRow(qPrintable("read " + place)) << QStringLiteral("read") << start;
        if (readAndWritten.contains(place))
            QTest::newRow(qPrintable("write " + place)) << QStringLiteral("write") << start;
    }
}

void TstGoldenPages::examplesCoverEveryCodeAndBothSidesOfEachJump()
{
    QFETCH(QString, call);
    QFETCH(QString, start);
    const QStringList calls = allOf(framesPage(), call.toLatin1().constData());
    QVERIFY2(!calls.filter(start).isEmpty(), "no example");
}

void TstGoldenPages::driverDoesWhatTheExampleSays_data()
{
    QTest::addColumn<PageExample>("example");
    skipWithout(framesPage().examples.size());
    for (const PageExample &example : framesPage().examples) {
        QStringList name(framesPage().at(example.number));
        for (const PageLine &line : example.lines.mid(0, 2))
            name << line.word << line.rest;
        QTest::newRow(name.join(QLatin1Char(' ')).left(100).toUtf8().constData()) << example;
    }
}

void TstGoldenPages::driverDoesWhatTheExampleSays()
{
    QFETCH(PageExample, example);
    const QString problem = playedExample(framesPage(), example);
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
}

void TstGoldenPages::tableOfBytesIsAFrameOfThePage_data()
{
    QTest::addColumn<PageTable>("table");
    skipWithout(framesPage().tables.size());
    for (const PageTable &table : framesPage().tables) {
        if (isTableOfBytes(table))
            QTest::newRow(qPrintable(framesPage().at(table.number))) << table;
    }
}

void TstGoldenPages::tableOfBytesIsAFrameOfThePage()
{
    QFETCH(PageTable, table);
    QString problem;
    const QString frame = frameOf(framesPage(), table, problem);
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    const QStringList frames = allOf(framesPage(), "request") + allOf(framesPage(), "reply");
    QVERIFY2(frames.contains(frame), qPrintable(frame + " is in no example"));
}

void TstGoldenPages::driverAgreesWithTheRow_data()
{
    QTest::addColumn<QStringList>("header");
    QTest::addColumn<QStringList>("cells");
    skipWithout(deviceTypesPage().tables.size());
    for (const PageTable &table : deviceTypesPage().tables) {
        for (const PageRow &row : table.rows) {
            const QString name = deviceTypesPage().at(row.number) + row.cells.join(QLatin1Char(' '));
            QTest::newRow(name.toUtf8().constData()) << table.header << row.cells;
        }
    }
}

void TstGoldenPages::driverAgreesWithTheRow()
{
    QFETCH(QStringList, header);
    QFETCH(QStringList, cells);
    const QString problem = rowAgainstDriver(header, cells);
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
}

void TstGoldenPages::damageIsFoundAndItsLineNamed_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("instead");
    QTest::addColumn<QString>("problem");
    const auto addRow = [](const char *name, const char *line, const char *instead, const char *problem) {
        QTest::newRow(name) << QString::fromLatin1(line) << QString::fromLatin1(instead)
                            << QString::fromLatin1(problem);
    };
    addRow("none", "", "", "");
    addRow("a byte of the request", "01 03 00 0A 00 01 A4 08\n", "01 03 00 0B 00 01 A4 08\n", "page:3: the request");
    addRow("a byte of the second", "01 06 00 0A 00 08 A8 0E\nexp", "01 06 00 0A 00 18 A8 0E\nexp",
           "page:8: the request");
    addRow("a byte of the one behind", "A9 C8", "A9 C9", "page:5: the frame behind");
    addRow("the CRC of a reply", "B8 44", "B8 45", "page:7: the result of the reply");
    addRow("an echo that is none", "reply     01 06 00 0A 00 08 A8 0E\nresult    1\n",
           "reply     01 06 00 0A 00 18 A9 C2\n", "page:11: malformed");
    addRow("the station of a reply", "01 03 02 00 00 B8 44", "02 03 02 00 00 FC 44", "page:7: malformed");
    addRow("the number of data bytes", "01 03 02 00 00 B8 44", "01 03 04 00 00 58 45", "page:7: malformed");
    addRow("the length", "7 bytes", "8 bytes", "page:4: what is expected");
    addRow("the place of the data", "byte 3", "byte 4", "page:4: what is expected");
    addRow("the result", "result    1", "result    41", "page:11: the result of the reply");
    addRow("the value", "shows     00", "shows     01", "page:12: the value");
    addRow("the image", "image", "image     word7[10]=0008", "page:7: the image");
    addRow("the value written", "value 01", "value 00", "page:8: the request");
    addRow("a frame left out",
           "request   01 06 00 0A 00 08 A8 0E\nexpects   8 bytes\nreply     01 06 00 0A 00 08 A8 0E\n", "",
           "malformed");
    addRow("the last frame left out",
           "request   01 06 00 0A 00 08 A8 0E\nexpects   8 bytes\nreply     01 06 00 0A 00 08 A8 0E\nresult    1\n", "",
           "page:1: after the last frame");
    addRow("a frame too many", "result    1\n", "result    1\nrequest   01 06 00 0A 00 08 A8 0E\nexpects   8 bytes\n",
           "page:12: the request");
    addRow("a word that is none", "expects", "expect", "page:4: malformed");
    addRow("hex that is none", "A4 08", "A4 8", "page:3: malformed");
    addRow("a key that is none", "count 1", "count 1, size 2", "page:2: malformed");
    addRow("a key too few", ", count 1", "", "page:2: malformed");
    addRow("a number that is none", "code 15", "code x", "page:2: malformed");
    addRow("a length that is none", "8 bytes", "8 byte", "page:9: malformed");
    addRow("no length", "expects   7 bytes, 2 of data from byte 3\n", "", "page:4: malformed");
    addRow("no reply", "reply     01 03 02 00 00 B8 44\nimage\n", "", "page:6: malformed");
    addRow("a result of no reply", "reply     01 06 00 0A 00 08 A8 0E\n", "", "page:10: malformed");
}

void TstGoldenPages::damageIsFoundAndItsLineNamed()
{
    QFETCH(QString, line);
    QFETCH(QString, instead);
    QFETCH(QString, problem);
    QString text = QString::fromLatin1(GoodExample);
    QVERIFY(text.contains(line));
    if (!line.isEmpty())
        text.replace(text.indexOf(line), line.size(), instead);
    const Page page = pageOf(QStringLiteral("page"), text);
    QCOMPARE(page.problems + QStringList(QString::number(page.examples.size())), QStringList(QStringLiteral("1")));
    const QString found = playedExample(page, page.examples.first());
    QVERIFY2(problem.isEmpty() ? found.isEmpty() : found.contains(problem), qPrintable(found));
}

void TstGoldenPages::damagedPageIsFound()
{
    const QString name = QStringLiteral("page");
    QCOMPARE(pageOf(name, QStringLiteral("```frame\nread\n")).problems, QStringList("page:1: the block has no end"));
    QCOMPARE(pageOf(name, QStringLiteral("| a | b |\n|---|---|\n| 1 |\n")).problems,
             QStringList("page:3: 1 cells in a table of 2 columns"));
    QCOMPARE(manualPage(QStringLiteral("no such page")).problems.size(), 1);
    const Page empty = pageOf(name, QStringLiteral("```frame\n```\n"));
    QVERIFY(playedExample(empty, empty.examples.first()).startsWith("page:1: malformed"));
    const Page table = pageOf(name, QStringLiteral("| Byte | Example |\n|---|---|\n| 0 | 01 |\n| 1-2 | 03 |\n"));
    QString problem;
    frameOf(table, table.tables.first(), problem);
    QCOMPARE(problem, QStringLiteral("page:4: malformed: these are the bytes 1"));
}

void TstGoldenPages::damagedRowIsFound_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("element") << "| Code | Text | Element |\n|---|---|---|\n| 0 | `17` | 17 |";
    QTest::newRow("no quotes") << "| Code | Text | Element |\n|---|---|---|\n| 0 | 17 | 15 |";
    QTest::newRow("no code") << "| Code | Text | Element |\n|---|---|---|\n| x | `17` | 15 |";
    const QString number =
        QStringLiteral("| Code | Text | Element | Modbus number | Bytes 2-3 |\n|---|---|---|---|---|\n");
    QTest::newRow("number") << number + "| 8 | `256` | 256 | register 12001 | 2E E0 |";
    QTest::newRow("coil") << number + "| 8 | `256` | 256 | coil 12000 | 2E E0 |";
    QTest::newRow("bytes") << number + "| 8 | `256` | 256 | register 12000 | 2E E1 |";
    const QString read =
        QStringLiteral("| Code | Text | Count | `maxBlockLen` | One PLC | Several stations | One-shot |\n"
                       "|---|---|---|---|---|---|---|\n");
    QTest::newRow("one PLC") << read + "| 8 | `255` | 2 | 32 | 8/255/2 | 8/255/1, 8/256/1 | 8/255/1, 8/256/1 |";
    QTest::newRow("several stations") << read
                                             + "| 8 | `255` | 2 | 32 | 8/255/1, 8/256/1 | 8/255/2 | 8/255/1, 8/256/1 |";
    QTest::newRow("one-shot") << read + "| 8 | `255` | 2 | 32 | 8/255/1, 8/256/1 | 8/255/1, 8/256/1 | 8/255/2 |";
    const QString written = QStringLiteral("| Code | Text | Count | `maxBlockLen` | Blocks |\n|---|---|---|---|---|\n");
    QTest::newRow("written") << written + "| 14 | `254` | 4 | 32 | 14/254/2, 14/256/2 |";
    const QString codes = QStringLiteral("| Code | Element | Address text | Modbus number | Read and stored as |\n"
                                         "|---|---|---|---|---|\n");
    QTest::newRow("stored as") << codes + "| 12 | 32 bits | decimal | as 7 | 12 |";
    QTest::newRow("as another") << codes + "| 12 | 32 bits | decimal | as 8 | 7 |";
    QTest::newRow("formula") << codes + "| 8 | word | decimal | a + 8000; from 256 on a + 11743 | 8 |";
    QTest::newRow("place of the jump") << codes + "| 8 | word | decimal | a + 8000; from 255 on a + 11744 | 8 |";
    const QString areas = QStringLiteral("| Codes | Addresses | Modbus numbers |\n|---|---|---|\n");
    QTest::newRow("area") << areas + "| 8 | 0 to 255, 256 to 1255 | registers 8000-8255, 12000-13000 |";
    QTest::newRow("code of an area") << areas + "| 8, 15 | 0 to 255, 256 to 1255 | registers 8000-8255, 12000-12999 |";
    QTest::newRow("header") << "| Code | Text | Place |\n|---|---|---|\n| 0 | `17` | 15 |";
}

void TstGoldenPages::damagedRowIsFound()
{
    QFETCH(QString, table);
    const Page page = pageOf(QStringLiteral("page"), table);
    QCOMPARE(page.tables.size(), 1);
    QCOMPARE(page.tables.first().rows.size(), 1);
    QCOMPARE(isTableOfDeviceTypes(page.tables.first()),
             QLatin1String(QTest::currentDataTag()) != QLatin1String("header"));
    QVERIFY(!rowAgainstDriver(page.tables.first().header, page.tables.first().rows.first().cells).isEmpty());
}

QTEST_APPLESS_MAIN(TstGoldenPages)
#include "tst_golden_pages.moc"
