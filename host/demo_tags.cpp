#include "host/demo_tags.h"

#include <algorithm>

namespace {

/// The sine wave goes below zero.
const char *const SignedLive = "sine";

bool isWide(TagKind kind)
{
    return kind == TagKind::Pair || kind == TagKind::Special;
}

bool isBit(TagKind kind)
{
    return kind == TagKind::Bit || kind == TagKind::BitInWord;
}

int bytesOfValue(TagKind kind)
{
    return isBit(kind) ? 1 : isWide(kind) ? 4 : 2;
}

} // namespace

// The Modbus numbers are written out, not computed: they check the driver's address map.
const QVector<DemoTag> &demoTags()
{
    static const QVector<DemoTag> tags{
        {"key-switch", TagKind::Bit, 0, "17", 1, {{1215, 1}}, 0, nullptr},
        {"door-contacts", TagKind::Bit, 0, "20", 4, {{1216, 4}}, 0, nullptr},
        {"lamp", TagKind::Bit, 1, "7", 1, {{7, 1}}, 0, nullptr},
        {"heartbeat", TagKind::Bit, 1, "10", 1, {{8, 1}}, 0, "toggle"},
        {"valve-row", TagKind::Bit, 2, "2044", 8, {{4044, 4}, {12000, 4}}, 0, nullptr},
        {"pump-enable", TagKind::Bit, 3, "250", 2, {{4650, 2}}, 0, nullptr},
        {"interlocks", TagKind::Bit, 4, "1023", 2, {{7023, 1}, {31000, 1}}, 0, nullptr},
        {"timer-done", TagKind::Bit, 5, "12", 3, {{8012, 3}}, 0, nullptr},
        {"count-reached", TagKind::Bit, 6, "300", 1, {{10044, 1}}, 0, nullptr},
        {"tick-count", TagKind::Word, 7, "100", 1, {{100, 1}}, 0, "counter"},
        {"fill-level", TagKind::Word, 7, "101", 1, {{101, 1}}, 0, "ramp"},
        {"vibration", TagKind::Word, 7, "102", 1, {{102, 1}}, 0, "sine"},
        {"uptime-ms", TagKind::Pair, 12, "104", 2, {{104, 2}}, 0, "counter32"},
        {"recipe", TagKind::Word, 7, "110", 3, {{110, 3}}, 0, nullptr},
        {"batch-total", TagKind::Pair, 12, "120", 2, {{120, 2}}, 0, nullptr},
        {"alarm-word", TagKind::Word, 7, "130", 1, {{130, 1}}, 0, nullptr},
        {"alarm-bit-5", TagKind::BitInWord, 15, "130.5", 1, {{130, 1}}, 5, nullptr},
        {"mode-bit-0", TagKind::BitInWord, 16, "20.0", 1, {{8020, 1}}, 0, nullptr},
        {"dwell-times", TagKind::Word, 8, "254", 4, {{8254, 2}, {12000, 2}}, 0, nullptr},
        {"pulse-length", TagKind::Pair, 14, "270", 2, {{12014, 2}}, 0, nullptr},
        {"set-point", TagKind::Word, 9, "10", 1, {{9010, 1}}, 0, nullptr},
        {"speed-limit", TagKind::Word, 10, "5", 2, {{9505, 2}}, 0, nullptr},
        {"status-word", TagKind::Word, 11, "20", 1, {{8520, 1}}, 0, nullptr},
        {"status-bit-15", TagKind::BitInWord, 17, "20.15", 1, {{8520, 1}}, 15, nullptr},
        {"parts-low", TagKind::Special, 13, "255", 2, {{9810, 2}}, 0, nullptr},
        {"parts-high", TagKind::Special, 13, "256", 2, {{10000, 2}}, 0, nullptr},
        {"drive-command", TagKind::Word, 100, "7", 1, {{13007, 1}}, 0, nullptr},
        {"drive-ready", TagKind::BitInWord, 102, "8.3", 1, {{13008, 1}}, 3, nullptr},
        {"drive-position", TagKind::Pair, 101, "20", 2, {{13020, 2}}, 0, nullptr},
    };
    return tags;
}

const DemoTag &demoTag(const char *name)
{
    const QVector<DemoTag> &tags = demoTags();
    const auto found = std::find_if(tags.begin(), tags.end(), [name](const DemoTag &tag) {
        return QLatin1String(tag.name) == QLatin1String(name);
    });
    Q_ASSERT(found != tags.end());
    return *found;
}

QString kindText(TagKind kind)
{
    switch (kind) {
    case TagKind::Bit:
        return QStringLiteral("bit");
    case TagKind::Word:
        return QStringLiteral("word");
    case TagKind::Pair:
        return QStringLiteral("32-bit");
    case TagKind::Special:
        return QStringLiteral("special 32-bit");
    case TagKind::BitInWord:
        return QStringLiteral("bit in word");
    }
    return QString();
}

QString cellText(const DemoTag &tag)
{
    QStringList runs;
    for (const CellRun &run : tag.cells)
        runs << (run.count == 1 ? QString::number(run.first)
                                : QString::fromLatin1("%1-%2").arg(run.first).arg(run.first + run.count - 1));
    return runs.join(QLatin1String(", "));
}

QString valueText(const DemoTag &tag, const QVector<quint32> &values)
{
    const bool isSigned = tag.live && QLatin1String(tag.live) == QLatin1String(SignedLive);
    QStringList texts;
    for (const quint32 value : values)
        texts << (isSigned ? QString::number(qint16(value)) : QString::number(value));
    return texts.join(isBit(tag.kind) ? QString() : QStringLiteral(" "));
}

QVector<quint32> valuesOfHostBytes(const DemoTag &tag, const QByteArray &bytes)
{
    const int width = bytesOfValue(tag.kind);
    QVector<quint32> values;
    for (int first = 0; first + width <= bytes.size(); first += width) {
        quint32 value = 0;
        for (int i = width - 1; i >= 0; --i)
            value = value << 8 | quint8(bytes.at(first + i));
        values << value;
    }
    return values;
}

QByteArray hostBytesOfValues(const DemoTag &tag, const QVector<quint32> &values)
{
    QByteArray bytes;
    for (const quint32 value : values)
        for (int i = 0; i < bytesOfValue(tag.kind); ++i)
            bytes.append(char(value >> 8 * i));
    return bytes;
}

QVector<quint32> valuesOfCells(const DemoTag &tag, const QVector<int> &cells)
{
    QVector<quint32> values;
    if (isWide(tag.kind)) {
        for (int i = 0; i + 1 < cells.size(); i += 2)
            values << (quint32(cells.at(i)) << 16 | quint32(cells.at(i + 1)));
    } else {
        for (const int cell : cells)
            values << (tag.kind == TagKind::BitInWord ? quint32(cell) >> tag.bit & 1 : quint32(cell));
    }
    return values;
}

QVector<int> cellsInPlc(Simulator &simulator, int station, const DemoTag &tag)
{
    QVector<int> cells;
    for (const CellRun &run : tag.cells)
        cells += tag.kind == TagKind::Bit ? simulator.coils(station, run.first, run.count)
                                          : simulator.registers(station, run.first, run.count);
    return cells;
}

QStringList liveOptions()
{
    QStringList options;
    for (const DemoTag &tag : demoTags())
        if (tag.live)
            options << QStringLiteral("--live")
                    << QString::fromLatin1("%1@%2").arg(QLatin1String(tag.live)).arg(tag.cells.first().first);
    return options;
}
