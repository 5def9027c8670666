/// The host's own table of device types.
#include "host/device_types.h"

#include <QtTest/QtTest>

namespace {

const char *kindName(ElementKind kind)
{
    switch (kind) {
    case ElementKind::Bit:
        return "bit";
    case ElementKind::Word:
        return "word";
    case ElementKind::Pair:
        return "pair";
    case ElementKind::Special:
        return "special";
    case ElementKind::BitInWord:
        return "bit in word";
    }
    return "";
}

/// "0-255 at 8000, 256-1255 at 12000".
QString piecesText(const DeviceType &type)
{
    QStringList texts;
    for (const AreaPiece &piece : type.pieces)
        texts << QStringLiteral("%1-%2 at %3").arg(piece.first).arg(piece.last).arg(piece.number);
    return texts.join(QLatin1String(", "));
}

} // namespace

class TstPanelDeviceTypes : public QObject {
    Q_OBJECT

private slots:
    void eachCodeHasItsAreaAndKind_data();
    void eachCodeHasItsAreaAndKind();
    void otherCodesDoNotExist_data();
    void otherCodesDoNotExist();
    void theListHasEachCodeOnce();
    void eachCodeIsDescribed_data();
    void eachCodeIsDescribed();
    void theExampleListsEachCode();
    void anAddressIsWrittenAsAnEngineerWritesIt_data();
    void anAddressIsWrittenAsAnEngineerWritesIt();
    void aNumberIsNamedInThePlcsWords_data();
    void aNumberIsNamedInThePlcsWords();
    void eachNumberIsInOneAreaOrInNone();
};

void TstPanelDeviceTypes::eachCodeHasItsAreaAndKind_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("base");
    QTest::addColumn<bool>("isWritable");
    QTest::addColumn<QString>("pieces");
    const auto row = [](int code, const char *kind, int base, const char *pieces) {
        QTest::newRow(qPrintable(QString::number(code)))
            << code << QString(kind) << base << (code != 0) << QString(pieces);
    };
    row(0, "bit", 0, "0-799 at 1200");
    row(1, "bit", 1, "0-1199 at 0");
    row(2, "bit", 2, "0-2047 at 2000, 2048-20047 at 12000");
    row(3, "bit", 3, "0-255 at 4400, 256-1255 at 30000");
    row(4, "bit", 4, "0-1023 at 6000, 1024-35559 at 31000");
    row(5, "bit", 5, "0-255 at 8000, 256-1255 at 11000");
    row(6, "bit", 6, "0-255 at 9200, 256-1255 at 10000");
    row(7, "word", 7, "0-7999 at 0");
    row(8, "word", 8, "0-255 at 8000, 256-1255 at 12000");
    row(9, "word", 9, "0-255 at 9000, 256-1255 at 11000");
    row(10, "word", 10, "0-199 at 9500");
    row(11, "word", 11, "0-499 at 8500");
    row(12, "pair", 7, "0-7999 at 0");
    row(13, "special", 13, "0-55 at 9700, 56-555 at 10000");
    row(14, "pair", 8, "0-255 at 8000, 256-1255 at 12000");
    row(15, "bit in word", 7, "0-7999 at 0");
    row(16, "bit in word", 8, "0-255 at 8000, 256-1255 at 12000");
    row(17, "bit in word", 11, "0-499 at 8500");
    row(100, "word", 100, "0-52535 at 13000");
    row(101, "pair", 100, "0-52535 at 13000");
    row(102, "bit in word", 100, "0-52535 at 13000");
}

void TstPanelDeviceTypes::eachCodeHasItsAreaAndKind()
{
    QFETCH(int, code);
    const DeviceType *type = findDeviceType(code);
    QVERIFY(type != nullptr);
    QCOMPARE(type->code, code);
    QTEST(QString(kindName(type->kind)), "kind");
    QTEST(type->base, "base");
    QTEST(type->isWritable, "isWritable");
    QTEST(piecesText(*type), "pieces");
}

void TstPanelDeviceTypes::otherCodesDoNotExist_data()
{
    QTest::addColumn<int>("code");
    for (int code : {-1, 18, 55, 99, 103, 255, 256, INT_MAX, INT_MIN})
        QTest::newRow(qPrintable(QString::number(code))) << code;
}

void TstPanelDeviceTypes::otherCodesDoNotExist()
{
    QFETCH(int, code);
    QVERIFY(findDeviceType(code) == nullptr);
}

void TstPanelDeviceTypes::theListHasEachCodeOnce()
{
    QStringList codes;
    for (const DeviceType &type : deviceTypes())
        codes << QString::number(type.code);
    QCOMPARE(codes.join(' '), QString("0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 100 101 102"));
}

void TstPanelDeviceTypes::eachCodeIsDescribed_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("isOctalType");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("range");
    const auto row = [](int code, const char *kind, const char *range) {
        QTest::newRow(qPrintable(QString::number(code)))
            << code << (code == 0 || code == 1) << QString(kind) << QString(range);
    };
    row(0, "bit, octal address", "0 to 1437");
    row(1, "bit, octal address", "0 to 2257");
    row(2, "bit", "0 to 2047, 2048 to 20047");
    row(3, "bit", "0 to 255, 256 to 1255");
    row(4, "bit", "0 to 1023, 1024 to 35559");
    row(5, "bit", "0 to 255, 256 to 1255");
    row(6, "bit", "0 to 255, 256 to 1255");
    row(7, "word", "0 to 7999");
    row(8, "word", "0 to 255, 256 to 1255");
    row(9, "word", "0 to 255, 256 to 1255");
    row(10, "word", "0 to 199");
    row(11, "word", "0 to 499");
    row(12, "32 bits in two words of 7", "0 to 7999");
    row(13, "32 bits of its own, counted from 200", "200 to 255, 256 to 755");
    row(14, "32 bits in two words of 8", "0 to 255, 256 to 1255");
    row(15, "bit of a word of 7, as 10.3", "0.0 to 7999.15");
    row(16, "bit of a word of 8, as 10.3", "0.0 to 255.15, 256.0 to 1255.15");
    row(17, "bit of a word of 11, as 10.3", "0.0 to 499.15");
    row(100, "word", "0 to 52535");
    row(101, "32 bits in two words of 100", "0 to 52535");
    row(102, "bit of a word of 100, as 10.3", "0.0 to 52535.15");
}

void TstPanelDeviceTypes::eachCodeIsDescribed()
{
    QFETCH(int, code);
    const DeviceType &type = *findDeviceType(code);
    QTEST(isOctal(type), "isOctalType");
    QTEST(kindText(type), "kind");
    QTEST(rangeText(type), "range");
}

void TstPanelDeviceTypes::theExampleListsEachCode()
{
    QFile file(QStringLiteral(EC_SOURCE_DIR "/examples/tags.csv"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString example = QString::fromUtf8(file.readAll());
    for (const DeviceType &type : deviceTypes()) {
        const QString what = kindText(type) + (type.isWritable ? QString() : QStringLiteral(", read only"));
        const QRegularExpression line(
            QStringLiteral("^#  +%1  +%2  +%3$")
                .arg(type.code)
                .arg(QRegularExpression::escape(what), QRegularExpression::escape(rangeText(type))),
            QRegularExpression::MultilineOption);
        QVERIFY2(line.match(example).hasMatch(), qPrintable(line.pattern()));
    }
    QVERIFY(example.contains("ecpanel types"));
}

void TstPanelDeviceTypes::anAddressIsWrittenAsAnEngineerWritesIt_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("element");
    QTest::addColumn<QString>("text");
    QTest::newRow("octal input") << 0 << 15 << "17";
    QTest::newRow("octal output") << 1 << 8 << "10";
    QTest::newRow("decimal bit") << 2 << 15 << "15";
    QTest::newRow("word") << 8 << 300 << "300";
    QTest::newRow("pair") << 14 << 258 << "258";
    QTest::newRow("from 200 on") << 13 << 56 << "256";
    QTest::newRow("first bit of a word") << 15 << 160 << "10.0";
    QTest::newRow("last bit of a word") << 102 << 15 << "0.15";
}

void TstPanelDeviceTypes::anAddressIsWrittenAsAnEngineerWritesIt()
{
    QFETCH(int, code);
    QFETCH(int, element);
    QTEST(addressText(*findDeviceType(code), element), "text");
}

void TstPanelDeviceTypes::aNumberIsNamedInThePlcsWords_data()
{
    QTest::addColumn<bool>("isCoil");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("text");
    const auto row = [](bool isCoil, int number, const char *text) {
        QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(isCoil ? "coil" : "register").arg(number)))
            << isCoil << number << QString(text);
    };
    row(true, 0, "code 1 at 0");
    row(true, 1199, "code 1 at 2257");
    row(true, 1200, "code 0 at 0");
    row(true, 1215, "code 0 at 17");
    row(true, 2000, "code 2 at 0");
    row(true, 4047, "code 2 at 2047");
    row(true, 4048, "");
    row(true, 4399, "");
    row(true, 4655, "code 3 at 255");
    row(true, 4656, "");
    row(true, 12000, "code 2 at 2048");
    row(true, 30999, "code 3 at 1255");
    row(true, 31000, "code 4 at 1024");
    row(true, 65535, "code 4 at 35559");
    row(true, 65536, "");
    row(true, -1, "");
    row(false, 0, "code 7 at 0");
    row(false, 7999, "code 7 at 7999");
    row(false, 8000, "code 8 at 0");
    row(false, 8256, "");
    row(false, 8500, "code 11 at 0");
    row(false, 9500, "code 10 at 0");
    row(false, 9699, "code 10 at 199");
    row(false, 9700, "code 13 at 200, high word");
    row(false, 9701, "code 13 at 200, low word");
    row(false, 9811, "code 13 at 255, low word");
    row(false, 9812, "");
    row(false, 9999, "");
    row(false, 10000, "code 13 at 256, high word");
    row(false, 10999, "code 13 at 755, low word");
    row(false, 11000, "code 9 at 256");
    row(false, 12044, "code 8 at 300");
    row(false, 65535, "code 100 at 52535");
    row(false, 65536, "");
    row(false, -1, "");
}

void TstPanelDeviceTypes::aNumberIsNamedInThePlcsWords()
{
    QFETCH(bool, isCoil);
    QFETCH(int, number);
    QTEST(cellText(isCoil, number), "text");
}

void TstPanelDeviceTypes::eachNumberIsInOneAreaOrInNone()
{
    int coils = 0;
    int registers = 0;
    QSet<QString> names;
    for (int number = 0; number <= 65535; ++number) {
        const QString coil = cellText(true, number);
        const QString word = cellText(false, number);
        coils += coil.isEmpty() ? 0 : 1;
        registers += word.isEmpty() ? 0 : 1;
        if (!coil.isEmpty())
            names << coil;
        if (!word.isEmpty())
            names << word;
    }
    // 800 + 1200 + 20048 + 1256 + 35560 + 1256 + 1256 coils, 8000 + 1256 + 1256 + 200 + 500 + 1112 + 52536 registers.
    QCOMPARE(coils, 61376);
    QCOMPARE(registers, 64860);
    QCOMPARE(names.size(), 61376 + 64860);
}

QTEST_APPLESS_MAIN(TstPanelDeviceTypes)
#include "tst_panel_device_types.moc"
