#include "tag_list.h"

#include "sim/areas.h"

namespace {

struct Row {
    const char *name;
    const char *use;
    int type;
    const char *address;
    int count;
    const char *format;
};

// Every code, on both sides of every jump of the numbers.
const Row Rows[] = {
    {"bits0", "polled", 0, "0", 480, "bit"},
    {"bits1", "polled", 1, "100", 960, "bit"},
    {"bits2", "polled", 2, "1568", 960, "bit"},
    {"bits3", "polled", 3, "0", 512, "bit"},
    {"bits4", "polled", 4, "800", 448, "bit"},
    {"bits5", "polled", 5, "128", 256, "bit"},
    {"bits6", "polled", 6, "200", 112, "bit"},
    {"words7", "polled", 7, "1000", 540, "uint16"},
    {"words8", "polled", 8, "136", 240, "uint16"},
    {"words9", "polled", 9, "196", 180, "uint16"},
    {"words10", "polled", 10, "20", 120, "uint16"},
    {"words11", "polled", 11, "100", 120, "uint16"},
    {"pairs12", "polled", 12, "2000", 60, "uint32"},
    {"pairs13", "polled", 13, "226", 60, "uint32"},
    {"pairs14", "polled", 14, "300", 60, "uint32"},
    {"bits15", "polled", 15, "3000.3", 5, "bit"},
    {"bits16", "polled", 16, "150.0", 16, "bit"},
    {"bits17", "polled", 17, "300.15", 1, "bit"},
    {"words100", "polled", 100, "20000", 480, "uint16"},
    {"pairs101", "polled", 101, "3000", 30, "uint32"},
    {"bits102", "polled", 102, "100.8", 8, "bit"},
    {"live", "live", 12, "90", 1, "uint32"},
    {"set1", "written", 1, "1000", 1, "bit"},
    {"set2", "written", 2, "1000", 24, "bit"},
    {"far2", "written", 2, "3000", 1, "bit"},
    {"set3", "written", 3, "254", 4, "bit"},
    {"set4", "written", 4, "1022", 4, "bit"},
    {"set5", "written", 5, "20", 1, "bit"},
    {"set6", "written", 6, "20", 1, "bit"},
    {"set7", "written", 7, "100", 1, "uint16"},
    {"row7", "written", 7, "110", 12, "uint16"},
    {"row8", "written", 8, "250", 10, "uint16"},
    {"row9", "written", 9, "250", 10, "uint16"},
    {"row10", "written", 10, "100", 4, "uint16"},
    {"set11", "written", 11, "10", 1, "uint16"},
    {"row100", "written", 100, "10", 60, "uint16"},
    {"set12", "written", 12, "200", 2, "uint32"},
    {"set13", "written", 13, "202", 2, "uint32"},
    {"far13", "written", 13, "700", 3, "uint32"},
    {"set14", "written", 14, "20", 1, "uint32"},
    {"set101", "written", 101, "500", 1, "uint32"},
    {"bit15", "written", 15, "300.3", 1, "bit"},
    {"row15", "written", 15, "310.4", 8, "bit"},
    {"bit16", "written", 16, "60.0", 2, "bit"},
    {"bit17", "written", 17, "50.15", 1, "bit"},
    {"bit102", "written", 102, "700.7", 3, "bit"},
    {"recipe", "written", 2, "10000", RecipeBits, "bit"},
    {"locked", "stuck", 7, "150", 1, "uint16"},
    {"blind", "writeonly", 7, "160", 2, "uint16"},
};

QByteArray rowText(const Row &row, int station)
{
    const QByteArray use = row.use;
    const char *const access = use == "polled" || use == "live" ? "r" : use == "writeonly" ? "w" : "rw";
    return use + '-' + row.name + '-' + QByteArray::number(station) + ',' + QByteArray::number(row.type) + ','
           + row.address + ',' + QByteArray::number(station) + ',' + QByteArray::number(row.count) + ',' + row.format
           + ",,,," + access + '\n';
}

void appendRegister(QVector<Unit> *units, int station, int number, int bit = -1)
{
    units->append({station, false, number, bit});
}

/// Two registers, the high word first; their bytes are shown the low one first.
void appendPair(QVector<Unit> *units, int station, int number)
{
    appendRegister(units, station, number + 1);
    appendRegister(units, station, number);
}

} // namespace

QByteArray tagRows(int stations)
{
    QByteArray rows;
    for (int station = 1; station <= stations; ++station)
        for (const Row &row : Rows)
            rows += rowText(row, station);
    if (stations > 1)
        rows += "writeonly-all,7,170,0,2,uint16,,,,w\n";
    return rows;
}

TagUse useOf(const Tag &tag)
{
    const QString use = tag.name.section(QLatin1Char('-'), 0, 0);
    return use == QLatin1String("polled")    ? TagUse::Polled
           : use == QLatin1String("live")    ? TagUse::Live
           : use == QLatin1String("written") ? TagUse::Written
           : use == QLatin1String("stuck")   ? TagUse::Stuck
                                             : TagUse::WriteOnly;
}

QVector<Unit> unitsOf(const Tag &tag, int station)
{
    QVector<Unit> units;
    for (int value = 0; value < tag.count; ++value) {
        const int type = tag.type;
        if (type < 7)
            units.append({station, true, modbusNumber(type, tag.element + value), -1});
        else if (type == 12 || type == 14 || type == 101)
            appendPair(&units, station, modbusNumber(type, tag.element + 2 * value));
        else if (type == 13)
            appendPair(&units, station, modbusNumber(type, tag.element + value));
        else if ((type >= 15 && type <= 17) || type == 102)
            appendRegister(&units, station, modbusNumber(type, tag.element + value), (tag.element + value) % 16);
        else
            appendRegister(&units, station, modbusNumber(type, tag.element + value));
    }
    return units;
}
