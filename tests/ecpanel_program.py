#!/usr/bin/env python3
"""The built ecpanel, verb by verb, against the built simulated PLC: output, messages and exit codes.

Usage: ecpanel_program.py ECPANEL ECSIM DRIVER SOURCE_DIR [unittest arguments]

No time decides but limits that are far beyond what is needed.
"""
import errno
import json
import os
import re
import resource
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ECPANEL, ECSIM, DRIVER, SOURCE = (os.path.abspath(path) for path in sys.argv[1:5])
LIMIT = 60
VERBS = ["types", "check", "plan", "probe", "read", "write", "watch", "run", "decode", "replay", "demo"]

SETTINGS = """[line]
port = "%(port)s"
baud = 115200
parity = "none"
stop_bits = 1
reply_timeout_ms = %(timeout)d
late_window_ms = 20
reopen_first_ms = 50
reopen_most_ms = 200

[driver]
path = "%(driver)s"
max_block_len = 32
retries = %(retries)d
stations = %(stations)s
format = "%(format)s"

[writes]
confirm = %(confirm)s
"""
# Type 7 begins at register 0, type 2 at coil 2000.
TAGS = """name,type,address,station,count,format,order,scale,unit,rw
speed,7,100,,,uint16,,0.1,rpm,rw
level,7,101,,,int16,,,mm,r
recipe,7,120,,3,uint16,,,,rw
pump,2,0,,,,,,,rw
stuck,7,140,,,uint16,,,,rw
command,7,160,,,uint16,,,,w
"""
TAG_NAMES = ["speed", "level", "recipe", "pump", "stuck", "command"]
READABLE = ["speed", "level", "recipe", "pump", "stuck"]
STUCK_REGISTER = 140


class Sim:
    """The simulated PLC, with its control commands."""

    def __init__(self, folder, *options):
        self.port = os.path.join(folder, "plc")
        self.process = subprocess.Popen(
            [ECSIM, "run", "--pty", "--link", self.port, "--stdin", "--quiet", *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, start_new_session=True)
        assert self.process.stdout.readline().startswith("ready ")

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline().split()
        assert answer[:1] == ["ok"], (command, answer)
        return answer[1:]

    def registers(self, first, count=1, station=1):
        return [int(word) for word in self.ask("registers %d %d %d" % (station, first, count))]

    def count(self, name):
        return int(dict(word.split("=") for word in self.ask("statistics"))[name])

    def close(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait(LIMIT)


class Case(unittest.TestCase):
    """A folder with settings and tags, and what a test needs to run the program there."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ecpanel-test-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.settings()
        self.write_file("tags.csv", TAGS)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write_file(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def read_file(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def settings(self, timeout=500, retries=0, confirm="true", port=None, several=False, format="modbus"):
        self.write_file("line.toml", SETTINGS % {
            "port": port or self.path("plc"), "timeout": timeout, "driver": DRIVER, "retries": retries,
            "confirm": confirm, "stations": '"several"' if several else '"one"\nstation = 1', "format": format})

    def sim(self, *options):
        sim = Sim(self.folder, "--stuck", str(STUCK_REGISTER), *options)
        self.addCleanup(sim.close)
        for register, value in ((100, 125), (101, 65535), (120, 1), (121, 2), (122, 3), (140, 7), (160, 0)):
            sim.ask("set-register 1 %d %d" % (register, value))
        sim.ask("set-coil 1 2000 1")
        return sim

    def start(self, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        process = subprocess.Popen([ECPANEL, *arguments], cwd=self.folder, text=True, **options)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
            process.wait()
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream:
                stream.close()

    def run_panel(self, *arguments, code=0, text=None):
        """Runs a verb to its end and returns what it printed to standard output and standard error."""
        result = subprocess.run([ECPANEL, *arguments], cwd=self.folder, input=text or "", capture_output=True,
                                text=True, timeout=LIMIT)
        self.assertEqual(result.returncode, code, "%s\n%s%s" % (arguments, result.stdout, result.stderr))
        return result.stdout, result.stderr

    def run_json(self, *arguments, code=0):
        out, _ = self.run_panel(*arguments, "--json", code=code)
        return json.loads(out)

    def interrupt(self, process, number=signal.SIGINT):
        process.send_signal(number)
        out, err = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 130, out + err)
        return out, err


def wait_for_line(stream, wanted):
    """Lines up to the first that wanted says yes to."""
    lines = []
    deadline = time.monotonic() + LIMIT
    while time.monotonic() < deadline:
        line = stream.readline()
        if not line:
            raise AssertionError("the output ended after %s" % lines[-5:])
        lines.append(line)
        if wanted(line):
            return lines
    raise AssertionError("nothing came after %s" % lines[-5:])


def wait_until(condition):
    deadline = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("it did not happen in %d seconds" % LIMIT)
        time.sleep(0.01)


class Help(Case):
    def test_help_leads_to_live_values(self):
        out, err = self.run_panel("--help")
        self.assertEqual(err, "")
        self.assertIn("First steps:", out)
        for word in ["examples/line.toml", "examples/tags.csv", *VERBS]:
            self.assertIn(word, out)

    def test_each_verb_has_help_with_an_example(self):
        for verb in VERBS:
            out, err = self.run_panel(verb, "--help")
            self.assertEqual(err, "")
            self.assertRegex(out, r"Examples?:\n  ecpanel " + verb.replace("replay", "(run|replay)"), verb)

    def test_version(self):
        out, err = self.run_panel("--version")
        with open(os.path.join(SOURCE, "CMakeLists.txt"), encoding="utf-8") as file:
            version = re.search(r"project\(\w+ VERSION (\d+\.\d+\.\d+)", file.read()).group(1)
        self.assertEqual(out, "ecpanel %s\n" % version)
        self.assertEqual(err, "")

    def test_wrong_usage_is_told_and_ends_with_2(self):
        cases = {
            (): "no verb given: expected one of types, check, ",
            ("raed",): "unknown verb 'raed': expected one of types, check, ",
            ("read", "--colour"): "--colour (see ecpanel read --help)",
            ("--colour", "read"): "--colour",
            ("write",): "NAME=VALUE is required (see ecpanel write --help)",
            ("replay",): "FILE is required",
            ("probe", "--from", "0"): "--from: Value 0 not in range 1 to 247",
            ("probe", "--from", "9", "--to", "8"): "--from 9 --to 8: expected the first station not to be behind",
            ("run", "--duration", "soon"): "--duration",
            ("read", "--settings"): "--settings",
        }
        for arguments, message in cases.items():
            out, err = self.run_panel(*arguments, code=2)
            self.assertEqual(out, "")
            self.assertTrue(err.startswith("ecpanel: "), err)
            self.assertIn(message, err)


class Check(Case):
    def test_summary(self):
        out, err = self.run_panel("check")
        self.assertEqual(err, "")
        self.assertIn("line.toml: %s, 115200 baud 8N1, station 1; nothing wrong\n" % self.path("plc"), out)
        self.assertIn("tags.csv: 6 tags; nothing wrong\n", out)
        self.assertRegex(out, r"\n +1 +7 +5 +7 +4 +4\n")

    def test_summary_as_json(self):
        summary = self.run_json("check")
        self.assertEqual(summary["tags"], 6)
        self.assertEqual(summary["line"], "115200 baud 8N1")
        self.assertEqual(summary["areas"], [
            {"station": 1, "type": 2, "tags": 1, "values": 1, "readable": 1, "writable": 1},
            {"station": 1, "type": 7, "tags": 5, "values": 7, "readable": 4, "writable": 4}])

    def test_quiet(self):
        self.assertEqual(self.run_panel("check", "--quiet"), ("", ""))

    def test_export_writes_the_same_tags(self):
        self.run_panel("check", "--export", "again.csv")
        self.assertEqual(self.read_file("again.csv"), TAGS)

    def test_export_spares_what_is_there(self):
        self.write_file("other.csv", "mine")
        for name in ("other.csv", "line.toml"):
            before = self.read_file(name)
            out, err = self.run_panel("check", "--export", name, code=2)
            self.assertEqual(out, "")
            self.assertEqual(err, "ecpanel: --export %s: is there already: expected a new file\n" % name)
            self.assertEqual(self.read_file(name), before)
        os.symlink("tags.csv", self.path("link.csv"))
        for name in ("tags.csv", "link.csv"):
            self.run_panel("check", "--export", name)
            self.assertEqual(self.read_file("tags.csv"), TAGS)

    def test_warnings_are_no_problems(self):
        self.write_file("tags.csv", TAGS + "twin,7,100,,,,,,,rw\n")
        warning = "tags.csv:8: address: shares cells with speed (line 2)"
        out, err = self.run_panel("check")
        self.assertTrue(err.startswith("warning: " + warning), err)
        self.assertIn("nothing wrong", out)
        summary = self.run_json("check")
        self.assertEqual(summary["problems"], [])
        self.assertEqual(len(summary["warnings"]), 1)
        self.assertTrue(summary["warnings"][0].startswith(warning))
        self.assertEqual(self.run_panel("check", "--quiet"), ("", ""))

    def test_problems_as_json(self):
        self.write_file("tags.csv", TAGS + "far,7,70000,,,,,,,\ntwin,7,100,,,,,,,rw\n")
        out, err = self.run_panel("check", "--json", code=2)
        found = json.loads(out)
        self.assertEqual(sorted(found), ["problems", "warnings"])
        self.assertTrue(found["problems"][0].startswith("tags.csv:8: address: 70000: "), found)
        self.assertTrue(found["warnings"][0].startswith("tags.csv:9: "), found)
        self.assertIn(found["problems"][0] + "\n", err)

    def test_export_that_cannot_be_written(self):
        _, err = self.run_panel("check", "--export", "nowhere/again.csv", code=2)
        self.assertIn("ecpanel: cannot write nowhere/again.csv", err)

    def test_all_wrong_tags_are_listed(self):
        self.write_file("tags.csv", TAGS + "bad type,99,0,,,,,,,\nfar,7,70000,,,,,,,\nlevel,7,5,,,,,,,\n")
        out, err = self.run_panel("check", code=2)
        self.assertEqual(out, "")
        for line in (8, 9, 10):
            self.assertIn("tags.csv:%d: " % line, err)

    def test_all_wrong_settings_are_listed(self):
        text = self.read_file("line.toml").replace("115200", "12345").replace("retries = 0", "retries = -1\nspeed = 1")
        self.write_file("line.toml", text)
        out, err = self.run_panel("check", code=2)
        self.assertEqual(out, "")
        for words in ("line.toml:3: line.baud", "driver.retries", "driver.speed"):
            self.assertIn(words, err)
        self.assertIn("tags.csv: not looked at", err)

    def test_missing_files(self):
        _, err = self.run_panel("check", "--settings", "none.toml", code=2)
        self.assertIn("none.toml", err)
        _, err = self.run_panel("check", "--tags", "none.csv", code=2)
        self.assertIn("none.csv", err)

    def test_missing_and_wrong_driver(self):
        _, err = self.run_panel("check", "--driver", "none.so", code=2)
        self.assertTrue(err.startswith("ecpanel: no driver at %s" % self.path("none.so")), err)
        self.assertNotIn("--driver", err)
        _, err = self.run_panel("check", "--driver", self.folder, code=2)
        self.assertIn("ecpanel: %s is a folder" % self.folder, err)
        self.write_file("line.toml", self.read_file("line.toml").replace(DRIVER, "other.so"))
        _, err = self.run_panel("check", code=2)
        self.assertTrue(err.startswith("line.toml: driver.path: no driver at %s" % self.path("other.so")), err)
        _, err = self.run_panel("check", "--driver", "tags.csv", code=2)
        self.assertIn("tags.csv is no library: expected a driver library", err)

    def test_driver_left_out(self):
        self.write_file("line.toml", self.read_file("line.toml").replace('path = "%s"\n' % DRIVER, ""))
        self.assertEqual(self.run_json("check")["driver"], DRIVER)

    def test_examples_are_right(self):
        examples = os.path.join(SOURCE, "examples")
        self.run_panel("check", "--settings", os.path.join(examples, "line.toml"), "--tags",
                       os.path.join(examples, "tags.csv"), "--driver", DRIVER)


class Types(Case):
    def test_table(self):
        out, err = self.run_panel("types")
        self.assertEqual(err, "")
        self.assertRegex(out, r"(?m)^ +0 +bit, octal address +r +0 to 1437 +coils 1200-1999$")
        self.assertRegex(out, r"(?m)^ +8 +word +rw +0 to 255 +registers 8000-8255\n"
                              r" +256 to 1255 +registers 12000-12999$")
        self.assertRegex(out, r"(?m)^ +13 .* 200 to 255 +registers 9700-9811\n +256 to 755 +registers 10000-10999$")
        self.assertLess(max(len(line) for line in out.splitlines()), 100)

    def test_json(self):
        types = self.run_json("types")
        self.assertEqual([row["type"] for row in types], [*range(18), 100, 101, 102])
        self.assertEqual(types[17], {
            "type": 17, "element": "bit of a word of 11, as 10.3", "address": "word.bit", "numbers": "registers",
            "writable": True, "areas": [{"addresses": "0.0 to 499.15", "first_number": 8500, "last_number": 8999}]})


class Plan(Case):
    def test_plan_needs_no_port(self):
        out, _ = self.run_panel("plan")
        self.assertIn("115200", out)
        self.assertTrue(self.run_json("plan"))

    def test_a_length_that_is_as_good_is_not_replaced(self):
        self.write_file("tags.csv", TAGS.splitlines()[0] + "\na,7,0,,,,,,,\n")
        out, _ = self.run_panel("plan", "--suggest")
        self.assertIn("<- shortest, now\n", out)
        self.assertIn("No length has a shorter pass than the settings' max_block_len = 32: ", out)
        self.assertNotIn("Suggested", out)


class Read(Case):
    def test_table(self):
        self.sim()
        out, err = self.run_panel("read")
        self.assertEqual(err, "")
        lines = out.splitlines()
        self.assertEqual(lines[0].split(), ["name", "value", "unit", "quality", "age"])
        self.assertEqual([line.split()[0] for line in lines[1:]], READABLE)
        self.assertRegex(lines[1], r"^speed +12\.5 +rpm +good +\d+\.\d s$")
        self.assertRegex(lines[2], r"^level +-1 +mm +good +\d+\.\d s$")
        self.assertRegex(lines[3], r"^recipe +\[1 2 3\] +good +\d+\.\d s$")
        self.assertRegex(lines[4], r"^pump +1 +good +\d+\.\d s$")

    def test_named_tags_as_json(self):
        self.sim()
        tags = self.run_json("read", "recipe", "speed")
        for tag in tags:
            self.assertGreaterEqual(tag.pop("age_seconds"), 0)
        good = {"quality": "good", "reason": "", "pending": False}
        self.assertEqual(tags, [{"tag": "recipe", "value": [1, 2, 3], "unit": "", **good},
                                {"tag": "speed", "value": 12.5, "unit": "rpm", **good}])

    def test_long_names_and_values_are_cut_in_the_table_only(self):
        name = "n" * 40
        self.write_file("tags.csv", TAGS.splitlines()[0] + "\n%s,7,0,,100,,,,,\n" % name)
        self.sim()
        out, _ = self.run_panel("read")
        self.assertRegex(out, r"\n%s~ +\[\d[\d ]{37}~ +good " % name[:23])
        tag = self.run_json("read")[0]
        self.assertEqual((tag["tag"], len(tag["value"])), (name, 100))

    def test_wrong_names(self):
        out, err = self.run_panel("read", "sped", "command", "level", "level", code=2)
        self.assertEqual(out, "")
        self.assertIn("ecpanel: sped: no such tag in tags.csv\n", err)
        self.assertIn("ecpanel: command: cannot be read", err)
        self.assertIn("ecpanel: level: named twice", err)

    def test_no_port(self):
        out, err = self.run_panel("read", code=3)
        self.assertEqual(out, "")
        self.assertIn("cannot open port %s" % self.path("plc"), err)
        self.assertIn("115200 baud 8N1", err)

    def test_port_option(self):
        self.settings(port="/nowhere")
        self.sim()
        self.run_panel("read", code=3)
        self.run_panel("read", "--port", self.path("plc"))

    def test_port_lost(self):
        sim = self.sim()
        sim.ask("fault port-gone,ms=3000")
        out, _ = self.run_panel("read", code=3)
        self.assertRegex(out, r"speed +- +rpm +bad \(port\) +-\n")

    def test_no_reply(self):
        self.settings(timeout=50)
        self.sim().ask("unplug")
        out, err = self.run_panel("read", code=4)
        self.assertEqual(err, "")
        self.assertRegex(out, r"speed +- +rpm +bad \(timeout\) +-\n")
        self.assertEqual(self.run_json("read", "pump", code=4)[0], {
            "tag": "pump", "value": None, "unit": "", "quality": "bad", "reason": "timeout", "pending": False,
            "age_seconds": None})

    def test_exception(self):
        self.sim("--fault", "exception,code=2")
        out, _ = self.run_panel("read", "speed", code=5)
        self.assertRegex(out, r"speed +- +rpm +bad \(exception: illegal data address\) +-\n")
        self.assertEqual(self.run_json("read", "speed", code=5)[0]["exception"], "illegal data address")

    def test_wrong_crc(self):
        self.sim("--fault", "crc-swapped")
        out, err = self.run_panel("read", "speed", code=5)
        self.assertIn("bad (crc)", out)
        self.assertEqual(err, "bytes came that were no answer: are baud, parity and stop bits right?\n")
        self.assertEqual(self.run_panel("read", "speed", "--quiet", code=5)[1], "")

    def test_other_stations_reply_is_discarded_but_not_with_raw(self):
        self.settings(timeout=50)
        self.sim("--fault", "wrong-station")
        self.assertIn("bad (timeout)", self.run_panel("read", "speed", code=4)[0])
        self.assertIn("12.5", self.run_panel("read", "speed", "--raw")[0])


class Write(Case):
    def test_confirmed(self):
        sim = self.sim()
        out, err = self.run_panel("write", "speed=33.3", "recipe=7,8,9", "pump=0")
        self.assertEqual(err, "")
        self.assertRegex(out, r"\nspeed +33\.3 +rpm +confirmed\nrecipe +\[7 8 9\] +confirmed\npump +0 +confirmed\n$")
        self.assertEqual(sim.registers(100), [333])
        self.assertEqual(sim.registers(120, 3), [7, 8, 9])
        self.assertEqual(sim.ask("coils 1 2000 1"), ["0"])

    def test_json(self):
        self.sim()
        writes = self.run_json("write", "speed=1", "command=5")
        for write in writes:
            self.assertGreaterEqual(write.pop("seconds"), 0)
        self.assertEqual(writes, [{"id": 1, "tag": "speed", "value": 1, "state": "confirmed"},
                                  {"id": 2, "tag": "command", "value": 5, "state": "done"}])

    def test_nothing_is_sent_unless_all_is_right(self):
        sim = self.sim()
        before = sim.count("requests")
        out, err = self.run_panel("write", "speed=1", "sped=1", "level=1", "recipe=1,2", "pump=2", "stuck=70000",
                                  "speed=2", "speed", code=2)
        self.assertEqual(out, "")
        for words in ("sped=1: no such tag", "level=1: cannot be written", "recipe=1,2: ", "pump=2: ", "stuck=70000: ",
                      "speed=2: the tag is named twice", "speed: expected NAME=VALUE"):
            self.assertIn("ecpanel: " + words, err)
        self.assertEqual(len(err.splitlines()), 7)
        self.assertEqual(sim.count("requests"), before)

    def test_only_writes_and_their_confirmations_go_out(self):
        sim = self.sim()
        before = sim.count("requests")
        self.run_panel("write", "speed=2")
        self.assertEqual(sim.count("requests") - before, 2)

    def test_without_confirmation(self):
        self.settings(confirm="false")
        self.sim()
        self.assertIn("done", self.run_panel("write", "speed=4")[0])

    def test_no_port(self):
        self.run_panel("write", "speed=1", code=3)

    def test_port_lost(self):
        self.sim("--fault", "port-gone,ms=3000")
        out, _ = self.run_panel("write", "speed=1", code=3)
        self.assertIn("failed (port)", out)

    def test_no_reply_fails_the_first_and_purges_the_others(self):
        self.settings(timeout=50)
        self.sim().ask("unplug")
        out, _ = self.run_panel("write", "speed=1", "recipe=1,2,3", "pump=1", code=4)
        self.assertRegex(out, r"speed .*failed \(timeout\)\nrecipe .*purged\npump .*purged\n$")

    def test_exception(self):
        self.sim("--fault", "exception,code=3")
        write = self.run_json("write", "speed=1", code=5)[0]
        self.assertEqual((write["state"], write["reason"], write["exception"]),
                         ("failed", "exception", "illegal data value"))

    def test_reverted(self):
        sim = self.sim()
        out, _ = self.run_panel("write", "stuck=9", code=6)
        self.assertRegex(out, r"stuck +9 +reverted, reads back 7\n$")
        write = self.run_json("write", "stuck=9", code=6)[0]
        self.assertEqual((write["state"], write["read_back"]), ("reverted", 7))
        self.assertEqual(sim.registers(STUCK_REGISTER), [7])


    def test_a_rounded_value_is_told(self):
        sim = self.sim()
        out, err = self.run_panel("write", "speed=12.34", "recipe=1,2,3")
        self.assertEqual(err, "ecpanel: speed=12.34: rounded to 12.3\n")
        self.assertRegex(out, r"speed +12\.3 +rpm +confirmed\n")
        self.assertEqual(sim.registers(100), [123])
        self.assertEqual(self.run_panel("write", "speed=12.34", "--quiet")[1], "")


class Run(Case):
    def test_no_readable_tag(self):
        self.write_file("tags.csv", TAGS.splitlines()[0] + "\ncommand,7,160,,,,,,,w\n")
        out, err = self.run_panel("run", code=2)
        self.assertEqual(out, "")
        self.assertIn("tags.csv: no tag can be read", err)

    def test_a_station_that_falls_silent_is_told(self):
        self.settings(timeout=50)
        sim = self.sim()
        process = self.start("run")
        wait_for_line(process.stdout, lambda line: '"speed"' in line)
        for command, answers in (("stop-answering 1", False), ("answer 1", True)):
            sim.ask(command)
            event = json.loads(wait_for_line(process.stdout, lambda line: '"station"' in line)[-1])
            del event["time"]
            self.assertEqual(event, {"event": "station", "station": 1, "answers": answers})
        self.interrupt(process)

    def test_closing_tables_fit_a_terminal(self):
        self.sim()
        _, err = self.run_panel("run", "--duration", "0.5")
        for words in ("requests", "good", "retries", "failed", "bytes out", "bytes in", "timeout", "crc", "length",
                      "exception", "port", "discarded"):
            self.assertRegex(err, r"\b%s\b" % words)
        self.assertLess(max(len(line) for line in err.splitlines()), 80)

    def lines(self, out):
        return [json.loads(line) for line in out.splitlines()]

    def test_values_events_and_end(self):
        self.sim()
        out, err = self.run_panel("run", "--duration", "1", "--passes")
        lines = self.lines(out)
        for line in lines:
            self.assertRegex(line["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        values = [line for line in lines if "tag" in line]
        self.assertEqual(sorted(line["tag"] for line in values), sorted(READABLE))
        speed = next(line for line in values if line["tag"] == "speed")
        del speed["time"]
        self.assertEqual(speed, {"tag": "speed", "value": 12.5, "unit": "rpm", "quality": "good", "reason": "",
                                 "pending": False})
        self.assertIn("pass", [line.get("event") for line in lines])
        end = lines[-1]
        self.assertEqual(end["event"], "end")
        self.assertGreater(end["counters"]["all"]["good"], 0)
        self.assertEqual(end["counters"]["all"]["good"], end["counters"]["all"]["requests"])
        self.assertEqual(end["writes"]["writes"], 0)
        self.assertRegex(err, r"(?m)^all +%d " % end["counters"]["all"]["requests"])
        self.assertRegex(err, r"(?m)^station 1 ")

    def test_quiet_has_no_closing_table(self):
        self.sim()
        for option in ("--quiet", "--json"):
            out, err = self.run_panel("run", "--duration", "0.2", option)
            self.assertEqual(err, "")
            self.assertEqual(self.lines(out)[-1]["event"], "end")

    def test_a_change_in_the_plc_is_a_line(self):
        sim = self.sim()
        process = self.start("run")
        wait_for_line(process.stdout, lambda line: '"level"' in line)
        sim.ask("set-register 1 101 42")
        line = json.loads(wait_for_line(process.stdout, lambda line: '"level"' in line)[-1])
        self.assertEqual((line["value"], line["quality"]), (42, "good"))
        self.interrupt(process)

    def test_writes_from_standard_input(self):
        sim = self.sim()
        process = self.start("run", "--stdin", stdin=subprocess.PIPE)
        process.stdin.write("speed = 55.5\nnonsense\n\nlevel=1\n")
        process.stdin.flush()
        errors = []
        while len(errors) < 2:
            errors.append(json.loads(wait_for_line(process.stdout, lambda line: '"error"' in line)[-1]))
        self.assertEqual([error["input"] for error in errors], ["nonsense", "level=1"])
        process.stdin.write("stuck=3\n")
        process.stdin.flush()
        out = wait_for_line(process.stdout, lambda line: '"reverted"' in line)
        write = json.loads(out[-1])
        self.assertEqual((write["event"], write["tag"], write["value"]), ("write", "stuck", 3))
        out, _ = self.interrupt(process)
        self.assertEqual(self.lines(out)[-1]["writes"]["confirmed"], 1)
        self.assertEqual(self.lines(out)[-1]["writes"]["reverted"], 1)
        self.assertEqual(sim.registers(100), [555])

    def test_end_of_standard_input_is_no_end(self):
        self.sim()
        out, _ = self.run_panel("run", "--stdin", "--duration", "1", text="speed=5\npump=0")
        states = [line["state"] for line in self.lines(out) if line.get("event") == "write"]
        self.assertEqual(states, ["confirmed", "confirmed"])

    def test_no_port_at_the_start(self):
        out, err = self.run_panel("run", code=3)
        self.assertEqual(out, "")
        self.assertIn("cannot open port", err)

    def test_a_lost_port_comes_back(self):
        sim = self.sim()
        process = self.start("run")
        wait_for_line(process.stdout, lambda line: '"speed"' in line)
        sim.ask("vanish 300")
        lines = wait_for_line(process.stdout, lambda line: json.loads(line).get("open") is True)
        lines = [json.loads(line) for line in lines]
        self.assertIn(False, [line.get("open") for line in lines])
        self.assertEqual(sorted(line["tag"] for line in lines if line.get("reason") == "port"), sorted(TAG_NAMES))
        good = wait_for_line(process.stdout, lambda line: '"speed"' in line)[-1]
        self.assertEqual(json.loads(good)["quality"], "good")
        out, _ = self.interrupt(process)
        self.assertGreaterEqual(self.lines(out)[-1]["counters"]["reopened"], 1)

    def test_a_reader_that_goes_away_ends_it_quietly(self):
        self.sim("--live", "counter@101")
        process = self.start("run", "--quiet")
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(process.wait(LIMIT), 0)
        self.assertEqual(process.stderr.read(), "")

    def test_a_full_disk_is_told(self):
        self.sim()
        with open("/dev/full", "w", encoding="ascii") as full:
            process = self.start("run", "--quiet", stdout=full)
            self.assertEqual(process.wait(LIMIT), 2)
        self.assertIn("cannot write standard output", process.stderr.read())


class Probe(Case):
    def stations(self, *stations):
        return self.sim("--station", "1", *(word for station in stations for word in ("--station", str(station))))

    def test_finds_stations(self):
        self.settings(timeout=300)
        self.stations(3, 5)
        out, err = self.run_panel("probe", "--to", "6")
        self.assertEqual(err, "")
        self.assertEqual([line.split()[0] for line in out.splitlines()[1:]], ["1", "3", "5"])
        self.assertRegex(out, r"(?m)^ +3 +\d+\.\d{3} ms  answers$")

    def test_json_and_time_out(self):
        self.settings(timeout=60000)
        self.stations(3)
        answers = self.run_json("probe", "--from", "2", "--to", "3", "--timeout-ms", "500")
        self.assertGreaterEqual(answers[0].pop("reply_time_us"), 0)
        self.assertEqual(answers, [{"station": 3, "answers": True, "outcome": "good"}])

    def test_an_exception_is_an_answer(self):
        self.settings(timeout=300)
        self.stations(3).ask("fault exception,code=2")
        out, _ = self.run_panel("probe", "--from", "3", "--to", "4")
        self.assertRegex(out, r"(?m)^ +3 .*answers \(exception: illegal data address\)$")

    def test_nobody(self):
        self.settings(timeout=300)
        self.stations()
        out, err = self.run_panel("probe", "--from", "7", "--to", "8", code=4)
        self.assertEqual(out, "")
        self.assertIn("no station from 7 to 8 answered", err)

    def test_garbled_replies_only(self):
        self.settings(timeout=300)
        self.stations().ask("fault crc-swapped")
        out, _ = self.run_panel("probe", "--to", "2", code=5)
        self.assertIn("garbled (crc)", out)

    def test_no_port(self):
        self.run_panel("probe", code=3)

    def test_port_lost(self):
        self.stations().ask("fault port-gone,ms=3000")
        _, err = self.run_panel("probe", "--to", "2", code=3)
        self.assertIn("went away", err)


class OtherLines(Case):
    def test_several_stations_of_which_one_is_dead(self):
        self.settings(timeout=300, several=True)
        self.write_file("tags.csv", TAGS.splitlines()[0] + "\na,7,100,1,,,,,,\nb,7,100,2,,,,,,\nall,7,100,0,,,,,,w\n")
        sim = self.sim("--station", "1", "--station", "2")
        out, err = self.run_panel("write", "all=77")
        self.assertRegex(out, r"\nall +77 +done\n$")
        self.assertEqual(sim.registers(100, 1, 1) + sim.registers(100, 1, 2), [77, 77])
        sim.ask("stop-answering 2")
        tags = self.run_json("read", code=4)
        self.assertEqual([(tag["tag"], tag["value"], tag["quality"], tag["reason"]) for tag in tags],
                         [("a", 77, "good", ""), ("b", None, "bad", "timeout")])
        writes = self.run_json("write", "b=1", "a=2", code=4)
        self.assertEqual([(write["tag"], write["state"]) for write in writes], [("b", "failed"), ("a", "confirmed")])

    def test_remote_format(self):
        self.settings(timeout=200, format="remote")
        sim = self.sim("--format", "remote")
        self.assertRegex(self.run_panel("write", "speed=44.4")[0], r"speed +44\.4 +rpm +confirmed\n")
        self.assertEqual(sim.registers(100), [444])
        self.assertEqual(self.run_json("read", "speed")[0]["value"], 44.4)
        out, _ = self.run_panel("probe", "--to", "2")
        self.assertEqual([line.split()[0] for line in out.splitlines()[1:]], ["1"])


REQUEST, REPLY = "010300000002C40B", "010304000100022A32"


class Decode(Case):
    def test_bytes_as_arguments_are_one_frame(self):
        out, err = self.run_panel("decode", "01", "03", "0x00", "00", "00", "02", "C4", "0b")
        self.assertEqual(err, "")
        self.assertTrue(out.startswith("request to station 1: read holding registers (03)"), out)
        self.assertIn("CRC C4 0B is right", out)

    def test_two_frames_are_a_request_and_its_reply(self):
        out, _ = self.run_panel("decode", REQUEST, REPLY)
        self.assertIn("reply of station 1", out)
        self.assertIn("register 1 (code 7 at 1) = 2 (0x0002)", out)

    def test_standard_input(self):
        out, err = self.run_panel("decode", text="# a log\ntx %s\n\nrx %s" % (REQUEST, REPLY))
        self.assertEqual(err, "")
        self.assertIn("register 0 (code 7 at 0) = 1 (0x0001)", out)

    def test_json(self):
        frames = self.run_json("decode", REQUEST)
        self.assertEqual([frame["hex"] for frame in frames], [REQUEST.lower()])
        self.assertTrue(frames[0]["words"][0].startswith("request to station 1"))

    def test_wrong_hex(self):
        out, err = self.run_panel("decode", "01 0G", code=2)
        self.assertEqual(out, "")
        self.assertIn("ecpanel: '01 0G': character 5", err)
        out, err = self.run_panel("decode", code=2, text="%s\nxyz\n" % REQUEST)
        self.assertIn("request to station 1", out)
        self.assertIn("ecpanel: standard input:2: ", err)

    def test_frames_and_trace_together(self):
        self.run_panel("decode", REQUEST, "--trace", "some", code=2)

    def test_driver_option(self):
        self.run_panel("decode", REQUEST, "--driver", DRIVER)
        _, err = self.run_panel("decode", REQUEST, "--driver", "none.so", code=2)
        self.assertIn("no driver at", err)


class Traces(Case):
    def trace(self):
        self.sim()
        self.run_panel("write", "speed=7", "pump=0", "--trace", "a.trace")
        return self.read_file("a.trace")

    def test_replay_finds_no_difference(self):
        self.trace()
        out, err = self.run_panel("replay", "a.trace")
        self.assertEqual(err, "")
        self.assertRegex(out, r"^[1-9]\d* transactions, [1-9]\d* calls of the driver, [1-9]\d* bytes compared\n"
                              r"no difference\n$")
        report = self.run_json("replay", "a.trace")
        self.assertTrue(report["same"] and report["complete"])

    def test_replay_finds_a_changed_frame(self):
        lines = self.trace().splitlines(True)
        number = next(i for i, line in enumerate(lines) if " tx " in line)
        words = lines[number].split(" ")
        at = words.index("tx") + 1
        words[at] = "02" + words[at][2:]
        lines[number] = " ".join(words)
        self.write_file("b.trace", "".join(lines))
        out, _ = self.run_panel("replay", "b.trace", code=5)
        self.assertIn("b.trace:%d: expected " % (number + 1), out)
        self.assertIn("differences: 1\n", out)
        self.assertNotIn("may follow", out)
        report = self.run_json("replay", "b.trace", code=5)
        self.assertEqual((report["same"], report["difference_count"], report["differences"][0]["line"]),
                         (False, 1, number + 1))

    def test_replay_shows_the_first_differences(self):
        self.sim()
        for seconds in ("0.5", "5", "20"):  # a busy machine takes longer for so many
            self.run_panel("run", "--duration", seconds, "--quiet", "--trace", "a.trace")
            if self.read_file("a.trace").count(" tx ") > 20:
                break
        self.write_file("b.trace", re.sub(r"(?m)^(\S+ tx )..", r"\g<1>02", self.read_file("a.trace")))
        count = self.run_json("replay", "b.trace", code=5)["difference_count"]
        self.assertGreater(count, 20)
        out, _ = self.run_panel("replay", "b.trace", code=5)
        self.assertEqual(out.count("b.trace:"), 20)
        self.assertEqual(out.splitlines()[2], "What follows may follow from it:")
        self.assertIn("... and %d more; --all prints them\n" % (count - 20), out)
        out, _ = self.run_panel("replay", "b.trace", "--all", code=5)
        self.assertEqual(out.count("b.trace:"), count)
        self.assertEqual(out.count("may follow"), 1)

    def test_replay_of_what_cannot_be_read(self):
        _, err = self.run_panel("replay", "none.trace", code=2)
        self.assertIn("ecpanel: cannot read none.trace", err)
        out, err = self.run_panel("replay", "tags.csv", code=2)
        self.assertEqual(out, "")
        self.assertEqual(err.count("\n"), 1)
        self.assertTrue(err.startswith("tags.csv:1: "), err)
        self.write_file("empty.trace", "")
        for verb in (["replay"], ["decode", "--trace"]):
            _, err = self.run_panel(*verb, "empty.trace", code=2)
            self.assertEqual(err, "empty.trace: is empty: expected a trace\n")

    def test_decode_of_a_trace(self):
        self.trace()
        out, err = self.run_panel("decode", "--trace", "a.trace")
        self.assertEqual(err, "")
        self.assertIn("write", out)
        self.assertEqual(self.run_json("decode", "--trace", "a.trace"), out.splitlines())
        _, err = self.run_panel("decode", "--trace", "tags.csv", code=2)
        self.assertIn("tags.csv", err)

    def test_a_trace_takes_the_place_of_a_trace_only(self):
        sim = self.sim()
        before = sim.count("requests")
        os.symlink("tags.csv", self.path("link"))
        self.write_file("notes.txt", "mine\n")
        for name in ("tags.csv", "line.toml", "link", DRIVER, "notes.txt"):
            with open(os.path.join(self.folder, name), "rb") as file:
                content = file.read()
            for verb in (["read"], ["write", "speed=1"], ["watch"], ["run"], ["probe"]):
                out, err = self.run_panel(*verb, "--trace", name, code=2)
                self.assertEqual(out, "")
                self.assertTrue(err.startswith("ecpanel: --trace %s: " % name), err)
            with open(os.path.join(self.folder, name), "rb") as file:
                self.assertEqual(file.read(), content)
        self.assertEqual(sim.count("requests"), before)
        self.write_file("old.trace", "# ecpanel trace 1\nold\n")
        self.write_file("empty", "")
        for name in ("old.trace", "empty", "new"):
            self.run_panel("read", "speed", "--trace", name)
            self.run_panel("replay", name)

    def test_trace_that_cannot_be_written(self):
        sim = self.sim()
        before = sim.count("requests")
        for verb in (["read"], ["write", "speed=1"], ["run"], ["probe"]):
            _, err = self.run_panel(*verb, "--trace", "nowhere/a.trace", code=2)
            self.assertIn("nowhere/a.trace", err)
        self.assertEqual(sim.count("requests"), before)

    def test_trace_on_a_full_disk_is_told(self):
        self.sim()
        _, err = self.run_panel("read", "--trace", "/dev/full", code=2)
        self.assertIn("/dev/full", err)

    def test_trace_that_fails_later_is_told(self):
        self.sim()
        os.mkfifo(self.path("fifo"))
        process = self.start("run", "--duration", "1", "--quiet", "--trace", "fifo")
        with open(self.path("fifo"), encoding="ascii") as reader:
            self.assertEqual(reader.readline(), "# ecpanel trace 1\n")
        _, err = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 2)
        self.assertRegex(err, r"^ecpanel: fifo: .*\n$")

    def fails_later(self, *arguments, code):
        """A verb whose trace finds room for its beginning only."""
        # Python ignores the signal of a file that is too long; a child that keeps it so sees an error instead.
        process = self.start(*arguments, "--trace", "a.trace", restore_signals=False,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (300, 300)))
        _, err = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, code, err)
        self.assertEqual(os.path.getsize(self.path("a.trace")), 300)
        self.assertEqual(err.count("a.trace: the trace ends here"), 1)
        return err

    def test_every_verb_tells_a_trace_that_fails_later(self):
        self.sim()
        for verb in (["read"], ["write", "speed=1"], ["watch", "--duration", "0.5", "--quiet"],
                     ["run", "--duration", "0.5", "--quiet"], ["probe", "--to", "2", "--timeout-ms", "500"]):
            with self.subTest(verb=verb[0]):
                self.fails_later(*verb, code=2)

    def test_what_went_wrong_on_the_line_counts_more_than_its_trace(self):
        sim = self.sim()
        sim.ask("stop-answering 1")
        self.settings(timeout=300)
        self.fails_later("read", code=4)
        self.fails_later("write", "speed=1", code=4)


class Watch(Case):
    def test_plain_lines_where_there_is_no_terminal(self):
        self.sim()
        out, _ = self.run_panel("watch", "--duration", "1")
        self.assertRegex(out, r"speed = 12\.5 rpm good")


    def test_a_station_that_falls_silent_is_told(self):
        self.settings(timeout=300)
        sim = self.sim()
        process = self.start("watch")
        wait_for_line(process.stdout, lambda line: "speed" in line)
        for command, words in (("stop-answering 1", "does not answer"), ("answer 1", "answers again")):
            sim.ask(command)
            wait_for_line(process.stdout, lambda line: line.endswith(" station 1 %s\n" % words))
        self.interrupt(process)


class Interrupted(Case):
    """Ctrl-C, the end of the session and a plain kill end every verb with 130."""

    def start_in_silence(self, *arguments):
        """Starts a verb that is never answered, and waits until it has asked."""
        before = self.sim_process.count("swallowed-bytes")
        process = self.start(*arguments)
        wait_until(lambda: self.sim_process.count("swallowed-bytes") > before)
        return process

    def silence(self):
        self.settings(timeout=300, retries=100)
        self.sim_process = self.sim()
        self.sim_process.ask("unplug")

    def test_read(self):
        self.silence()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start_in_silence("read")
            out, err = self.interrupt(process, number)
            self.assertRegex(out, r"speed +- +rpm +bad \(never-read\) +-\n")
            self.assertEqual(err, "")

    def test_write(self):
        self.silence()
        process = self.start_in_silence("write", "speed=1")
        out, _ = self.interrupt(process)
        self.assertRegex(out, r"speed +1 +rpm +unknown \(sent, not answered\)\n")

    def test_write_with_more_behind_it(self):
        self.silence()
        process = self.start_in_silence("write", "speed=1", "stuck=2", "--json")
        out, _ = self.interrupt(process)
        self.assertEqual([(write["tag"], write["state"]) for write in json.loads(out)],
                         [("speed", "unknown"), ("stuck", "not-sent")])

    def test_write_whose_answer_is_waited_for_long(self):
        self.silence()
        self.settings(timeout=60000)
        process = self.start_in_silence("write", "speed=1", "stuck=2")
        out, _ = self.interrupt(process)
        self.assertRegex(out, r"speed +1 +rpm +unknown \(sent, not answered\)\nstuck +2 +not sent\n$")

    def test_run(self):
        self.sim()
        process = self.start("run")
        wait_for_line(process.stdout, lambda line: '"speed"' in line)
        out, err = self.interrupt(process)
        self.assertEqual(json.loads(out.splitlines()[-1])["event"], "end")
        self.assertRegex(err, r"(?m)^all ")

    def test_watch(self):
        self.sim()
        process = self.start("watch")
        wait_for_line(process.stdout, lambda line: "speed" in line)
        self.interrupt(process)

    def test_probe(self):
        self.settings(timeout=300)
        sim = self.sim()
        process = self.start("probe")
        # Another station than the first is asked.
        wait_until(lambda: sim.count("other-stations") > 0)
        out, err = self.interrupt(process)
        self.assertRegex(out, r"(?m)^ +1 .*answers$")
        self.assertRegex(err, r"^stopped at station \d+\n$")

    def test_decode(self):
        process = self.start("decode", stdin=subprocess.PIPE)
        process.stdin.write(REQUEST + "\n")
        process.stdin.flush()
        wait_for_line(process.stdout, lambda line: "is right" in line)
        self.interrupt(process)

    def test_verbs_that_wait_for_a_file(self):
        os.mkfifo(self.path("fifo"))
        for verb in (["replay", "fifo"], ["decode", "--trace", "fifo"], ["check", "--settings", "fifo"],
                     ["plan", "--tags", "fifo"]):
            process = self.start(*verb)
            writer = self.writer("fifo")
            self.interrupt(process)
            os.close(writer)

    def writer(self, name):
        """Opens a pipe as soon as somebody reads it."""
        opened = []

        def is_open():
            try:
                opened.append(os.open(self.path(name), os.O_WRONLY | os.O_NONBLOCK))
            except OSError as error:
                self.assertEqual(error.errno, errno.ENXIO)
            return bool(opened)

        wait_until(is_open)
        return opened[0]

    def test_demo(self):
        process = self.start("demo", "--sim", ECSIM, "--driver", DRIVER, "--live-seconds", "60")
        self.assertTrue(select.select([process.stdout], [], [], LIMIT)[0])
        self.interrupt(process)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
