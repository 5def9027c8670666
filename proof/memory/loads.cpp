/// Loads the driver, works with it and unloads it. Exit code 0 only if each load began afresh, left nothing mapped and,
/// where it was asked for, the memory held.
///     memory_loads LIBRARY cycles N     one load for each way, N cycles in all
///     memory_loads LIBRARY loads N      N loads of some cycles each
///     memory_loads LIBRARY resident N   the same, and resident memory must not grow after the first tenth
#include "proof/memory/host_work.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <link.h>

namespace {

enum { Ways = 4, CyclesALoad = 40, GrowthLimit = 64 }; // kB

/// Summed up page by page: the kernel's quick counters in /proc/self/status may be off by more than the limit.
long residentKiloBytes()
{
    std::FILE *const file = std::fopen("/proc/self/smaps_rollup", "r");
    char line[256];
    long size = -1;
    while (file != nullptr && size < 0 && std::fgets(line, sizeof line, file) != nullptr)
        std::sscanf(line, "Rss: %ld", &size);
    if (file != nullptr)
        std::fclose(file);
    return size;
}

bool isInMaps(const char *name)
{
    std::FILE *const file = std::fopen("/proc/self/maps", "r");
    char line[4096];
    bool found = file == nullptr;
    while (file != nullptr && !found && std::fgets(line, sizeof line, file) != nullptr)
        found = std::strstr(line, name) != nullptr;
    if (file != nullptr)
        std::fclose(file);
    return found;
}

int compareName(dl_phdr_info *object, size_t, void *name)
{
    return std::strstr(object->dlpi_name, static_cast<const char *>(name)) != nullptr;
}

bool isLoaded(const char *name)
{
    return dl_iterate_phdr(compareName, const_cast<char *>(name)) != 0;
}

/// False when the load found something wrong, after saying it.
bool loadOnce(const QString &library, const char *name, int number, int cycles)
{
    {
        HostWork work;
        const QString wrong = work.begin(library, wayOf(number));
        if (!wrong.isEmpty()) {
            std::printf("  load %d: %s\n", number, qPrintable(wrong));
            return false;
        }
        if (!isLoaded(name)) {
            std::printf("  load %d: %s is not among the loaded objects, so that nobody could see it stay\n", number,
                        name);
            return false;
        }
        if (!work.run(cycles)) {
            std::printf("  load %d: the driver stopped asking\n", number);
            return false;
        }
    }
    if (!isLoaded(name))
        return true;
    std::printf("  load %d: the library stays loaded\n", number);
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: memory_loads LIBRARY cycles|loads|resident N\n");
        return 2;
    }
    const QString library = QString::fromLocal8Bit(argv[1]);
    const char *const slash = std::strrchr(argv[1], '/');
    const char *const name = slash != nullptr ? slash + 1 : argv[1];
    const bool onlyCycles = std::strcmp(argv[2], "cycles") == 0;
    const bool resident = std::strcmp(argv[2], "resident") == 0;
    const int number = std::atoi(argv[3]);
    const int loads = onlyCycles ? int(Ways) : number;
    const int cycles = onlyCycles ? number / Ways : int(CyclesALoad);

    long warm = residentKiloBytes(); // once before it counts: it has code of its own to bring in
    for (int i = 0; i < loads; ++i) {
        if (i == loads / 10)
            warm = residentKiloBytes();
        if (!loadOnce(library, name, i, cycles))
            return 1;
    }
    if (isInMaps(name)) {
        std::printf("  parts of the library are still mapped\n");
        return 1;
    }
    const long grown = residentKiloBytes() - warm;
    std::printf("  %d loads of %d cycles", loads, cycles);
    if (resident)
        std::printf(", resident %ld kB after %d of them, then %+ld kB", warm, loads / 10, grown);
    std::printf("\n");
    return resident && (warm <= 0 || grown >= GrowthLimit) ? 1 : 0;
}
