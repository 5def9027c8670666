#include "host/tag_codec.h"

#include "host/tag_raw.h"

#include <QtCore/QJsonArray>

#include <cmath>
#include <cstring>

namespace {

double fromBits(Format format, quint32 bits)
{
    switch (format) {
    case Format::Bit:
        return bits == 0 ? 0 : 1;
    case Format::Int16:
        return qint16(bits);
    case Format::Uint16:
    case Format::Uint32:
        return bits;
    case Format::Int32:
        return qint32(bits);
    case Format::Float32: {
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return double(value);
    }
    }
    return 0;
}

} // namespace

int hostBytes(const Tag &tag)
{
    return tag.count * bytesPerValue(tag);
}

QVector<double> decode(const Tag &tag, const QByteArray &bytes)
{
    QVector<double> values;
    if (bytes.size() < hostBytes(tag))
        return values;
    const int size = bytesPerValue(tag);
    const QVector<int> places = hostPlaces(tag);
    for (int i = 0; i < tag.count; ++i) {
        quint32 bits = 0;
        for (int place : places)
            bits = bits << 8 | quint8(bytes.at(i * size + place));
        values << fromBits(tag.format, bits);
    }
    return values;
}

QString valueText(const Tag &tag, const QByteArray &bytes)
{
    QStringList texts;
    const QVector<double> values = decode(tag, bytes);
    for (double raw : values)
        texts << scaledText(tag, raw);
    const QString text = texts.join(QLatin1Char(' '));
    return tag.count > 1 && !texts.isEmpty() ? QLatin1Char('[') + text + QLatin1Char(']') : text;
}

QJsonValue valueJson(const Tag &tag, const QByteArray &bytes)
{
    QJsonArray array;
    const QVector<double> values = decode(tag, bytes);
    for (double raw : values) {
        const QString text = scaledText(tag, raw);
        // The number that a person sees, not one with the last digits of a product.
        array << (std::isfinite(raw * tag.scale) ? QJsonValue(text.toDouble()) : QJsonValue(text));
    }
    if (array.isEmpty())
        return QJsonValue();
    return tag.count > 1 ? QJsonValue(array) : array.first();
}
