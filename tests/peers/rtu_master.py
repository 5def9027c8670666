"""Reads coils and holding registers of a slave on an open serial line."""
import os
import select
import time

LIMIT = 10
TRIES = 3        # A request that a busy machine tears apart is none to a slave.
SILENCE = 0.003  # Longer than 3.5 characters at 19200 baud.
READ_COILS, READ_REGISTERS = 1, 3
MOST_COILS, MOST_REGISTERS = 2000, 125


def crc(data):
    value = 0xFFFF
    for byte in data:
        value ^= byte
        for _ in range(8):
            value = value >> 1 ^ 0xA001 if value & 1 else value >> 1
    return value.to_bytes(2, "little")


def read_cells(line, station, kind, first, count):
    """The values of a run of coils or registers, in as many requests as it takes."""
    most = MOST_COILS if kind == "coils" else MOST_REGISTERS
    values = []
    for at in range(first, first + count, most):
        values += _read(line, station, kind, at, min(most, first + count - at))
    return values


def _read(line, station, kind, first, count):
    function, size = (READ_COILS, (count + 7) // 8) if kind == "coils" else (READ_REGISTERS, count * 2)
    request = bytes([station, function]) + first.to_bytes(2, "big") + count.to_bytes(2, "big")
    for _ in range(TRIES):
        reply = _exchange(line, request + crc(request), size + 5)
        data = reply[3:-2]
        if reply[:3] == bytes([station, function, size]) and len(data) == size and crc(reply[:-2]) == reply[-2:]:
            break
    else:
        raise AssertionError("%s %d, %d of them, station %d: reply %s" % (kind, first, count, station, reply.hex()))
    if kind == "coils":
        return [data[k // 8] >> k % 8 & 1 for k in range(count)]
    return [int.from_bytes(data[2 * k:2 * k + 2], "big") for k in range(count)]


def _exchange(line, request, size):
    """As many bytes of the reply as came in time. The line is silent before."""
    while select.select([line], [], [], SILENCE)[0]:
        os.read(line, 4096)
    os.write(line, request)
    reply = b""
    deadline = time.monotonic() + LIMIT
    while len(reply) < size and time.monotonic() < deadline:
        if select.select([line], [], [], 0.1)[0]:
            reply += os.read(line, 4096)
    return reply
