#!/usr/bin/python3
"""A slave of several stations by pymodbus' serial server. Usage: pymodbus_server.py PORT STATION=FILE...

A file has a line a run of cells: "coils" or "registers", the first number, the values. What no line has does not exist
and is answered by an exception. Says "ready", and ends when standard input closes.
"""
import asyncio
import logging
import sys

from pymodbus.datastore import ModbusServerContext, ModbusSlaveContext, ModbusSparseDataBlock
from pymodbus.server.async_io import ModbusSerialServer
from pymodbus.transaction import ModbusRtuFramer


def station_of(file_name):
    cells = {"coils": {}, "registers": {}}
    with open(file_name, encoding="ascii") as file:
        for line in file:
            kind, first, *values = line.split()
            cells[kind][int(first)] = [int(value) for value in values]
    nothing = ModbusSparseDataBlock({})
    # Without zero_mode every number is one too high.
    return ModbusSlaveContext(co=ModbusSparseDataBlock(cells["coils"]), hr=ModbusSparseDataBlock(cells["registers"]),
                              di=nothing, ir=nothing, zero_mode=True)


async def serve(port, stations):
    server = ModbusSerialServer(ModbusServerContext(stations, single=False), ModbusRtuFramer, port=port,
                                baudrate=19200, bytesize=8, parity="N", stopbits=1)
    await server.start()
    if server.transport is None:  # It keeps quiet about why.
        sys.exit("pymodbus_server.py: cannot open " + port)
    print("ready", flush=True)
    ended = asyncio.Event()
    asyncio.get_running_loop().add_reader(sys.stdin, lambda: sys.stdin.buffer.raw.read(1) or ended.set())
    await ended.wait()
    logging.disable()  # It calls its own end an error.
    await server.shutdown()


def main(port, *arguments):
    stations = {}
    for argument in arguments:
        number, _, file_name = argument.partition("=")
        stations[int(number)] = station_of(file_name)
    asyncio.run(serve(port, stations))


main(*sys.argv[1:])
