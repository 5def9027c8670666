#!/usr/bin/env python3
"""Runs the minimal host against the simulated PLC. Usage: minimal_host.py MINIMAL_HOST ECSIM DRIVER"""
import os
import select
import subprocess
import sys
import time
import tty

from plc import PATIENCE, Plc, check, result, same

HOST, SIM, DRIVER = (os.path.abspath(path) for path in sys.argv[1:4])
# A busy machine may let a good reply be late. What is right is right in one of so many attempts, what is wrong in none.
ATTEMPTS = 4


def run(*arguments, **environment):
    done = subprocess.run([HOST, *map(str, arguments)], stdin=subprocess.DEVNULL, capture_output=True,
                          timeout=PATIENCE, check=False, env={**os.environ, **environment})
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def values(setpoint, total, pump):
    return f"setpoint {setpoint}\ntotal {total}\npump {pump}\n"


def refused(code, text, *arguments):
    got, out, error = run(*arguments)
    same((got, out), (code, ""), f"exit code and output with {arguments}")
    check(error.startswith("minimal_host: ") and text in error, f"{arguments} tells {text!r}, told {error!r}")


def reads():
    with Plc(SIM) as plc:
        for setpoint, total, pump in ((4711, 65538, 1), (0, 4294967295, 0), (65535, 2, 1)):
            plc.tell(f"set-register 1 100 {setpoint}", f"set-register 1 112 {total >> 16}",
                     f"set-register 1 113 {total & 0xFFFF}", f"set-coil 1 8 {pump}")
            same(run(DRIVER, plc.port), (0, values(setpoint, total, pump), ""), "a pass")


def writes():
    with Plc(SIM, "--station", "1", "--station", "2") as plc:
        plc.tell("set-register 1 100 7", "set-register 1 112 0", "set-register 1 113 9", "set-coil 1 8 0",
                 "set-register 2 100 8")
        same(run(DRIVER, plc.port, 1234), (0, values(7, 9, 0) + "written\n" + values(1234, 9, 0), ""), "a write")
        same(plc.ask("registers 1 100 1"), "ok 1234", "what station 1 has")
        same(plc.ask("registers 2 100 1"), "ok 8", "what station 2 has")
        same(run(DRIVER, plc.port, 65535, 0), (0, values(1234, 9, 0) + "written\n" + values(65535, 9, 0), ""),
             "a write to all")
        same([plc.ask(f"registers {station} 100 1") for station in (1, 2)], ["ok 65535"] * 2, "what all stations have")
        check(" broadcasts=1 " in plc.ask("statistics"), "the write to all went out once")
        code, out, error = run(DRIVER, plc.port, 1, 9)
        same((code, out), (4, values(65535, 9, 0)), "a write to a station that is not there")
        check("41" in error, f"its result code is told, got {error!r}")


def requests(plc):
    return int(plc.ask("statistics").partition("requests=")[2].split()[0])


def silence():
    with Plc(SIM) as plc:
        plc.tell("stop-answering 1")
        refused(4, "the PLC gave no good answer (11 CRC, 41 silence, 71 length): 41", DRIVER, plc.port)
        same(requests(plc), 3, "a frame goes out three times")
        plc.tell("answer 1", "fault crc-swapped")
        refused(4, ": 11\n", DRIVER, plc.port)
        plc.tell("clear-faults", "fault truncated,at=3")
        refused(4, ": 71\n", DRIVER, plc.port)
        plc.tell("clear-faults", "fault port-gone")
        refused(3, "the port is gone", DRIVER, plc.port)


def bad_replies():
    """What comes too late, damaged or in part is asked for again, and not taken for another frame's reply."""
    for rule in ("drop", "late,ms=350", "crc-swapped", "truncated,at=3", "extra-after", "exception,code=4"):
        for hit in (0, 4):  # The first frame of the first pass, and of the second.
            counts = [frames_with(f"{rule},first={hit},last={hit}")]
            while counts[-1] != 8 and len(counts) < ATTEMPTS:
                counts.append(frames_with(f"{rule},first={hit},last={hit}"))
            same(counts[-1], 8, f"frames of two passes, a write and one repeat with {rule} at {hit}")


def frames_with(rule):
    with Plc(SIM, "--fault", rule) as plc:
        plc.tell("set-register 1 100 5", "set-register 1 112 0", "set-register 1 113 0", "set-coil 1 8 1")
        same(run(DRIVER, plc.port, 6), (0, values(5, 0, 1) + "written\n" + values(6, 0, 1), ""), f"with {rule}")
        same(plc.ask("ledger"), f"ok {rule.partition(',')[0]}=1", "faults")
        return requests(plc)


def pauses():
    runs = []
    for _ in range(ATTEMPTS):
        frames, waits = heard_by_slave()
        if [frame[0] for frame in frames] == [1, 1, 1, 1, 0, 1, 1, 1] and frames[0] == frames[1]:
            runs.append(waits)
    check(runs, "stations of the frames: one twice, the rest of a pass, a write to all, a pass")
    # What the slave answered was sent after the moment that it took; what it did not answer it may have seen late.
    shortest = min((min(waits[1:4] + waits[5:]) for waits in runs), default=0)
    check(shortest >= 0.0021, f"silence between a reply and the next frame, {shortest:.4f} s")
    for number, least, what in ((0, 0.395, "time-out and late window"), (4, 0.095, "turnaround after a frame to all")):
        longest = max((waits[number] for waits in runs), default=0)
        check(longest >= least, f"{what}, {longest:.4f} s")


def heard_by_slave():
    """The frames of two passes and a write to all, of which the first is not answered, and the times between them."""
    ours, theirs = os.openpty()
    tty.setraw(theirs)
    frames, moments = [], []
    with subprocess.Popen([HOST, DRIVER, os.ttyname(theirs), "0", "0"], stdout=subprocess.PIPE) as host:
        while select.select([ours, host.stdout], [], [], PATIENCE)[0] == [ours]:
            frames.append(os.read(ours, 256))
            moments.append(time.monotonic())
            if len(frames) > 1 and frames[-1][0] != 0:
                os.write(ours, answer(frames[-1]))
        out = values(0, 0, 0) + "written\n" + values(0, 0, 0)
        same(host.communicate(timeout=PATIENCE)[0].decode(), out, "values of the slave")
    os.close(ours)
    os.close(theirs)
    return frames, [after - before for before, after in zip(moments, moments[1:])]


def answer(frame):
    data = b"\1\0" if frame[1] == 1 else bytes((2 * frame[5], *[0] * 2 * frame[5]))
    crc = 0xFFFF
    for byte in frame[:2] + data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ 0xA001 if crc & 1 else crc >> 1
    return frame[:2] + data + crc.to_bytes(2, "little")


def refusals_and_unloading():
    with Plc(SIM) as plc:
        refused(2, "usage: minimal_host DRIVER PORT")
        refused(2, "/no/such/driver.so", "/no/such/driver.so", plc.port)
        refused(2, "undefined symbol", "libm.so.6", plc.port)
        refused(3, "no port at /no/such/port", DRIVER, "/no/such/port")
        refused(3, "no port at /dev/null", DRIVER, "/dev/null")
        for expected, arguments in ((0, ()), (4, (1, 9))):
            code, _, log = run(DRIVER, plc.port, *arguments, LD_DEBUG="files")
            same(code, expected, "exit code under the loader's eye")
            of_driver = [line for line in log.splitlines() if f"file={DRIVER} " in line]
            check(any("dynamically loaded by" in line for line in of_driver), "the driver is loaded by the program")
            check(bool(of_driver) and "destroying link map" in of_driver[-1], "it is unloaded before the program ends")


for scene in (reads, writes, silence, bad_replies, pauses, refusals_and_unloading):
    scene()
sys.exit(result())
