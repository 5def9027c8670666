/// Masters over a serial device. Each returns only when something went wrong, after saying what.
#pragma once

enum { PtyBlocks = 10 }; ///< Blocks that a master reads in turn, one behind the other.

/// Sends a request prepared before and waits for the reply's bytes: what the terminal and the system alone cost.
int masterRaw(const char *device, int registers);
/// The driver with the shortest host around it: write, poll, read.
int masterDriver(const char *device, int registers);
int masterLibmodbus(const char *device, int registers);
int masterSerialBus(int argc, char **argv, const char *device, int registers);
