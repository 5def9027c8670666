#include "host/problems.h"
#include "host/tag_codec.h"
#include "host/tag_raw.h"

#include <cmath>
#include <cstring>

namespace {

quint32 toBits(float value)
{
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// Raw values of a format, from .. to.
struct Range {
    double from;
    double to;
};

Range rangeOf(Format format)
{
    switch (format) {
    case Format::Bit:
        return {0, 1};
    case Format::Int16:
        return {-32768, 32767};
    case Format::Uint16:
        return {0, 65535};
    case Format::Int32:
        return {-2147483648.0, 2147483647.0};
    case Format::Uint32:
        return {0, 4294967295.0};
    case Format::Float32:
        return {-3.4028234663852886e38, 3.4028234663852886e38};
    }
    return {0, 0};
}

/// "0 to 6553.5", scaled.
QString rangeText(const Tag &tag)
{
    const Range range = rangeOf(tag.format);
    const QString from = scaledText(tag, range.from);
    const QString to = scaledText(tag, range.to);
    return QStringLiteral("%1 to %2").arg(tag.scale < 0 ? to : from, tag.scale < 0 ? from : to);
}

/// False for a text that is no number of the C locale.
bool readNumber(const QString &text, double *value)
{
    const bool isSigned = text.startsWith(QLatin1Char('-')) || text.startsWith(QLatin1Char('+'));
    const QChar first = text.size() > int(isSigned) ? text.at(int(isSigned)) : QChar();
    // Nobody means nan or inf as a setpoint.
    if (!(first.isDigit() || first == QLatin1Char('.')) || text.size() > 400)
        return false;
    bool isNumber = false;
    *value = text.toDouble(&isNumber);
    return isNumber && std::isfinite(*value);
}

bool encodeOne(const Tag &tag, const QString &text, quint32 *bits, QString *error)
{
    double value = 0;
    const bool isNumber = readNumber(text, &value);
    if (tag.format == Format::Bit) {
        *bits = value == 1 ? 1 : 0;
        *error = QStringLiteral("%1: expected 0 or 1").arg(shown(text));
        return isNumber && (value == 0 || value == 1);
    }
    if (!isNumber) {
        *error = QStringLiteral("%1: expected a number, %2").arg(shown(text), rangeText(tag));
        return false;
    }
    const Range range = rangeOf(tag.format);
    const double raw = value == 0 ? value : value / tag.scale; // 0 by a negative scale would be -0.
    if (tag.format == Format::Float32) {
        const float nearest = nearestFloat(raw);
        *bits = toBits(nearest);
        if (std::isfinite(nearest))
            return true;
    } else {
        const double whole = std::round(raw);
        if (whole >= range.from && whole <= range.to) {
            *bits = quint32(qint64(whole));
            return true;
        }
    }
    *error = QStringLiteral("%1: expected %2").arg(shown(text), rangeText(tag));
    return false;
}

/// Values of "1,0,1", and of "[1 0 1]" as they are shown.
QStringList valueTexts(const QString &text)
{
    const QLatin1Char blank(' ');
    QString list = text.trimmed();
    if (list.startsWith(QLatin1Char('[')) && list.endsWith(QLatin1Char(']')))
        return list.mid(1, list.size() - 2).replace(QLatin1Char(','), blank).simplified().split(blank);
    QStringList texts = list.split(QLatin1Char(','));
    for (QString &one : texts)
        one = one.trimmed();
    return texts;
}

} // namespace

bool encode(const Tag &tag, const QString &text, QByteArray *bytes, QString *error)
{
    const QStringList texts = valueTexts(text);
    if (texts.size() != tag.count) {
        *error =
            QStringLiteral("%1: expected %2")
                .arg(shown(text), tag.count == 1 ? QStringLiteral("one value")
                                                 : QStringLiteral("%1 values, separated by commas").arg(tag.count));
        return false;
    }
    const int size = bytesPerValue(tag);
    const QVector<int> places = hostPlaces(tag);
    QByteArray result(hostBytes(tag), '\0');
    for (int i = 0; i < texts.size(); ++i) {
        quint32 bits = 0;
        if (!encodeOne(tag, texts.at(i), &bits, error))
            return false;
        for (int k = 0; k < places.size(); ++k)
            result[i * size + places.at(k)] = char(bits >> 8 * (places.size() - 1 - k));
    }
    *bytes = result;
    return true;
}

QString roundingNote(const Tag &tag, const QString &text, const QByteArray &bytes)
{
    const QStringList texts = valueTexts(text);
    const QVector<double> raws = decode(tag, bytes);
    if (texts.size() != raws.size())
        return QString();
    for (int i = 0; i < texts.size(); ++i) {
        double typed = 0;
        if (readNumber(texts.at(i), &typed) && typed != scaledText(tag, raws.at(i)).toDouble())
            return QLatin1String("rounded to ") + valueText(tag, bytes);
    }
    return QString();
}
