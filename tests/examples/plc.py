"""What the tests of the examples share: counted checks, and the simulated PLC as a child process."""
import os
import select
import subprocess
import sys
import time

sys.path.append(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from counted_checks import check, result, same  # For those who import this.

PATIENCE = 30.0  # What never comes is given up after so many seconds; nothing else depends on time.


class Lines:
    """A child process that talks in lines."""

    def __init__(self, *command, **options):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)
        self.pending = b""

    def line(self):
        end = time.monotonic() + PATIENCE
        while b"\n" not in self.pending:
            rest = end - time.monotonic()
            ready = rest > 0 and select.select([self.process.stdout], [], [], rest)[0]
            piece = os.read(self.process.stdout.fileno(), 65536) if ready else b""
            if not piece:
                raise RuntimeError(f"no line came from {self.process.args[0]}")
            self.pending += piece
        line, _, self.pending = self.pending.partition(b"\n")
        return line.decode()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()


class Plc(Lines):
    def __init__(self, program, *options):
        super().__init__(program, "run", "--pty", "--stdin", "--quiet", *options)
        self.port = self.line().partition("ready ")[2]

    def ask(self, command):
        self.process.stdin.write(command.encode() + b"\n")
        self.process.stdin.flush()
        return self.line()

    def tell(self, *commands):
        for command in commands:
            answer = self.ask(command)
            if answer != "ok":
                raise RuntimeError(f"{command}: {answer}")
