#include "bench/workloads.h"

#include <cstdlib>
#include <iterator>

QList<VARDESC> describe(int count, bool inOrder)
{
    const unsigned char areas[] = {7, 8, 9, 100};
    const int each = (count + 3) / int(std::size(areas));
    QList<VARDESC> variables;
    variables.reserve(count);
    for (int i = 0; i < count; ++i) {
        // Prime, and longer than any list here: every place comes up once.
        const int place = inOrder ? i : int(qint64(i) * 7368787 % count);
        VARDESC variable;
        variable.devType = areas[place / each];
        variable.station = 1;
        variable.addrText = QString::number(place % each * 3);
        variable.nameText = QString::fromLatin1("variable %1").arg(place);
        variable.count = 1;
        variables << variable;
    }
    return variables;
}

Burst::Burst(int longest) : m_name(QString::fromLatin1("written")), m_value("\x12\x34")
{
    for (int i = 0; i < longest; ++i)
        m_addresses << QString::number(i);
}

void Burst::run(DriverRig &rig, int calls)
{
    int queued = 0;
    for (int i = 0; i < calls; ++i)
        queued = rig.driver().setRegisterData(m_name, 7, m_addresses.at(i), 1, &m_value, 1, 0, i);
    if (queued != calls)
        std::abort();
}

void Burst::drain(DriverRig &rig)
{
    rig.driver().driver->writeList.clear();
}
