#!/usr/bin/python3
"""pymodbus as a master that reads without end.    pty_pymodbus.py DEVICE REGISTERS"""
import itertools
import sys

from pymodbus.client import ModbusSerialClient

BLOCKS = 10

device, registers = sys.argv[1], int(sys.argv[2])
client = ModbusSerialClient(device, baudrate=115200, parity='N', stopbits=1, timeout=1)
# As for the others: no silence between frames.
client.silent_interval = 0
if not client.connect():
    sys.exit('pymodbus: cannot open ' + device)
for block in itertools.cycle(range(BLOCKS)):
    reply = client.read_holding_registers(block * registers, registers, slave=1)
    if reply.isError() or len(reply.registers) != registers:
        sys.exit(f'pymodbus: {reply}')
