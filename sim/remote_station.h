/// Requests of the remote format: where they end, and carrying them out. A request describes one variable; the reply
/// has the ordinary form. Multi-byte numbers are big-endian:
///
///   0     length of the frame, modulo 256     11-12  count
///   1     connection                          13-16  sub-index
///   2     0 = read, 1 = write                 17-20  a word of the host's
///   3     panel station                       21-..  writes only: the value as the host has it
///   4     station                             last   sum of all bytes before it, modulo 256
///   5-6   device type
///   7-10  address
///
/// The count is bytes (of 8 coils) for reads of bits, 32-bit values for type 13, registers for everything else.
/// Connection, panel station, sub-index and host word are not looked at.
#pragma once

#include "sim/plc_memory.h"

#include <QtCore/QByteArray>

/// The most value bytes of a read or write; the format itself has no limit.
enum { RemoteValueBytes = 4096, LongestRemoteRequest = 22 + RemoteValueBytes };

/// Length of the request at the start of the bytes; 0 = too few bytes to tell, -1 = no request whose fields fit
/// together.
int remoteRequestLength(const QByteArray &bytes);
/// True for a frame of the length that its first byte states, and that ends in its own sum.
bool remoteSumIsGood(const QByteArray &frame);

int remoteStationOf(const QByteArray &request);
/// A write whose value has not the length that its type and count ask for is one too.
bool isRemoteWrite(const QByteArray &request);
/// Carries out a whole request. Returns the reply without station and CRC.
QByteArray carryOutRemote(PlcMemory &memory, const QByteArray &request);
