"""The programs under test and their peers, each ended by its own handle."""
import json
import os
import select
import subprocess
import time

LIMIT = 60        # Seconds, of each run of a program.
MOST_TOLD = 2000  # Characters.

SETTINGS = """[line]
port = "%(port)s"
baud = 19200
parity = "none"
stop_bits = 1
reply_timeout_ms = 5000
late_window_ms = 100
[driver]
path = "%(driver)s"
max_block_len = %(block)d
retries = 3
stations = %(stations)s
[writes]
confirm = true
"""


class Child:
    """A program that says "ready" when it is, and ends when its standard input closes."""

    def __init__(self, *command):
        self.command = command
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.pending = b""
        line = self.line()
        if line.split()[:1] != ["ready"]:
            self.close()
            raise AssertionError("%s: expected ready, got %r" % (" ".join(command), line))

    def line(self):
        """The next line of output; what there is of it when the program ends or LIMIT seconds pass."""
        deadline = time.monotonic() + LIMIT
        while b"\n" not in self.pending and time.monotonic() < deadline:
            if select.select([self.process.stdout], [], [], 0.1)[0]:
                data = os.read(self.process.stdout.fileno(), 65536)
                if not data:
                    break
                self.pending += data
        line, _, self.pending = self.pending.partition(b"\n")
        return line.decode()

    def ask(self, command):
        self.process.stdin.write(command.encode() + b"\n")
        self.process.stdin.flush()
        words = self.line().split()
        if words[:1] != ["ok"]:
            raise AssertionError("%s: %s" % (command, words))
        return words[1:]

    def close(self):
        self.process.stdin.close()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()


class Ecsim:
    """The simulated PLC. It has a pseudo-terminal of its own, and tells its memory without the line."""

    def __init__(self, folder, programs, memories, stack):
        self.port = os.path.join(folder, "plc")
        values = os.path.join(folder, "plc.toml")
        with open(values, "w", encoding="ascii") as file:
            file.write("".join(memory.toml(station) for station, memory in memories.items()))
        self.child = Child(programs["ecsim"], "run", "--pty", "--link", self.port, "--values", values, "--stdin",
                           "--quiet")
        stack.callback(self.child.close)

    def cells(self, station, kind, first, count):
        return [int(word) for word in self.child.ask("%s %d %d %d" % (kind, station, first, count))]

    def set_register(self, station, number, value):
        self.child.ask("set-register %d %d %d" % (station, number, value))


class Panel:
    """ecpanel with settings and tags of its own."""

    def __init__(self, program, driver, folder, port, tag_text, block, several):
        self.program = program
        self.settings = os.path.join(folder, "line.toml")
        self.tags = os.path.join(folder, "tags.csv")
        with open(self.settings, "w", encoding="utf-8") as file:
            file.write(SETTINGS % {"port": port, "driver": driver, "block": block,
                                   "stations": '"several"' if several else '"one"\nstation = 1'})
        with open(self.tags, "w", encoding="utf-8") as file:
            file.write(tag_text)

    def run(self, verb, *arguments):
        """The exit code and what it printed."""
        command = [self.program, verb, "--settings", self.settings, "--tags", self.tags, "--json", *arguments]
        result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=LIMIT)
        try:
            return result.returncode, json.loads(result.stdout)
        except ValueError:
            raise AssertionError("%s ends with %d: %s" % (verb, result.returncode,
                                                          result.stderr[-MOST_TOLD:])) from None

    def read(self, tags):
        """Values by name, all of them good."""
        code, told = self.run("read")
        shown = {each["tag"]: each for each in told}
        bad = [(each["tag"], each["quality"], each["reason"], each.get("exception")) for each in told
               if each["quality"] != "good" or each["pending"]]
        if code != 0 or bad or list(shown) != [tag.name for tag in tags]:
            raise AssertionError("read ends with %d: %d tags shown of %d, %d of them not good: %s" % (
                code, len(shown), len(tags), len(bad), str(bad)[:MOST_TOLD]))
        return {tag.name: tag.read_json(shown[tag.name]["value"]) for tag in tags}

    def write(self, assignments):
        """Writes {name: text}; every one has to end as confirmed."""
        code, told = self.run("write", "--", *("%s=%s" % each for each in assignments.items()))
        states = {each["tag"]: each["state"] for each in told}
        wrong = {name: states.get(name) for name in assignments if states.get(name) != "confirmed"}
        if code != 0 or wrong or len(told) != len(assignments):
            raise AssertionError("write ends with %d: %d writes told of %d, %d of them not confirmed: %s" % (
                code, len(told), len(assignments), len(wrong), str(wrong)[:MOST_TOLD]))
        return len(told)
