/// How tags are cut for the driver, by its rules and with the built driver.
#include "host/plugin.h"
#include "host/tag_codec.h"
#include "host/tags.h"
#include "tests/tag_settings.h"

#include <QtTest/QtTest>

namespace {

/// The tag of one row; its name is empty when the row has a problem.
Tag tagOf(const QByteArray &row, const PanelSettings &settings)
{
    QStringList problems;
    const QByteArray text = "name,type,address,station,count,format,order,scale,unit,rw\n" + row;
    const TagFile file = parseTags(text, QStringLiteral("tags.csv"), settings, &problems);
    return file.tags.isEmpty() ? Tag() : file.tags.first();
}

/// "address/elements v firstValue b byteOffset+bytes" of each piece.
QString piecesText(const QByteArray &row, const PanelSettings &settings)
{
    QStringList texts;
    for (const TagPiece &piece : piecesOf(tagOf(row, settings), settings)) {
        texts << QStringLiteral("%1/%2 v%3 b%4+%5")
                     .arg(piece.address)
                     .arg(piece.elements)
                     .arg(piece.firstValue)
                     .arg(piece.byteOffset)
                     .arg(piece.bytes);
    }
    return texts.join(QLatin1String(", "));
}

/// A tag of any type that can be read and written, somewhere in its area, often at its end or where it jumps.
Tag randomTag(QRandomGenerator &random, const PanelSettings &settings)
{
    const QVector<DeviceType> &types = deviceTypes();
    for (;;) {
        const DeviceType &type = types.at(random.bounded(1, types.size()));
        const AreaPiece &piece = type.pieces.at(random.bounded(type.pieces.size()));
        int element = random.bounded(2) == 0 ? random.bounded(piece.first, piece.last + 1)
                                             : qMax(0, piece.last - random.bounded(40));
        if (type.kind == ElementKind::BitInWord)
            element = element * 16 + random.bounded(16);
        const QByteArray row = QStringLiteral("a,%1,%2,%3,%4,,,,,rw\n")
                                   .arg(type.code)
                                   .arg(addressText(type, element))
                                   .arg(settings.hasSeveral ? 7 : 5)
                                   .arg(random.bounded(1, 70))
                                   .toUtf8();
        const Tag tag = tagOf(row, settings);
        if (!tag.name.isEmpty())
            return tag;
    }
}

/// What the driver reads and writes: "8 at 250", of base types.
QSet<QString> cellsOf(const Tag &tag)
{
    const DeviceType &type = *findDeviceType(tag.type);
    QSet<QString> cells;
    for (int i = 0; i < tag.elements; ++i) {
        const int element = type.kind == ElementKind::Special     ? tag.element + i / 2
                            : type.kind == ElementKind::BitInWord ? (tag.element + i) / 16
                                                                  : tag.element + i;
        cells << QStringLiteral("%1 at %2").arg(type.base).arg(element);
    }
    return cells;
}

/// The cells of the driver's read list; bits come in bytes.
QSet<QString> cellsOf(const QList<RW_VAR> &blocks)
{
    QSet<QString> cells;
    for (const RW_VAR &block : blocks) {
        for (int i = 0; i < block.count * (block.devType <= 6 ? 8 : 1); ++i)
            cells << QStringLiteral("%1 at %2").arg(block.devType).arg(block.address + i);
    }
    return cells;
}

bool exists(const QString &cell)
{
    const QStringList parts = cell.split(QLatin1String(" at "));
    return parts.last().toInt() <= findDeviceType(parts.first().toInt())->pieces.last().last;
}

} // namespace

class TstPanelPieces : public QObject {
    Q_OBJECT

private slots:
    void piecesFollowTheDriversRules_data();
    void piecesFollowTheDriversRules();
    void bitsInWordsFitIntoShortBlocks();
    void piecesCoverEachTagOnce();
    void theDriverReadsAllThatPiecesDescribe_data();
    void theDriverReadsAllThatPiecesDescribe();
    void theDriverGivesBackWhatPiecesWrote_data();
    void theDriverGivesBackWhatPiecesWrote();
    void theDriverFindsTheSameElements();
};

void TstPanelPieces::piecesFollowTheDriversRules_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<bool>("hasSeveral");
    QTest::addColumn<QString>("pieces");
    const auto row = [](const char *name, const char *row, bool hasSeveral, const char *pieces) {
        QTest::newRow(name) << QByteArray(row) + '\n' << hasSeveral << QString(pieces);
    };
    row("one bit", "a,1,17,,,,,,,", false, "17/1 v0 b0+1");
    row("bits of one PLC", "a,2,2040,,20,,,,,", false, "2040/20 v0 b0+20");
    row("bits of several", "a,2,2043,1,20,,,,,", true, "2043/5 v0 b0+5, 2048/8 v5 b5+8, 2056/7 v13 b13+7");
    row("octal bits of several", "a,0,16,1,4,,,,,", true, "16/2 v0 b0+2, 20/2 v2 b2+2");
    row("a whole byte of several", "a,3,8,1,8,,,,,", true, "8/8 v0 b0+8");
    row("words", "a,8,250,,10,,,,,", false, "250/10 v0 b0+20");
    row("words of several", "a,8,250,1,10,,,,,", true, "250/10 v0 b0+20");
    row("two words a value", "a,9,254,,3,int32,,,,", false, "254/6 v0 b0+12");
    row("a pair", "a,12,255,,3,,,,,", false, "255/6 v0 b0+12");
    row("pairs of code 14 below", "a,14,250,,3,,,,,", false, "250/6 v0 b0+12");
    row("pairs of code 14 across", "a,14,252,,5,,,,,", false, "252/4 v0 b0+8, 256/6 v2 b8+12");
    row("pairs of code 14 across, several", "a,14,0254,1,2,float32,,,,", true, "0254/2 v0 b0+4, 256/2 v1 b4+4");
    row("pairs of code 14 above", "a,14,257,,5,,,,,", false, "257/10 v0 b0+20");
    row("special of one PLC", "a,13,254,,3,,,,,", false, "254/2 v0 b0+4, 255/2 v1 b4+4, 256/2 v2 b8+4");
    row("special of several", "a,13,254,1,3,,,,,", true, "254/6 v0 b0+12");
    row("bits in words", "a,15,10.12,,24,,,,,", false, "10.12/4 v0 b0+4, 11.0/16 v4 b4+16, 12.0/4 v20 b20+4");
    row("bits in words, several", "a,102,3.15,9,2,,,,,", true, "3.15/1 v0 b0+1, 4.0/1 v1 b1+1");
    // Word 52535 is 7 in its sixteen: ten bits from there would be read with the word behind it.
    row("the last word there is", "a,102,52535.0,,16,,,,,", false, "52535.0/9 v0 b0+9, 52535.9/7 v9 b9+7");
}

void TstPanelPieces::piecesFollowTheDriversRules()
{
    QFETCH(QByteArray, row);
    QFETCH(bool, hasSeveral);
    QTEST(piecesText(row, hasSeveral ? severalPlcs() : onePlc()), "pieces");
}

// With one PLC the driver takes bits beyond the block length for so many words.
void TstPanelPieces::bitsInWordsFitIntoShortBlocks()
{
    PanelSettings settings = onePlc();
    settings.maxBlockLen = 6;
    QCOMPARE(piecesText("a,15,10.12,,18,,,,,\n", settings),
             QString("10.12/4 v0 b0+4, 11.0/6 v4 b4+6, 11.6/6 v10 b10+6, 11.12/2 v16 b16+2"));
}

void TstPanelPieces::piecesCoverEachTagOnce()
{
    int pieceCount = 0;
    for (const QByteArray &row : {QByteArray("a,2,3,1,2000,,,,,\n"), QByteArray("a,15,0.5,1,2000,,,,,\n"),
                                  QByteArray("a,14,1,1,127,,,,,\n"), QByteArray("a,13,200,1,556,,,,,\n")}) {
        const Tag tag = tagOf(row, severalPlcs());
        QCOMPARE(tag.name, QString("a"));
        const QVector<TagPiece> pieces = piecesOf(tag, severalPlcs());
        int elements = 0;
        int bytes = 0;
        for (const TagPiece &piece : pieces) {
            QCOMPARE(piece.byteOffset, bytes);
            bytes += piece.bytes;
            elements += piece.elements;
            ++pieceCount;
        }
        QCOMPARE(elements, tag.elements);
    }
    QCOMPARE(pieceCount, 251 + 126 + 1 + 1);
}

void TstPanelPieces::theDriverReadsAllThatPiecesDescribe_data()
{
    QTest::addColumn<bool>("hasSeveral");
    QTest::newRow("one PLC") << false;
    QTest::newRow("several") << true;
}

void TstPanelPieces::theDriverReadsAllThatPiecesDescribe()
{
    Plugin plugin;
    QString error;
    QVERIFY2(plugin.load(EC_DRIVER_PATH, &error), qPrintable(error));
    QFETCH(bool, hasSeveral);
    QRandomGenerator random(1);
    for (int i = 0; i < 3000; ++i) {
        PanelSettings settings = hasSeveral ? severalPlcs() : onePlc();
        settings.maxBlockLen = 2 * random.bounded(1, 31);
        COMINFO info = settings.comInfo();
        plugin.setComInfo(&info);
        const Tag tag = randomTag(random, settings);
        QList<VARDESC> descriptions;
        for (const TagPiece &piece : piecesOf(tag, settings)) {
            VARDESC description;
            description.devType = uchar(tag.type);
            description.station = uchar(tag.station);
            description.addrText = piece.address;
            description.count = piece.elements;
            descriptions << description;
        }
        QVERIFY(plugin.reCreatReadVarList(descriptions) > 0);
        const QSet<QString> read = cellsOf(plugin.driver->readList);
        const QString what = QStringLiteral("type %1 at %2, count %3, block length %4")
                                 .arg(tag.type)
                                 .arg(tag.address)
                                 .arg(tag.count)
                                 .arg(settings.maxBlockLen);
        QVERIFY2(read.contains(cellsOf(tag)), qPrintable(what));
        for (const QString &cell : read)
            QVERIFY2(exists(cell), qPrintable(what + ", read " + cell));
        // Bits are rounded to bytes, and bits in words may bring one word more each.
        QVERIFY2(read.size() <= 2 * cellsOf(tag).size() + 14, qPrintable(what));
        descriptions.clear();
        plugin.reCreatReadVarList(descriptions);
        plugin.setComInfo(nullptr);
    }
}

void TstPanelPieces::theDriverGivesBackWhatPiecesWrote_data()
{
    theDriverReadsAllThatPiecesDescribe_data();
}

void TstPanelPieces::theDriverGivesBackWhatPiecesWrote()
{
    Plugin plugin;
    QString error;
    QVERIFY2(plugin.load(EC_DRIVER_PATH, &error), qPrintable(error));
    QFETCH(bool, hasSeveral);
    const PanelSettings settings = hasSeveral ? severalPlcs() : onePlc();
    COMINFO info = settings.comInfo();
    plugin.setComInfo(&info);
    // While the last reply was bad, what is queued is in the image at once, block by block.
    plugin.driver->failFlag = true;
    QRandomGenerator random(2);
    for (int i = 0; i < 300; ++i) {
        const Tag tag = randomTag(random, settings);
        QByteArray written(hostBytes(tag), '\0');
        for (char &byte : written)
            byte = char(random.bounded(tag.format == Format::Bit ? 2 : 256));
        const QVector<TagPiece> pieces = piecesOf(tag, settings);
        for (const TagPiece &piece : pieces) {
            QByteArray part = written.mid(piece.byteOffset, piece.bytes);
            QVERIFY(plugin.setRegisterData(tag.name, tag.type, piece.address, tag.station, &part, piece.elements, 0, 0)
                    > 0);
        }
        plugin.driver->writeList.clear();
        QByteArray read;
        for (const TagPiece &piece : pieces) {
            QByteArray part;
            QCOMPARE(plugin.getRegisterData(0, tag.type, piece.address, tag.station, &part, piece.elements), 1);
            QCOMPARE(part.size(), piece.bytes);
            read += part;
        }
        const QString what = QStringLiteral("type %1 at %2, count %3").arg(tag.type).arg(tag.address).arg(tag.count);
        QVERIFY2(read == written, qPrintable(what));
    }
    plugin.driver->failFlag = false;
    plugin.setComInfo(nullptr);
}

void TstPanelPieces::theDriverFindsTheSameElements()
{
    Plugin plugin;
    QString error;
    QVERIFY2(plugin.load(EC_DRIVER_PATH, &error), qPrintable(error));
    QRandomGenerator random(3);
    for (int i = 0; i < 3000; ++i) {
        const Tag tag = randomTag(random, onePlc());
        QCOMPARE(plugin.plcAddressChangeIntef(tag.type, tag.address), tag.element);
    }
}

QTEST_APPLESS_MAIN(TstPanelPieces)
#include "tst_panel_pieces.moc"
