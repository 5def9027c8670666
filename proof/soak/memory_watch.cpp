#include "memory_watch.h"

#include "heap_count.h"

#include <cstdio>
#include <unistd.h>

namespace {

qint64 residentBytes()
{
    long pages = 0, resident = 0;
    std::FILE *const file = std::fopen("/proc/self/statm", "r");
    if (!file || std::fscanf(file, "%ld %ld", &pages, &resident) != 2)
        qFatal("/proc/self/statm: expected the size of this process");
    std::fclose(file);
    return qint64(resident) * sysconf(_SC_PAGESIZE);
}

} // namespace

void MemoryWatch::sample(bool isWarm)
{
    lastResident = residentBytes();
    lastBlocks = liveHeapBlocks();
    if (!isWarm) {
        warmResident = qMax(warmResident, lastResident);
        warmBlocks = qMax(warmBlocks, lastBlocks);
        return;
    }
    ++samples;
    mostResident = qMax(mostResident, lastResident);
    mostBlocks = qMax(mostBlocks, lastBlocks);
    findings.look(Findings::Memory, lastResident - warmResident <= MostResident,
                  [&] { return QStringLiteral("%1 bytes more resident").arg(lastResident - warmResident); });
    findings.look(Findings::Memory, lastBlocks - warmBlocks <= MostBlocks,
                  [&] { return QStringLiteral("%1 blocks more on the heap").arg(lastBlocks - warmBlocks); });
}

QString MemoryWatch::report() const
{
    return QStringLiteral(
               "resident at most %1 kB in the warm-up, then %2 kB; heap at most %3 blocks, then %4; %5 samples")
        .arg(warmResident / 1024)
        .arg(mostResident / 1024)
        .arg(warmBlocks)
        .arg(mostBlocks)
        .arg(samples);
}
