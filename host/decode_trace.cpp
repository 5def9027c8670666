// decodeTrace
#include "host/decode.h"

#include "host/device_types.h"
#include "host/trace_fields.h"

namespace {

enum { DataShown = 32 };

QString numbered(const char *text, int number)
{
    return QString::fromLatin1(text).arg(number);
}

QString variableText(int devType, const QString &address, int station, int count)
{
    return QString::fromLatin1("code %1 at %2 of station %3, count %4")
        .arg(QString::number(devType), address, QString::number(station), QString::number(count));
}

QString nameText(const QString &name)
{
    return name.isEmpty() ? QString() : QString::fromLatin1(" (%1)").arg(name);
}

QString queueText(int length)
{
    return length == 0 ? QStringLiteral("not taken") : numbered("%1 queued", length);
}

QString hexText(const QByteArray &bytes)
{
    const QString text = QString::fromLatin1(bytes.left(DataShown).toHex(' ').toUpper());
    return bytes.size() > DataShown ? text + QString::fromLatin1(" ... (%1 bytes)").arg(bytes.size()) : text;
}

/// Says each line in words; a line that has not the fields it should have gives nothing.
class TraceDecoder {
public:
    explicit TraceDecoder(CrcFunction crc) : crc(crc) {}

    QString words(const TraceLine &line)
    {
        TraceFields fields(line);
        const QString text = wordsOf(line, fields);
        const QString problem = fields.problem();
        return problem.isEmpty() ? text : QString::fromLatin1("? %1: expected %2").arg(plain(line), problem);
    }

private:
    static QString plain(const TraceLine &line)
    {
        QByteArray text = line.word;
        for (const QByteArray &field : line.fields)
            text += ' ' + field;
        return QString::fromLatin1(text);
    }

    /// A line as it stands, for what needs no other words.
    static QString asItStands(const TraceLine &line, TraceFields &fields)
    {
        for (int i = 0; i < line.fields.size(); ++i)
            fields.text("a text");
        return plain(line);
    }

    QString wordsOf(const TraceLine &line, TraceFields &fields)
    {
        const QByteArray &word = line.word;
        if (word == "tx")
            return request(fields);
        if (word == "rx")
            return reply(fields);
        if (word == "result")
            return QLatin1String("  driver: ") + resultText(fields.number("a result code"), isSilent);
        if (word == "done")
            return done(fields);
        if (word == "fail")
            return fail(fields);
        if (word == "describe")
            return describe(fields);
        if (word == "variable")
            return variable(fields);
        if (word == "write")
            return write(fields);
        if (word == "read-once")
            return readOnce(fields);
        if (word == "station")
            return station(fields);
        if (word == "idle")
            return QString::fromLatin1("nothing to send, %1 times").arg(fields.number("a count"));
        if (word == "image")
            return image(line, fields);
        if (word == "end")
            return QStringLiteral("end of the session");
        if (word == "drop")
            return drop(fields);
        return asItStands(line, fields);
    }

    QString request(TraceFields &fields)
    {
        const QByteArray frame = fields.bytes("a frame");
        const int replyLength = fields.number("the length of its reply");
        const QVector<QByteArray> lists = {"cyclic", "write", "once"};
        const QString list = QString::fromLatin1(lists.at(fields.choice(lists)));
        lastRequest = frame;
        const QString noReply = replyLength == 0 ? QStringLiteral("; no reply expected") : QString();
        return QString::fromLatin1("> %1: ").arg(list) + decodeShort(frame, FrameDirection::Request, crc) + noReply;
    }

    QString reply(TraceFields &fields)
    {
        const QByteArray frame = fields.bytes("a reply");
        isSilent = frame.isEmpty();
        if (frame.isEmpty())
            return QStringLiteral("< nothing");
        return QLatin1String("< ") + decodeShort(frame, FrameDirection::Reply, crc, lastRequest);
    }

    static QString done(TraceFields &fields)
    {
        const int channel = fields.number("a channel");
        const int connection = fields.number("a connection");
        const int variable = fields.number("a variable");
        const int status = fields.number("a status");
        const QString outcome = status == 1   ? QStringLiteral("answered")
                                : status == 2 ? QStringLiteral("failed")
                                              : numbered("status %1", status);
        return QString::fromLatin1("  driver: variable %1 of connection %2 %3 (channel %4)")
            .arg(variable)
            .arg(connection)
            .arg(outcome)
            .arg(channel);
    }

    static QString fail(TraceFields &fields)
    {
        const int connection = fields.number("a connection");
        const int flag = fields.number("a flag");
        return QString::fromLatin1("  driver: communication of connection %1 failed (flag %2)")
            .arg(connection)
            .arg(flag);
    }

    static QString describe(TraceFields &fields)
    {
        const int count = fields.number("a count");
        fields.literal("=");
        return QString::fromLatin1("poll %1 variables in %2 blocks").arg(count).arg(fields.number("blocks"));
    }

    static QString variable(TraceFields &fields)
    {
        const int devType = fields.number("a code");
        const int station = fields.number("a station");
        const int count = fields.number("a count");
        const QString address = fields.text("an address");
        return QLatin1String("  ") + variableText(devType, address, station, count) + nameText(fields.text("a name"));
    }

    static QString write(TraceFields &fields)
    {
        const int devType = fields.number("a code");
        const int station = fields.number("a station");
        const int count = fields.number("a count");
        const QString address = fields.text("an address");
        const QString values = hexText(fields.bytes("values"));
        const int connection = fields.number("a connection");
        const int variable = fields.number("a variable");
        const QString name = nameText(fields.text("a name"));
        fields.literal("=");
        return QString::fromLatin1("write %1: %2, variable %3 of connection %4%5: %6")
            .arg(variableText(devType, address, station, count), values, QString::number(variable),
                 QString::number(connection), name, queueText(fields.number("a length")));
    }

    static QString readOnce(TraceFields &fields)
    {
        const int devType = fields.number("a code");
        const int station = fields.number("a station");
        const int count = fields.number("a count");
        const QString address = fields.text("an address");
        const int connection = fields.number("a connection");
        const int variable = fields.number("a variable");
        fields.literal("=");
        return QString::fromLatin1("read once %1, variable %2 of connection %3: %4")
            .arg(variableText(devType, address, station, count), QString::number(variable), QString::number(connection),
                 queueText(fields.number("a length")));
    }

    static QString station(TraceFields &fields)
    {
        const int station = fields.number("a station");
        const bool on = fields.choice({"on", "off"}) == 0;
        return numbered(on ? "station %1 switched on" : "station %1 switched off", station);
    }

    static QString image(const TraceLine &line, TraceFields &fields)
    {
        const bool isKeyed = line.fields.size() == 4;
        const QString station = isKeyed ? numbered(" of station %1", fields.number("a station")) : QString();
        const int code = fields.number("a code");
        const int element = fields.number("an element");
        const DeviceType *const type = findDeviceType(code);
        const QString address =
            type != nullptr && element >= 0 ? addressText(*type, element) : numbered("element %1", element);
        return QString::fromLatin1("image%1: code %2 at %3: %4")
            .arg(station, QString::number(code), address, hexText(fields.bytes("values")));
    }

    static QString drop(TraceFields &fields)
    {
        const QString reason = fields.text("a reason");
        return QString::fromLatin1("dropped (%1): %2").arg(reason, hexText(fields.bytes("bytes")));
    }

    const CrcFunction crc;
    QByteArray lastRequest;
    bool isSilent = false; ///< The last request got no reply.
};

} // namespace

QStringList decodeTrace(const QVector<TraceLine> &lines, CrcFunction crc)
{
    TraceDecoder decoder(crc);
    QStringList result;
    for (const TraceLine &line : lines)
        result << QString::number(double(line.moment) / 1e6, 'f', 6) + QLatin1Char(' ') + decoder.words(line);
    return result;
}
