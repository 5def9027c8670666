#include "host/commands/demo_tags.h"

namespace {

const char *const Header = "name,type,address,station,count,format,order,scale,unit,rw\n";

bool isBitInWord(const Tag &tag)
{
    return findDeviceType(tag.type)->kind == ElementKind::BitInWord;
}

/// Two registers a value whatever the format: the high word is in the lower one.
bool isWide(const Tag &tag)
{
    const ElementKind kind = findDeviceType(tag.type)->kind;
    return kind == ElementKind::Pair || kind == ElementKind::Special;
}

} // namespace

QString DemoTag::name() const
{
    return QString::fromLatin1(row).section(QLatin1Char(','), 0, 0);
}

// The Modbus numbers are written out, not computed: they check the driver's address map.
const QVector<DemoTag> &demoTags()
{
    static const QVector<DemoTag> tags{
        {"key-switch,0,17,1,,,,,,r", {{1215, 1}}},
        {"door-contacts,0,20,1,4,,,,,r", {{1216, 4}}},
        {"lamp,1,7,1,,,,,,", {{7, 1}}},
        {"heartbeat,1,10,1,,,,,,r", {{8, 1}}, 0, "toggle"},
        {"valve-row,2,2044,1,8,,,,,", {{4044, 4}, {12000, 4}}},
        {"pump-enable,3,250,1,2,,,,,", {{4650, 2}}},
        {"interlocks,4,1023,1,2,,,,,r", {{7023, 1}, {31000, 1}}},
        {"timer-done,5,12,1,3,,,,,r", {{8012, 3}}},
        {"count-reached,6,300,1,,,,,,r", {{10044, 1}}},
        {"tick-count,7,100,1,,,,,,r", {{100, 1}}, 0, "counter"},
        {"fill-level,7,101,1,,uint16,,0.1,%,r", {{101, 1}}, 0, "ramp"},
        {"vibration,7,102,1,,int16,,0.01,mm/s,r", {{102, 1}}, 0, "sine"},
        {"uptime,12,104,1,,uint32,,0.001,s,r", {{104, 2}}, 0, "counter32"},
        {"recipe,7,110,1,3,,,,,", {{110, 3}}},
        {"batch-total,12,120,1,,uint32,,,pcs,", {{120, 2}}},
        {"alarm-word,7,130,1,,,,,,r", {{130, 1}}},
        {"alarm-bit-5,15,130.5,1,,,,,,r", {{130, 1}}, 5},
        {"drive-torque,7,140,1,,float32,ABCD,,Nm,", {{140, 2}}},
        {"mode-bit-0,16,20.0,1,,,,,,", {{8020, 1}}, 0},
        {"dwell-times,8,254,1,4,,,,ms,", {{8254, 2}, {12000, 2}}},
        {"pulse-length,14,270,1,,uint32,,,us,", {{12014, 2}}},
        {"set-point,9,10,1,,int16,,0.1,bar,", {{9010, 1}}},
        {"speed-limit,10,5,1,2,,,,rpm,r", {{9505, 2}}},
        {"speed-limit-of-all,10,5,0,2,,,,rpm,w", {{9505, 2}}},
        {"locked-mode,10,20,1,,,,,,", {{LockedRegister, 1}}},
        {"status-word,11,20,1,,,,,,", {{8520, 1}}},
        {"status-bit-15,17,20.15,1,,,,,,", {{8520, 1}}, 15},
        {"parts-low,13,255,1,,uint32,,,,", {{9810, 2}}},
        {"parts-high,13,256,1,,uint32,,,,", {{10000, 2}}},
        {"drive-command,100,7,1,,,,,,", {{13007, 1}}},
        {"drive-ready,102,8.3,1,,,,,,r", {{13008, 1}}, 3},
        {"drive-position,101,20,1,,int32,,0.001,mm,", {{13020, 2}}},
        {"tank-level,7,101,2,,uint16,,0.1,%,r", {{101, 1}}, 0, "ramp"},
        {"tank-valve,1,7,2,,,,,,", {{7, 1}}},
    };
    return tags;
}

QList<Tag> parseDemoTags(const PanelSettings &settings, QStringList *problems)
{
    QByteArray text(Header);
    for (const DemoTag &tag : demoTags())
        text += QByteArray(tag.row) + '\n';
    return parseTags(text, QStringLiteral("the demo's tags"), settings, problems).tags;
}

int demoIndex(const char *name)
{
    const QVector<DemoTag> &tags = demoTags();
    for (int i = 0; i < tags.size(); ++i)
        if (tags.at(i).name() == QLatin1String(name))
            return i;
    Q_UNREACHABLE();
    return -1;
}

bool isBitTag(const Tag &tag)
{
    return findDeviceType(tag.type)->kind == ElementKind::Bit;
}

QVector<int> cellsInPlc(Simulator &simulator, int station, const Tag &tag, const DemoTag &place)
{
    QVector<int> cells;
    for (const CellRun &run : place.cells)
        cells += isBitTag(tag) ? simulator.coils(station, run.first, run.count)
                               : simulator.registers(station, run.first, run.count);
    return cells;
}

QByteArray hostBytesOf(const Tag &tag, const DemoTag &place, const QVector<int> &cells)
{
    QByteArray bytes;
    const auto appendWord = [&bytes](int word) { bytes.append(char(word & 0xFF)).append(char(word >> 8)); };
    if (isWide(tag)) {
        for (int i = 0; i + 1 < cells.size(); i += 2) {
            appendWord(cells.at(i + 1));
            appendWord(cells.at(i));
        }
        return bytes;
    }
    for (const int cell : cells) {
        if (isBitTag(tag))
            bytes.append(char(cell));
        else if (isBitInWord(tag))
            bytes.append(char(cell >> place.bit & 1));
        else
            appendWord(cell);
    }
    return bytes;
}

QStringList liveOptions()
{
    QStringList options;
    for (const DemoTag &tag : demoTags()) {
        if (!tag.live)
            continue;
        const QString cell = QString::fromLatin1("%1@%2").arg(QLatin1String(tag.live)).arg(tag.cells.first().first);
        // A live cell is one in every station.
        if (!options.contains(cell))
            options << QStringLiteral("--live") << cell;
    }
    return options;
}
