/// Address text is read as the string class reads numbers, whatever shortcut is taken: its own conversion is the
/// oracle.
#include "varlist/device_type.h"

#include "tests/driver_fixture.h"

#include <climits>

namespace {

int expectedWhole(const QString &text, int radix, int offset)
{
    bool isNumber = false;
    const qint64 value = text.toInt(&isNumber, radix);
    return isNumber && value - offset >= INT_MIN ? int(value - offset) : -1;
}

int expectedWordDotBit(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 2)
        return -1;
    const qint64 value = parts.at(0).toInt() * qint64(16) + parts.at(1).toInt();
    return value >= INT_MIN && value <= INT_MAX ? int(value) : -1;
}

/// Empty when all four ways to read a text give what they should.
QString difference(const QString &text)
{
    const struct {
        const char *name;
        int devType, expected;
    } ways[] = {{"octal", 0, expectedWhole(text, 8, 0)},
                {"decimal", 7, expectedWhole(text, 10, 0)},
                {"decimal minus 200", 13, expectedWhole(text, 10, 200)},
                {"word.bit", 15, expectedWordDotBit(text)}};
    for (const auto &way : ways) {
        const int read = StringAddressToInt(way.devType, text);
        if (read != way.expected)
            return QStringLiteral("\"%1\" as %2: %3, expected %4")
                .arg(text, QLatin1String(way.name))
                .arg(read)
                .arg(way.expected);
    }
    return QString();
}

/// All texts of a length over an alphabet; the first difference.
QString differenceOfAll(const QString &alphabet, int length)
{
    qint64 texts = 1;
    for (int i = 0; i < length; ++i)
        texts *= alphabet.size();
    QString text(length, QLatin1Char(' '));
    for (qint64 number = 0; number < texts; ++number) {
        qint64 rest = number;
        for (int i = 0; i < length; ++i, rest /= alphabet.size())
            text[i] = alphabet.at(int(rest % alphabet.size()));
        const QString found = difference(text);
        if (!found.isEmpty())
            return found;
    }
    return QString();
}

} // namespace

class TstAddressText : public QObject {
    Q_OBJECT

private slots:
    void shortTextsOfEverything_data()
    {
        QTest::addColumn<QString>("alphabet");
        QTest::addColumn<int>("length");
        // Digits of both radices, their neighbours, signs, blanks, separators, other letters; digits, blanks and signs
        // of other scripts; a zero character.
        const QString wide =
            QStringLiteral("0178 9/:+-.,xXaeEfn\t\u00A0\u0661\u0967\uFF11\u2212\uFF0B\u2009\u3000") + QChar(0);
        for (int length = 0; length <= 3; ++length)
            QTest::addRow("%d of the wide alphabet", length) << wide << length;
        for (int length = 4; length <= 5; ++length)
            QTest::addRow("%d of the narrow alphabet", length) << QStringLiteral("078 9+-.x") << length;
        QTest::addRow("9 digits, dots and blanks") << QStringLiteral("19. ") << 9;
    }
    void shortTextsOfEverything()
    {
        QFETCH(QString, alphabet);
        QFETCH(int, length);
        QCOMPARE(differenceOfAll(alphabet, length), QString());
    }

    void numbersAroundEveryEdge()
    {
        int texts = 0;
        for (int bits = 0; bits <= 66; ++bits) {
            for (int step = -3; step <= 3; ++step) {
                for (const char *const before : {"", "0", "000000", "00000000000000", " ", "+", "-", "- ", "1."}) {
                    const long double power = bits == 0 ? 1 : 2 * powl(2, bits - 1);
                    const QString digits = QString::number(double(power), 'f', 0);
                    // Beyond 53 bits the text is a neighbour of the power, which is as good.
                    const QString decimal = bits < 53 ? QString::number((1LL << bits) + step) : digits;
                    const QString octal = bits < 63 ? QString::number((1LL << bits) + step, 8) : digits;
                    for (const QString &number : {decimal, octal}) {
                        QCOMPARE(difference(QLatin1String(before) + number), QString());
                        QCOMPARE(difference(QLatin1String(before) + number + QLatin1Char(' ')), QString());
                        ++texts;
                    }
                }
            }
        }
        QCOMPARE(texts, 67 * 7 * 9 * 2);
    }

    void rowsOfOneDigit()
    {
        for (int length = 1; length <= 24; ++length) {
            for (char digit = '0'; digit <= '9'; ++digit)
                QCOMPARE(difference(QString(length, QLatin1Char(digit))), QString());
        }
    }

    void everyAddressThatAFrameCanCarry()
    {
        for (int address = 0; address <= 65600; ++address) {
            QCOMPARE(StringAddressToInt(7, QString::number(address)), address);
            QCOMPARE(StringAddressToInt(0, QString::number(address, 8)), address);
            QCOMPARE(StringAddressToInt(13, QString::number(address + 200)), address);
            QCOMPARE(StringAddressToInt(15, QStringLiteral("%1.%2").arg(address / 16).arg(address % 16)), address);
        }
    }
};

QTEST_APPLESS_MAIN(TstAddressText)

#include "tst_address_text.moc"
