/// Masters over a serial device. Each returns only when something went wrong, after saying what.
#pragma once

enum { PtyBlocks = 10 }; ///< Blocks that a master reads in turn, one behind the other.

/// Sends a request prepared before and waits for the reply's bytes: what the terminal and the system alone cost.
int masterRaw(const char *device, int registers);
/// The driver with the shortest host around it: write, poll, read.
int masterDriver(const char *device, int registers);
int masterLibmodbus(const char *device, int registers);
int masterSerialBus(int argc, char **argv, const char *device, int registers);
/// Reads over a line of 115200 baud what ecpanel does there, and looks at nothing but the number of bytes. Counts its
/// answers in the file.
int masterPaced(const char *device, const char *counterFile);

/// In raw mode; -1 when it cannot be opened.
int openRaw(const char *device);
