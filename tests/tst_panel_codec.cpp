/// Values of tags as numbers, as text, and as host bytes.
#include "host/tag_codec.h"

#include "tests/bytes_text.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>

#include <clocale>

namespace {

Tag tagOf(int type, Format format, ByteOrder order = ByteOrder::ABCD, double scale = 1, int count = 1)
{
    Tag tag;
    tag.type = type;
    tag.format = format;
    tag.order = order;
    tag.scale = scale;
    tag.count = count;
    return tag;
}

QString jsonText(const QJsonValue &value)
{
    const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(text.mid(1, text.size() - 2));
}

} // namespace

Q_DECLARE_METATYPE(Format)
Q_DECLARE_METATYPE(ByteOrder)

class TstPanelCodec : public QObject {
    Q_OBJECT

private slots:
    void eachOrderHasItsHostBytes_data();
    void eachOrderHasItsHostBytes();
    void aValueIsShownScaled_data();
    void aValueIsShownScaled();
    void severalValuesAreShownInBrackets();
    void missingBytesGiveNoValue();
    void furtherBytesAreNotLookedAt();
    void aTextIsEncoded_data();
    void aTextIsEncoded();
    void aTextThatDoesNotFitIsRefused_data();
    void aTextThatDoesNotFitIsRefused();
    void aRoundedValueIsTold_data();
    void aRoundedValueIsTold();
    void aTextWithoutItsBytesHasNoNote();
    void everyWordReadsBackFromItsText();
    void floatsReadBackFromTheirText();
    void theLocaleOfTheProcessDoesNotMatter();
};

// The registers on the line are named by their bytes: 1234 is the first one's, high byte first.
void TstPanelCodec::eachOrderHasItsHostBytes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<Format>("format");
    QTest::addColumn<ByteOrder>("order");
    QTest::addColumn<QString>("bytes");
    QTest::addColumn<double>("raw");

    // Line 12 34 56 78; a word area gives each word's low byte first.
    QTest::newRow("words ABCD") << 7 << Format::Uint32 << ByteOrder::ABCD << "34 12 78 56" << double(0x12345678);
    QTest::newRow("words BADC") << 8 << Format::Uint32 << ByteOrder::BADC << "34 12 78 56" << double(0x34127856);
    QTest::newRow("words CDAB") << 100 << Format::Uint32 << ByteOrder::CDAB << "34 12 78 56" << double(0x56781234);
    QTest::newRow("words DCBA") << 11 << Format::Uint32 << ByteOrder::DCBA << "34 12 78 56" << double(0x78563412);
    // The same line; a 32-bit type gives the last byte first.
    QTest::newRow("pair ABCD") << 12 << Format::Uint32 << ByteOrder::ABCD << "78 56 34 12" << double(0x12345678);
    QTest::newRow("pair BADC") << 14 << Format::Uint32 << ByteOrder::BADC << "78 56 34 12" << double(0x34127856);
    QTest::newRow("pair CDAB") << 101 << Format::Uint32 << ByteOrder::CDAB << "78 56 34 12" << double(0x56781234);
    QTest::newRow("special DCBA") << 13 << Format::Uint32 << ByteOrder::DCBA << "78 56 34 12" << double(0x78563412);
    // Line 12 34.
    QTest::newRow("word ABCD") << 9 << Format::Uint16 << ByteOrder::ABCD << "34 12" << double(0x1234);
    QTest::newRow("word BADC") << 9 << Format::Uint16 << ByteOrder::BADC << "34 12" << double(0x3412);
    QTest::newRow("word CDAB") << 10 << Format::Uint16 << ByteOrder::CDAB << "34 12" << double(0x1234);
    QTest::newRow("word DCBA") << 10 << Format::Uint16 << ByteOrder::DCBA << "34 12" << double(0x3412);

    QTest::newRow("negative word") << 7 << Format::Int16 << ByteOrder::ABCD << "FE FF" << -2.0;
    QTest::newRow("negative words") << 7 << Format::Int32 << ByteOrder::ABCD << "FF FF FE FF" << -2.0;
    QTest::newRow("negative pair") << 12 << Format::Int32 << ByteOrder::ABCD << "FE FF FF FF" << -2.0;
    QTest::newRow("least int32") << 13 << Format::Int32 << ByteOrder::ABCD << "00 00 00 80" << -2147483648.0;
    QTest::newRow("greatest uint32") << 13 << Format::Uint32 << ByteOrder::ABCD << "FF FF FF FF" << 4294967295.0;
    QTest::newRow("float pair") << 12 << Format::Float32 << ByteOrder::ABCD << "00 00 48 41" << 12.5;
    QTest::newRow("float words") << 7 << Format::Float32 << ByteOrder::ABCD << "48 41 00 00" << 12.5;
    QTest::newRow("float words CDAB") << 7 << Format::Float32 << ByteOrder::CDAB << "00 00 48 41" << 12.5;
    QTest::newRow("bit on") << 1 << Format::Bit << ByteOrder::ABCD << "01" << 1.0;
    QTest::newRow("bit of a word off") << 15 << Format::Bit << ByteOrder::DCBA << "00" << 0.0;
}

void TstPanelCodec::eachOrderHasItsHostBytes()
{
    QFETCH(int, type);
    QFETCH(Format, format);
    QFETCH(ByteOrder, order);
    QFETCH(QString, bytes);
    QFETCH(double, raw);
    const Tag tag = tagOf(type, format, order);
    const QByteArray given = hex(bytes.toLatin1());
    QCOMPARE(hostBytes(tag), given.size());
    QCOMPARE(decode(tag, given), QVector<double>{raw});

    QByteArray written;
    QString error;
    QVERIFY2(encode(tag, QString::number(raw, 'g', 17), &written, &error), qPrintable(error));
    QCOMPARE(toHex(written), bytes);
}

void TstPanelCodec::aValueIsShownScaled_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<double>("scale");
    QTest::addColumn<QString>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("json");
    const auto row = [](const char *name, Format format, double scale, const char *bytes, const char *text,
                        const char *json) {
        QTest::newRow(name) << format << scale << QString(bytes) << QString(text) << QString(json);
    };
    row("tenths", Format::Uint16, 0.1, "7D 00", "12.5", "12.5");
    row("a product with a tail", Format::Uint16, 0.1, "03 00", "0.3", "0.3");
    row("negative", Format::Int16, 0.1, "FF FF", "-0.1", "-0.1");
    row("zero of a negative scale", Format::Int16, -1, "00 00", "0", "0");
    row("a large scale", Format::Uint16, 1000, "E8 03", "1000000", "1000000");
    row("greatest uint32", Format::Uint32, 1, "FF FF FF FF", "4294967295", "4294967295");
    row("least int32", Format::Int32, 1, "00 80 00 00", "-2147483648", "-2147483648");
    row("shortest digits", Format::Float32, 1, "CC 3D CD CC", "0.1", "0.1");
    row("all digits", Format::Float32, 1, "49 40 DB 0F", "3.1415927", "3.1415927");
    row("a round float", Format::Float32, 1, "C3 47 00 50", "100000", "100000");
    row("greatest float", Format::Float32, 1, "7F 7F FF FF", "3.4028235e+38", "3.4028235e+38");
    row("least float", Format::Float32, 1, "00 00 01 00", "1e-45", "1e-45");
    row("a scaled float", Format::Float32, 10, "CC 3D CD CC", "1", "1");
    row("negative zero", Format::Float32, 1, "00 80 00 00", "0", "0");
    row("no number", Format::Float32, 1, "C0 7F 00 00", "nan", "\"nan\"");
    row("infinity", Format::Float32, 1, "80 7F 00 00", "inf", "\"inf\"");
    row("minus infinity", Format::Float32, 2, "80 FF 00 00", "-inf", "\"-inf\"");
}

void TstPanelCodec::aValueIsShownScaled()
{
    QFETCH(Format, format);
    QFETCH(double, scale);
    QFETCH(QString, bytes);
    const Tag tag = tagOf(7, format, ByteOrder::ABCD, scale);
    QTEST(valueText(tag, hex(bytes.toLatin1())), "text");
    QFETCH(QString, json);
    // Exponents are written in more than one way: compared as numbers where they are numbers.
    const QJsonValue value = valueJson(tag, hex(bytes.toLatin1()));
    if (value.isDouble())
        QVERIFY2(value.toDouble() == json.toDouble(), qPrintable(jsonText(value)));
    else
        QCOMPARE(jsonText(value), json);
}

void TstPanelCodec::severalValuesAreShownInBrackets()
{
    const Tag bits = tagOf(1, Format::Bit, ByteOrder::ABCD, 1, 3);
    QCOMPARE(valueText(bits, hex("01 00 01")), QString("[1 0 1]"));
    QCOMPARE(jsonText(valueJson(bits, hex("01 00 01"))), QString("[1,0,1]"));
    const Tag floats = tagOf(12, Format::Float32, ByteOrder::ABCD, 1, 2);
    QCOMPARE(valueText(floats, hex("00 00 48 41 00 00 C0 7F")), QString("[12.5 nan]"));
    QCOMPARE(jsonText(valueJson(floats, hex("00 00 48 41 00 00 C0 7F"))), QString("[12.5,\"nan\"]"));
}

void TstPanelCodec::missingBytesGiveNoValue()
{
    const Tag tag = tagOf(7, Format::Uint16, ByteOrder::ABCD, 1, 2);
    QCOMPARE(hostBytes(tag), 4);
    QCOMPARE(decode(tag, hex("01 00 02")), QVector<double>());
    QCOMPARE(valueText(tag, hex("01 00 02")), QString());
    QVERIFY(valueJson(tag, QByteArray()).isNull());
}

void TstPanelCodec::furtherBytesAreNotLookedAt()
{
    QCOMPARE(decode(tagOf(7, Format::Uint16), hex("01 00 02")), QVector<double>{1});
}

void TstPanelCodec::aTextIsEncoded_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("bytes");
    const auto row = [](const char *name, Format format, double scale, int count, const char *text, const char *bytes) {
        QTest::newRow(name) << format << scale << count << QString(text) << QString(bytes);
    };
    row("a bit", Format::Bit, 1, 1, "1", "01");
    row("bits", Format::Bit, 1, 3, "1,0,1", "01 00 01");
    row("bits as shown", Format::Bit, 1, 3, "[1 0 1]", "01 00 01");
    row("bits as JSON", Format::Bit, 1, 3, "[1, 0, 1]", "01 00 01");
    row("blanks", Format::Uint16, 1, 2, " 1 , 2 ", "01 00 02 00");
    row("tenths", Format::Uint16, 0.1, 1, "12.5", "7D 00");
    row("less than half a step", Format::Uint16, 0.1, 1, "12.54", "7D 00");
    row("more than half a step", Format::Uint16, 0.1, 1, "12.56", "7E 00");
    row("half a step", Format::Int16, 1, 1, "-2.5", "FD FF");
    row("a plus", Format::Int16, 1, 1, "+7", "07 00");
    row("an exponent", Format::Uint16, 1, 1, "1e3", "E8 03");
    row("a point first", Format::Uint16, 0.5, 1, ".5", "01 00");
    row("least int16", Format::Int16, 1, 1, "-32768", "00 80");
    row("greatest uint16", Format::Uint16, 1, 1, "65535.4", "FF FF");
    row("scaled range", Format::Int16, 0.001, 1, "-32.768", "00 80");
    row("greatest uint32", Format::Uint32, 1, 1, "4294967295", "FF FF FF FF");
    row("negative scale", Format::Int16, -1, 1, "5", "FB FF");
    row("nearest float", Format::Float32, 1, 1, "0.1", "CC 3D CD CC");
    row("greatest float", Format::Float32, 1, 1, "3.4028235e38", "7F 7F FF FF");
    row("too small a float", Format::Float32, 1, 1, "1e-60", "00 00 00 00");
    row("float of a negative scale", Format::Float32, -2, 1, "0", "00 00 00 00");
}

void TstPanelCodec::aTextIsEncoded()
{
    QFETCH(Format, format);
    QFETCH(double, scale);
    QFETCH(int, count);
    QFETCH(QString, text);
    QByteArray bytes;
    QString error;
    const Tag tag = tagOf(format == Format::Bit ? 1 : 7, format, ByteOrder::ABCD, scale, count);
    QVERIFY2(encode(tag, text, &bytes, &error), qPrintable(error));
    QTEST(toHex(bytes), "bytes");
}

void TstPanelCodec::aTextThatDoesNotFitIsRefused_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, Format format, double scale, int count, const char *text, const char *error) {
        QTest::newRow(name) << format << scale << count << QString(text) << QString(error);
    };
    row("a bit of 2", Format::Bit, 1, 1, "2", "2: expected 0 or 1");
    row("a bit in words", Format::Bit, 1, 1, "on", "on: expected 0 or 1");
    row("above uint16", Format::Uint16, 1, 1, "65535.5", "65535.5: expected 0 to 65535");
    row("below uint16", Format::Uint16, 1, 1, "-1", "-1: expected 0 to 65535");
    row("above int16", Format::Int16, 1, 1, "32768", "32768: expected -32768 to 32767");
    row("above a scaled range", Format::Int16, 0.1, 1, "3276.8", "3276.8: expected -3276.8 to 3276.7");
    row("a negative scale", Format::Uint16, -0.1, 1, "1", "1: expected -6553.5 to 0");
    row("above uint32", Format::Uint32, 1, 1, "4294967296", "4294967296: expected 0 to 4294967295");
    row("below int32", Format::Int32, 1, 1, "-2147483649", "-2147483649: expected -2147483648 to 2147483647");
    row("above every number", Format::Int32, 1e-300, 1, "1e300",
        "1e300: expected -2.147483648e-291 to 2.147483647e-291");
    row("float overflow", Format::Float32, 1, 1, "3.4028236e38",
        "3.4028236e38: expected -3.4028235e+38 to 3.4028235e+38");
    row("a float nan", Format::Float32, 1, 1, "nan", "nan: expected a number, -3.4028235e+38 to 3.4028235e+38");
    row("a float infinity", Format::Float32, 1, 1, "inf", "inf: expected a number, -3.4028235e+38 to 3.4028235e+38");
    row("minus infinity", Format::Float32, 0.5, 1, "-INF", "-INF: expected a number, -1.7014117e+38 to 1.7014117e+38");
    row("one nan of two", Format::Float32, 1, 2, "1,NaN", "NaN: expected a number, -3.4028235e+38 to 3.4028235e+38");
    row("a sign only", Format::Float32, 1, 1, "-", "-: expected a number, -3.4028235e+38 to 3.4028235e+38");
    row("an integer nan", Format::Int16, 1, 1, "nan", "nan: expected a number, -32768 to 32767");
    row("an integer infinity", Format::Uint16, 1, 1, "inf", "inf: expected a number, 0 to 65535");
    row("beyond a double", Format::Uint16, 1, 1, "1e999", "1e999: expected a number, 0 to 65535");
    row("no digits", Format::Uint16, 1, 1, "12x", "12x: expected a number, 0 to 65535");
    row("hexadecimal", Format::Uint16, 1, 1, "0x10", "0x10: expected a number, 0 to 65535");
    row("nothing", Format::Uint16, 1, 1, "", "(empty): expected a number, 0 to 65535");
    row("a decimal comma", Format::Uint16, 0.1, 1, "12,5", "12,5: expected one value");
    row("too few", Format::Uint16, 1, 3, "1,2", "1,2: expected 3 values, separated by commas");
    row("too many", Format::Bit, 1, 2, "[1 0 1]", "[1 0 1]: expected 2 values, separated by commas");
    row("an empty one", Format::Uint16, 1, 2, "1,", "(empty): expected a number, 0 to 65535");
    row("an open bracket", Format::Uint16, 1, 2, "[1,2", "[1: expected a number, 0 to 65535");
    row("control characters", Format::Uint16, 1, 1, "1\n2", "1?2: expected a number, 0 to 65535");
}

void TstPanelCodec::aTextThatDoesNotFitIsRefused()
{
    QFETCH(Format, format);
    QFETCH(double, scale);
    QFETCH(int, count);
    QFETCH(QString, text);
    QByteArray bytes("kept");
    QString error;
    const Tag tag = tagOf(format == Format::Bit ? 1 : 7, format, ByteOrder::ABCD, scale, count);
    QVERIFY(!encode(tag, text, &bytes, &error));
    QTEST(error, "error");
    QCOMPARE(bytes, QByteArray("kept"));
}

void TstPanelCodec::aRoundedValueIsTold_data()
{
    QTest::addColumn<Format>("format");
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("note");
    const auto row = [](const char *name, Format format, double scale, int count, const char *text, const char *note) {
        QTest::newRow(name) << format << scale << count << QString(text) << QString(note);
    };
    row("a bit", Format::Bit, 1, 1, "1", "");
    row("a step", Format::Uint16, 0.1, 1, "123.5", "");
    row("other digits of a step", Format::Uint16, 0.1, 1, "+1.2350e2", "");
    row("between two steps", Format::Uint16, 0.1, 1, "123.46", "rounded to 123.5");
    row("a third", Format::Int16, 1.0 / 3, 1, "0.333333333333333", "");
    row("nearly a third", Format::Int16, 1.0 / 3, 1, "0.3333", "rounded to 0.333333333333333");
    row("to zero", Format::Int32, 10, 1, "-4", "rounded to 0");
    row("minus zero", Format::Int16, 1, 1, "-0", "");
    row("a float", Format::Float32, 1, 1, "0.1", "");
    row("a float of too many digits", Format::Float32, 1, 1, "3.14159265", "rounded to 3.1415927");
    row("a large float", Format::Float32, 1, 1, "16777217", "rounded to 16777216");
    row("too small a float", Format::Float32, 1, 1, "1e-60", "rounded to 0");
    row("an array", Format::Int16, 0.5, 3, "1,2.5,3", "");
    row("the last of an array", Format::Int16, 0.5, 3, "[1 2.5 3.3]", "rounded to [1 2.5 3.5]");
}

void TstPanelCodec::aRoundedValueIsTold()
{
    QFETCH(Format, format);
    QFETCH(double, scale);
    QFETCH(int, count);
    QFETCH(QString, text);
    QByteArray bytes;
    QString error;
    const Tag tag = tagOf(format == Format::Bit ? 1 : 7, format, ByteOrder::ABCD, scale, count);
    QVERIFY2(encode(tag, text, &bytes, &error), qPrintable(error));
    QTEST(roundingNote(tag, text, bytes), "note");
}

void TstPanelCodec::aTextWithoutItsBytesHasNoNote()
{
    QCOMPARE(roundingNote(tagOf(7, Format::Uint16), QStringLiteral("1.5"), QByteArray()), QString());
    QCOMPARE(roundingNote(tagOf(7, Format::Uint16), QStringLiteral("1.5,2.5"), hex("02 00")), QString());
}

void TstPanelCodec::everyWordReadsBackFromItsText()
{
    for (double scale : {1.0, 0.1, 0.001, -0.5, 3.0, 1.0 / 3, 12345.678}) {
        for (Format format : {Format::Int16, Format::Uint16}) {
            const Tag tag = tagOf(7, format, ByteOrder::BADC, scale);
            for (int word = 0; word < 65536; ++word) {
                const QByteArray bytes = QByteArray(1, char(word)) + char(word >> 8);
                QByteArray written;
                QString error;
                const QString text = valueText(tag, bytes);
                QVERIFY2(encode(tag, text, &written, &error), qPrintable(error));
                QVERIFY2(written == bytes, qPrintable(text));
            }
        }
    }
}

void TstPanelCodec::floatsReadBackFromTheirText()
{
    QRandomGenerator random(1);
    int compared = 0;
    for (int i = 0; i < 20000; ++i) {
        const quint32 bits = random.generate();
        QByteArray bytes;
        for (int k = 0; k < 4; ++k)
            bytes += char(bits >> 8 * k);
        const Tag tag = tagOf(12, Format::Float32);
        // A NaN has more than one form, -0 is shown as 0.
        if ((bits & 0x7F800000) == 0x7F800000 || (bits & 0x7FFFFFFF) == 0)
            continue;
        QByteArray written;
        QString error;
        QVERIFY2(encode(tag, valueText(tag, bytes), &written, &error), qPrintable(error));
        QCOMPARE(toHex(written), toHex(bytes));
        ++compared;
    }
    QVERIFY(compared > 19000);
}

void TstPanelCodec::theLocaleOfTheProcessDoesNotMatter()
{
    // A decimal comma, whether or not the C library has this locale.
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const Tag tag = tagOf(7, Format::Uint16, ByteOrder::ABCD, 0.1);
    QByteArray bytes;
    QString error;
    const bool isEncoded = encode(tag, QStringLiteral("12.5"), &bytes, &error);
    const QString text = valueText(tag, hex("7D 00"));
    std::setlocale(LC_ALL, "C");
    QLocale::setDefault(before);
    QVERIFY2(isEncoded, qPrintable(error));
    QCOMPARE(toHex(bytes), QString("7D 00"));
    QCOMPARE(text, QString("12.5"));
}

QTEST_APPLESS_MAIN(TstPanelCodec)
#include "tst_panel_codec.moc"
