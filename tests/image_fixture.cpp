#include "tests/image_fixture.h"

#include <cstring>

namespace {

template <class Element>
void noteArea(QStringList &found, const char *name, const Element (&area)[AreaElements])
{
    // Each element equals the next: most areas are all 0, and to look at every element of those takes long.
    if (area[0] == 0 && std::memcmp(area, area + 1, sizeof area - sizeof *area) == 0)
        return;
    for (int i = 0; i < AreaElements; ++i) {
        if (area[i] != 0)
            found << QString::fromLatin1("%1[%2]=%3")
                         .arg(QLatin1String(name))
                         .arg(i)
                         .arg(uint(area[i]), int(2 * sizeof(Element)), 16, QLatin1Char('0'));
    }
}

} // namespace

QString image()
{
    QStringList found;
    noteArea(found, "bit0", PLC_driver.bitImage0);
    noteArea(found, "bit1", PLC_driver.bitImage1);
    noteArea(found, "bit2", PLC_driver.bitImage2);
    noteArea(found, "bit3", PLC_driver.bitImage3);
    noteArea(found, "bit4", PLC_driver.bitImage4);
    noteArea(found, "bit5", PLC_driver.bitImage5);
    noteArea(found, "bit6", PLC_driver.bitImage6);
    noteArea(found, "word7", PLC_driver.wordImage7);
    noteArea(found, "word8", PLC_driver.wordImage8);
    noteArea(found, "word11", PLC_driver.wordImage11);
    noteArea(found, "word9", PLC_driver.wordImage9);
    noteArea(found, "word10", PLC_driver.wordImage10);
    noteArea(found, "dword13", PLC_driver.dwordImage13);
    noteArea(found, "word100", PLC_driver.wordImage100);
    return found.join(QLatin1Char(' '));
}

QString store()
{
    QStringList records;
    for (const EXTENDVAR &var : PLC_driver.extendVarList)
        records << QString::fromLatin1("%1/%2/%3=%4")
                       .arg(var.station)
                       .arg(var.devType)
                       .arg(var.address)
                       .arg(toHex(var.data));
    return records.join(QStringLiteral(", "));
}

EXTENDVAR record(int station, int devType, int address, const char *data)
{
    EXTENDVAR made;
    made.station = station;
    made.devType = devType;
    made.address = address;
    made.data = hex(data);
    return made;
}
