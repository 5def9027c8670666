/// A master that reads without end; whoever measures it ends it. Each but the last reads the same ten blocks in turn.
///     pty_master raw|driver|libmodbus|serialbus DEVICE REGISTERS
///     pty_master paced DEVICE COUNT_FILE
#include "bench/pty_masters.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char **argv)
{
    if (argc == 4) {
        const int registers = std::atoi(argv[3]);
        if (std::strcmp(argv[1], "raw") == 0)
            return masterRaw(argv[2], registers);
        if (std::strcmp(argv[1], "driver") == 0)
            return masterDriver(argv[2], registers);
        if (std::strcmp(argv[1], "libmodbus") == 0)
            return masterLibmodbus(argv[2], registers);
        if (std::strcmp(argv[1], "serialbus") == 0)
            return masterSerialBus(argc, argv, argv[2], registers);
        if (std::strcmp(argv[1], "paced") == 0)
            return masterPaced(argv[2], argv[3]);
    }
    std::fprintf(stderr, "usage: pty_master raw|driver|libmodbus|serialbus DEVICE REGISTERS\n"
                         "       pty_master paced DEVICE COUNT_FILE\n");
    return 2;
}
