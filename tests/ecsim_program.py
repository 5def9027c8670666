#!/usr/bin/env python3
"""Runs the built simulated PLC as a user would and checks what it says and does. Usage: ecsim_program.py PATH_OF_ECSIM

No check depends on how fast the machine is; what never comes is given up after PATIENCE seconds.
"""
import json
import os
import select
import signal
import subprocess
import sys
import tempfile
import termios
import time
import tty

from counted_checks import check, failures, result, same

PATIENCE = 20.0
QUIET = 0.3  # Nothing is expected: how long to make sure.

started = []


def frame(text):
    """The bytes of spaced hex with their CRC-16/MODBUS behind them."""
    data = bytes.fromhex(text)
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ 0xA001 if crc & 1 else crc >> 1
    return data + bytes((crc & 0xFF, crc >> 8))


class Port:
    """The host's end of the pseudo-terminal."""

    def __init__(self, path):
        self.fd = os.open(path, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.fd, termios.TCSANOW)

    @classmethod
    def of(cls, fd):
        port = cls.__new__(cls)
        port.fd = fd
        return port

    def close(self):
        os.close(self.fd)

    def send(self, data):
        os.write(self.fd, data)

    def read(self, count, patience=PATIENCE):
        """Up to count bytes; fewer when no more come. None when the port is gone."""
        data = b""
        end = time.monotonic() + patience
        while len(data) < count:
            rest = end - time.monotonic()
            if rest <= 0 or not select.select([self.fd], [], [], rest)[0]:
                break
            try:
                piece = os.read(self.fd, count - len(data))
            except OSError:
                return None
            if not piece:
                return None
            data += piece
        return data

    def ask(self, request, count):
        self.send(request)
        return self.read(count)


class Simulator:
    def __init__(self, program, *options, ready=True):
        self.process = subprocess.Popen([program, "run", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE)
        started.append(self.process)
        self.pending = b""
        self.port = None
        if ready:
            word, _, self.port = self.line().partition(" ")
            same(word, "ready", f"first line with {options}")

    def line(self):
        end = time.monotonic() + PATIENCE
        while b"\n" not in self.pending:
            rest = end - time.monotonic()
            if rest <= 0 or not select.select([self.process.stdout], [], [], rest)[0]:
                raise RuntimeError("no line came from the simulated PLC")
            piece = os.read(self.process.stdout.fileno(), 65536)
            if not piece:
                raise RuntimeError("the simulated PLC has ended: " + self.process.stderr.read().decode())
            self.pending += piece
        line, _, self.pending = self.pending.partition(b"\n")
        return line.decode()

    def command(self, text):
        self.process.stdin.write(text.encode() + b"\n")
        self.process.stdin.flush()
        return self.line()

    def end(self):
        """Waits for the end. Returns the exit code and what was said on standard error."""
        error = self.process.communicate(timeout=PATIENCE)[1].decode()
        return self.process.returncode, error

    def interrupt(self, number):
        self.process.send_signal(number)
        return self.end()


def run(program, *arguments):
    done = subprocess.run([program, *arguments], stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE,
                          check=False)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


READ = frame("01 03 00 64 00 01")


def reply(value):
    return frame(f"01 03 02 {value:04X}")


def helps_and_refusals(program, folder):
    for arguments in (["--help"], ["run", "--help"], ["faults", "--help"]):
        code, out, _ = run(program, *arguments)
        same(code, 0, f"exit code of {arguments}")
        check("Example" in out, f"{arguments} shows an example")
    same(run(program, "--version")[0], 0, "exit code of --version")
    check(run(program, "--version")[1].startswith("ecsim "), "--version names the program")
    code, out, _ = run(program, "faults")
    same((code, len(out.splitlines())), (0, 18), "faults are listed")

    def refused(expected_code, expected_text, *arguments):
        code, out, error = run(program, *arguments)
        same(code, expected_code, f"exit code of {arguments}")
        check(expected_text in error, f"{arguments} says {expected_text!r}, said {error!r}")
        same(out, "", f"output of {arguments}")

    refused(2, "ecsim --help")
    refused(2, "--nonsense", "run", "--nonsense")
    refused(2, "expected either --pty or --port PATH", "run")
    refused(2, "expected either --pty or --port PATH", "run", "--pty", "--port", "/dev/null")
    refused(2, "--station '248': expected a whole number from 1 to 247", "run", "--pty", "--station", "248")
    refused(2, "--baud '9': expected a whole number from 300 to 921600", "run", "--pty", "--pace", "--baud", "9")
    refused(2, "--pace: expected --baud N beside it", "run", "--pty", "--pace")
    refused(2, "--parity 'mark': expected none, even or odd", "run", "--pty", "--parity", "mark")
    refused(2, "--stop-bits '3': expected 1 or 2", "run", "--pty", "--stop-bits", "3")
    refused(2, "--format 'ascii': expected modbus or remote", "run", "--pty", "--format", "ascii")
    refused(2, "--port '/dev/null': expected --baud, --parity and --stop-bits beside it", "run", "--port", "/dev/null")
    refused(2, "--fault 'explode': expected a fault, one of drop", "run", "--pty", "--fault", "explode")
    refused(2, "--live ", "run", "--pty", "--live", "counter")
    refused(2, "--ledger", "run", "--pty", "--ledger", folder + "/no/such/file")
    refused(2, "--faults", "run", "--pty", "--faults", folder + "/no-such-file")
    script = folder + "/script"
    with open(script, "w", encoding="utf-8") as file:
        file.write("# a comment\ndrop # and one behind a rule\n\nlate,ms=x\n")
    refused(2, script + ":4: 'ms=x': expected a whole number from 1 to 3600000", "run", "--pty", "--faults", script)
    real = ["--baud", "9600", "--parity", "none", "--stop-bits", "1"]
    refused(3, "/no/such/port", "run", "--port", "/no/such/port", *real)
    refused(3, "expected a path where nothing or a symbolic link is", "run", "--pty", "--link", script)
    check(os.path.isfile(script), "a file in the place of the link is left alone")


def reads_and_writes(program, folder):
    link = folder + "/plc"
    os.symlink("/dev/pts/no-such", link)  # Left behind by a simulator that was killed.
    plc = Simulator(program, "--pty", "--link", link, "--stdin", "--station", "1", "--station", "2", "--stuck", "200")
    same(plc.port, link, "the port is the link")
    check(os.readlink(link).startswith("/dev/pts/"), "the link points to a pseudo-terminal")
    port = Port(link)
    same(plc.command("set-register 1 100 4660"), "ok", "set-register")
    same(port.ask(READ, 7), bytes.fromhex("01 03 02 12 34 B5 33"), "a read")
    same(port.ask(bytes.fromhex("01 06 00 64 12 35 04 A2"), 8), bytes.fromhex("01 06 00 64 12 35 04 A2"), "a write")
    same(plc.command("registers 1 100 1"), "ok 4661", "what was written")
    same(port.ask(frame("01 03 20 6C 00 01"), 5), frame("01 83 02"), "a cell that is not there")
    before = plc.command("registers 1 200 1")
    same(port.ask(frame("01 06 00 C8 AB CD"), 8), frame("01 06 00 C8 AB CD"), "a write to a stuck cell")
    same(plc.command("registers 1 200 1"), before, "a stuck cell")
    same(plc.command("set-coil 2 9 1"), "ok", "set-coil")
    same(plc.command("coils 2 9 1"), "ok 1", "coils")
    same(port.ask(frame("02 01 00 09 00 01"), 6), frame("02 01 01 01"), "a coil of the other station")
    same(plc.command("unplug"), "ok", "unplug")
    port.send(READ)
    same(port.read(7, QUIET), b"", "with the cable pulled")
    same(plc.command("plug"), "ok", "plug")
    same(plc.command("stop-answering 1"), "ok", "stop-answering")
    port.send(READ)
    same(port.read(7, QUIET), b"", "a station that does not answer")
    same(port.ask(frame("02 01 00 09 00 01"), 6), frame("02 01 01 01"), "the other one")
    same(plc.command("answer 1"), "ok", "answer")
    same(port.ask(READ, 7), reply(4661), "a station that answers again")
    for command, answer in (("registers 3 0 1", "error: no station 3 on this line"),
                            ("registers 1 0 x", "error: COUNT 'x' is not a number, expected: registers STATION FIRST "),
                            ("registers 1 65535 2", "error: COUNT 2 is outside 1 to 1"),
                            ("set-coil 1 0 2", "error: VALUE 2 is outside 0 to 1"),
                            ("vanish 0", "error: MS 0 is outside 1 to 3600000"),
                            ("quit now", "error: 1 arguments, expected: quit"),
                            ("dump 1 /no/such/file", "error: cannot write /no/such/file")):
        got = plc.command(command)
        check(got.startswith(answer), f"{command}: expected {answer!r}, got {got!r}")
    check(plc.command("nonsense").startswith("error: unknown command 'nonsense', expected one of registers, "),
          "an unknown command")
    check(plc.command("statistics").startswith("ok requests=8 replies=8 exceptions=1 "), "statistics")
    dump(plc, folder)
    same(plc.command("quit"), "ok", "quit")
    code, error = plc.end()
    same(code, 0, "exit code after quit")
    same(error, "ecsim: 8 requests, 8 replies, 0 faults\n", "standard error")
    check(not os.path.lexists(link), "the link is gone after the end")
    port.close()


def dump(plc, folder):
    path = folder + "/dump.csv"
    same(plc.command(f"dump 1 {path}"), "ok", "dump")
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    same(lines[0], "kind,number,value", "head of the dump")
    check("register,100,4661" in lines, "the dump has a register")
    check(any(line.startswith("coil,") and line.endswith(",1") for line in lines), "the dump has a coil that is on")
    check(not any(line.endswith(",0") for line in lines), "the dump has no zeros")
    check(not any(line.startswith("register,8300,") for line in lines), "the dump has no cell in a gap")


def faults(program, folder):
    ledger = folder + "/ledger.jsonl"
    plc = Simulator(program, "--pty", "--stdin", "--fault", "drop,last=0", "--fault", "exception,first=1,last=1,code=4",
                    "--seed", "3", "--ledger", ledger, "--quiet")
    same(plc.command("set-register 1 100 7"), "ok", "set-register")
    port = Port(plc.port)
    port.send(READ)
    same(port.read(7, QUIET), b"", "a dropped reply")
    same(port.ask(READ, 5), frame("01 83 04"), "an exception")
    same(port.ask(READ, 7), reply(7), "after the faults")
    same(plc.command("fault crc-swapped"), "ok", "fault")
    same(port.ask(READ, 7), reply(7)[:5] + reply(7)[:4:-1], "a CRC that is swapped")
    same(plc.command("fault nonsense")[:28], "error: 'nonsense': expected ", "a rule that is none")
    same(plc.command("clear-faults"), "ok", "clear-faults")
    same(plc.command("fault delay,ms=50"), "ok", "fault")
    same(port.ask(READ, 7), reply(7), "a delayed reply")
    same(plc.command("clear-faults"), "ok", "clear-faults")
    same(plc.command("fault echo"), "ok", "fault")
    same(port.ask(READ, 15), READ + reply(7), "an echo")
    same(plc.command("ledger"), "ok crc-swapped=1 delay=1 drop=1 echo=1 exception=1", "ledger")
    plc.process.stdin.close()
    plc.process.stdin = None
    same(plc.end(), (0, ""), "the end of standard input")
    with open(ledger, encoding="utf-8") as file:
        lines = [json.loads(line) for line in file]
    same([line["fault"] for line in lines[:-1]], ["drop", "exception", "crc-swapped", "delay", "echo"], "the faults")
    same([line["request"] for line in lines[:-1]], [0, 1, 3, 4, 5], "ledger's requests")
    same(lines[-1]["faults"], {"crc-swapped": 1, "delay": 1, "drop": 1, "echo": 1, "exception": 1}, "ledger's totals")
    same(lines[-1]["statistics"]["requests"], 6, "ledger's requests")
    port.close()


def port_comes_and_goes(program, folder):
    link = folder + "/plc"
    plc = Simulator(program, "--pty", "--link", link, "--stdin", "--quiet", "--fault",
                    "port-gone,first=1,last=1,ms=200")
    plc.command("set-register 1 100 7")
    port = Port(link)
    old = os.readlink(link)
    same(port.ask(READ, 7), reply(7), "before the port goes")
    same(port.ask(READ, 7), None, "the port is gone by a fault")
    new = Port(wait_for(link))
    same(new.ask(READ, 7), reply(7), "the port is back behind the link")
    # The old one is still open, so its number cannot have been given again.
    check(os.readlink(link) != old, "it is another pseudo-terminal")
    same(plc.command("vanish 100"), "ok", "vanish")
    same(new.read(1), None, "the port is gone by a command")
    third = Port(wait_for(link))
    same(third.ask(READ, 7), reply(7), "the port is back again")
    same(plc.interrupt(signal.SIGINT), (130, ""), "Ctrl-C")
    check(not os.path.lexists(link), "the link is gone after Ctrl-C")
    for one in (port, new, third):
        one.close()

    plc = Simulator(program, "--pty", "--stdin")
    port = Port(plc.port)
    same(plc.command("vanish 10"), "ok", "vanish without a link")
    again = plc.line()
    check(again.startswith("ready /dev/pts/"), f"without a link the new path is told, got {again!r}")
    check(again != "ready " + plc.port, "it is another path")
    plc.command("set-register 1 100 8")
    new = Port(again.split()[1])
    same(new.ask(READ, 7), reply(8), "the port is back without a link")
    code, error = plc.interrupt(signal.SIGTERM)
    same(code, 130, "SIGTERM")
    check(error.startswith("ecsim: the port is gone\necsim: the port is back: /dev/pts/"), f"what was told: {error!r}")
    port.close()
    new.close()


def link_of_another(program, folder):
    link = folder + "/plc"
    first = Simulator(program, "--pty", "--link", link, "--stdin", "--quiet")
    target = os.readlink(link)
    code, out, error = run(program, "run", "--pty", "--link", link)
    same((code, out), (3, ""), "a link in use is refused")
    for part in (f"--link '{link}': it leads to {target}", "another program may be using it", "expected ",
                 "remove the link if nobody uses it"):
        check(part in error, f"the refusal says {part!r}, said {error!r}")
    same(os.readlink(link), target, "the link of the other one is as before")
    same(first.command("set-register 1 100 7"), "ok", "set-register")
    port = Port(link)
    same(port.ask(READ, 7), reply(7), "the other one still answers")

    # Somebody takes the link while the port is away: it is neither taken back nor removed.
    same(first.command("vanish 200"), "ok", "vanish")
    check(not os.path.lexists(link), "no link while the port is away")
    second = Simulator(program, "--pty", "--link", link, "--stdin", "--quiet")
    target = os.readlink(link)
    first.process.wait(timeout=PATIENCE)
    code, error = first.end()
    same(code, 3, "exit code when the link is taken meanwhile")
    check(f"it leads to {target}" in error, f"the reason is told, got {error!r}")
    same(os.readlink(link), target, "the link of the second one is as before")

    # A link that somebody else has put in its place stays at the end, also when it leads to the same terminal.
    for other in ("/dev/null", None):
        other = other or os.readlink(link)
        os.symlink(other, link + ".new")
        os.replace(link + ".new", link)
        same(second.command("quit"), "ok", "quit")
        same(second.end()[0], 0, "exit code")
        same(os.path.lexists(link) and os.readlink(link), other, "a link of somebody else")
        os.unlink(link)
        second = Simulator(program, "--pty", "--link", link, "--stdin", "--quiet")
    second.process.kill()
    second.end()
    check(os.path.lexists(link) and not os.path.exists(link), "a simulator that is killed leaves its link behind")
    third = Simulator(program, "--pty", "--link", link, "--stdin", "--quiet")
    check(os.path.exists(link), "a link that leads nowhere is replaced")
    same(third.interrupt(signal.SIGTERM)[0], 130, "SIGTERM")
    check(not os.path.lexists(link), "the link is gone after the end")
    port.close()


def wait_for(link):
    end = time.monotonic() + PATIENCE
    while not os.path.exists(link) and time.monotonic() < end:
        time.sleep(0.005)
    return link


def daemon_and_pace(program, _):
    # Without --stdin a closed standard input is of no interest.
    plc = Simulator(program, "--pty", "--pace", "--baud", "9600", "--quiet")
    plc.process.stdin.close()
    plc.process.stdin = None
    port = Port(plc.port)
    start = time.monotonic()
    answer = port.ask(frame("01 03 00 00 00 7D"), 255)
    took = time.monotonic() - start
    same(len(answer or b""), 255, "a long paced reply")
    # On the wire it takes 305 ms; never less.
    check(took > 0.3, f"a paced reply took {took:.3f} s")
    same(plc.interrupt(signal.SIGTERM), (130, ""), "a daemon ends")
    port.close()


def remote_format(program, _):
    plc = Simulator(program, "--pty", "--format", "remote", "--stdin")
    port = Port(plc.port)
    plc.command("set-register 1 100 4660")
    # Length, connection, read, panel, station 1, type 7, element 100, one of them, and fields that the PLC ignores.
    request = bytes.fromhex("16 00 00 00 01 00 07 00 00 00 64 00 01 00 00 00 00 00 00 00 00")
    same(port.ask(request + bytes((sum(request) & 0xFF,)), 7), reply(4660), "a read in the remote format")
    plc.command("quit")
    same(plc.end()[0], 0, "exit code")
    port.close()


def real_port(program, _):
    # The far end of a pseudo-terminal of our own takes the place of a serial port.
    ours, theirs = os.openpty()
    path = os.ttyname(theirs)
    plc = Simulator(program, "--port", path, "--baud", "9600", "--parity", "even", "--stop-bits", "1", "--stdin")
    same(plc.port, path, "the port is the serial port")
    plc.command("set-register 1 100 9")
    port = Port.of(ours)
    same(port.ask(READ, 7), reply(9), "a read over a serial port")
    os.close(theirs)
    port.close()
    # Its standard input stays open until then: it has to end for the port's sake.
    plc.process.wait(timeout=PATIENCE)
    code, error = plc.end()
    same(code, 3, "exit code when the serial port fails")
    check(error.startswith(f"ecsim: {path}: "), f"the failure is told, got {error!r}")


def slow_reader(program, _):
    # Nobody reads: the terminal fills up, the rest is lost, and the PLC neither waits nor loses its commands.
    plc = Simulator(program, "--pty", "--stdin", "--quiet")
    port = Port(plc.port)
    request = frame("01 03 00 00 00 7D")
    for count in range(1, 401):
        port.send(request)
        if count % 50 == 0:
            wait_for_requests(plc, count)
    same(len(port.read(400 * 255, 1.0)) < 400 * 255, True, "what nobody reads is lost")
    same(plc.command("quit"), "ok", "quit")
    same(plc.end()[0], 0, "exit code")
    port.close()


def wait_for_requests(plc, count):
    end = time.monotonic() + PATIENCE
    while not plc.command("statistics").startswith(f"ok requests={count} "):
        if time.monotonic() > end:
            raise RuntimeError(f"the simulated PLC has not seen {count} requests")
        time.sleep(0.005)


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    program = os.path.abspath(sys.argv[1])
    try:
        for scene in (helps_and_refusals, reads_and_writes, faults, port_comes_and_goes, link_of_another,
                      daemon_and_pace, remote_format, real_port, slow_reader):
            with tempfile.TemporaryDirectory() as folder:
                before = len(failures)
                scene(program, folder)
                print(f"{scene.__name__}: {'ok' if len(failures) == before else 'failed'}")
    finally:
        for process in started:
            if process.poll() is None:
                process.kill()
    return result()


sys.exit(main())
