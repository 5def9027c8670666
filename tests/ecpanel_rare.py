#!/usr/bin/env python3
"""What seldom happens to the verbs of the built ecpanel: odd files and options, and readers that have stopped reading.

Usage: ecpanel_rare.py ECPANEL ECSIM DRIVER SOURCE_DIR [unittest arguments]
"""
import array
import fcntl
import json
import os
import shutil
import signal
import subprocess
import sys
import termios
import unittest

import ecpanel_program as program

HEADER = program.TAGS.splitlines()[0] + "\n"
ONE_TAG = HEADER + "speed,7,100,,,uint16,,0.1,rpm,rw\n"
WRITE_ONLY = HEADER + "command,7,160,,,uint16,,,,w\n"


def unread(stream):
    """How many bytes wait in a pipe."""
    count = array.array("i", [0])
    fcntl.ioctl(stream, termios.FIONREAD, count)
    return count[0]


class Files(program.Case):
    def test_summary_of_one_tag(self):
        self.write_file("tags.csv", ONE_TAG)
        self.assertIn("tags.csv: 1 tag; nothing wrong\n", self.run_panel("check")[0])

    def test_summary_of_several_stations(self):
        self.settings(several=True)
        self.write_file("tags.csv", HEADER + "a,7,100,3,,,,,,\n")
        out, _ = self.run_panel("check")
        self.assertIn("115200 baud 8N1, several stations; nothing wrong\n", out)
        self.assertRegex(out, r"\n +3 +7 +1 +1 +1 +1\n$")

    def test_export_on_a_full_disk_is_told(self):
        _, err = self.run_panel("check", "--quiet", "--export", "/dev/full", code=2)
        self.assertRegex(err, r"^ecpanel: cannot write /dev/full: No space left on device; ")

    def test_every_verb_needs_right_settings_and_tags(self):
        self.write_file("wrong.toml", self.read_file("line.toml").replace("115200", "1"))
        for verb in (["read"], ["write", "speed=1"], ["watch"], ["run"], ["plan"], ["check"]):
            out, err = self.run_panel(*verb, "--settings", "wrong.toml", code=2)
            self.assertEqual(out, "")
            self.assertRegex(err, r"^wrong\.toml:3: line\.baud: .*\n.*tags\.csv: not looked at: ")
        out, err = self.run_panel("probe", "--settings", "wrong.toml", code=2)
        self.assertRegex(err, r"^wrong\.toml:3: line\.baud: .*\n$")
        out, err = self.run_panel("watch", "sped", code=2)
        self.assertEqual((out, err), ("", "ecpanel: sped: no such tag in tags.csv\n"))

    def test_drivers_that_are_none(self):
        for path, words in (("/dev/null", "cannot read /dev/null: expected a driver library\n"),
                            (program.ECPANEL, "cannot load %s: expected a driver library, the loader says: "
                             % program.ECPANEL)):
            for verb in ("check", "decode"):
                _, err = self.run_panel(verb, "--driver", path, code=2)
                self.assertTrue(err.startswith("ecpanel: " + words), err)
        _, err = self.run_panel("replay", "--driver", "none.so", "a.trace", code=2)
        self.assertIn("ecpanel: no driver at ", err)

    def test_the_driver_is_found_where_it_is_installed(self):
        for folder in ("bin", "lib/emerson_ec_series"):
            os.makedirs(self.path(folder))
        shutil.copy(program.ECPANEL, self.path("bin"))
        verb = [self.path("bin/ecpanel"), "decode", "01"]
        missing = subprocess.run(verb, capture_output=True, text=True, timeout=program.LIMIT)
        self.assertEqual(missing.returncode, 2)
        self.assertIn("ecpanel: no driver at %s: " % self.path("bin/libemerson_ec_series.so"), missing.stderr)
        self.assertIn("; --driver takes another\n", missing.stderr)
        os.symlink(program.DRIVER, self.path("lib/emerson_ec_series/libemerson_ec_series.so"))
        found = subprocess.run(verb, capture_output=True, text=True, timeout=program.LIMIT)
        self.assertEqual((found.returncode, found.stderr), (0, ""))

    def test_an_option_without_a_verb(self):
        _, err = self.run_panel("--colour", code=2)
        self.assertRegex(err, r"^ecpanel: .* \(see ecpanel --help\)\n$")


class Plan(program.Case):
    def test_nothing_to_read(self):
        self.write_file("tags.csv", WRITE_ONLY)
        out, _ = self.run_panel("plan")
        self.assertIn("requests a pass  0\n", out)
        self.assertIn("0 useful, 0 read (100 % useful), 0 on the line\n", out)
        self.assertRegex(out, r"115200 baud 8N1 \(chosen\) +0\.0 ms +-\n")
        _, err = self.run_panel("plan", "--suggest", code=2)
        self.assertEqual(err, "ecpanel: no tag that can be read: expected at least one, to plan for\n")

    def test_another_baud(self):
        out, _ = self.run_panel("plan", "--baud", "9600")
        self.assertIn("9600 baud 8N1 (chosen)", out)
        self.assertIn("115200 baud 8N1 ", out)

    def test_blocks_cut_by_length_and_by_the_map(self):
        self.write_file("line.toml", self.read_file("line.toml").replace("max_block_len = 32", "max_block_len = 4"))
        self.write_file("tags.csv", HEADER + "a,7,100,,8,,,,,\nb,8,252,,8,,,,,\n")
        out, _ = self.run_panel("plan")
        self.assertRegex(out, r" 100-103 +registers 100-103 +8 +8 +cut: length +a\n")
        self.assertRegex(out, r" 252-255 +registers 8252-8255 +8 +8 +cut: map +b\n")
        self.assertIn("1 where the PLC's numbers jump, 1 by max_block_len\n", out)

    def test_a_better_length_is_suggested(self):
        self.write_file("line.toml", self.read_file("line.toml").replace("max_block_len = 32", "max_block_len = 2"))
        self.write_file("tags.csv", HEADER + "a,7,100,,32,,,,,\n")
        out, _ = self.run_panel("plan", "--suggest")
        self.assertRegex(out, r"(?m)^2 +16 +64 +64 .*<- now$")
        self.assertRegex(out, r"(?m)^32-\d+ +1 +64 +64 .* 1\.00 +<- shortest$")
        self.assertRegex(out, r"\nSuggested: max_block_len = 32, a pass of \d+\.\d ms\. "
                              r"The settings have 2, a pass of \d+\.\d ms\.\n$")
        found = self.run_json("plan", "--suggest")
        self.assertEqual((found["max_block_len"], found["suggested"], found["trials"][0]["requests"]), (2, 32, 16))
        self.assertEqual(found["pass_ms"], min(trial["pass_ms"] for trial in found["trials"]))


class Decode(program.Case):
    def test_three_digits_are_no_byte(self):
        _, err = self.run_panel("decode", "123", code=2)
        self.assertIn("ecpanel: '123': character 4: ", err)

    def test_a_line_without_end_is_cut(self):
        out, err = self.run_panel("decode", code=2, text="00 01" + " " * 1100000 + "zz\n")
        self.assertTrue(out.startswith("2 bytes"), out[:100])
        self.assertIn("ecpanel: standard input:2: character 1", err)

    def test_standard_input_that_cannot_be_read_ends_it(self):
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        process = self.start("decode", stdin=folder)
        self.assertEqual(process.communicate(timeout=program.LIMIT), ("", ""))
        self.assertEqual(process.returncode, 0)

    def test_what_can_be_read_of_a_damaged_trace(self):
        self.sim()
        self.run_panel("read", "--trace", "a.trace")
        text = self.read_file("a.trace")
        self.write_file("b.trace", text + "garbage\n")
        out, err = self.run_panel("decode", "--trace", "b.trace", code=2)
        self.assertRegex(err, r"^b\.trace:%d: garbage: " % (text.count("\n") + 1))
        self.assertEqual(out, self.run_panel("decode", "--trace", "a.trace")[0])

    def test_a_trace_onto_a_full_disk_is_told(self):
        self.sim()
        self.run_panel("read", "--trace", "a.trace")
        with open("/dev/full", "w", encoding="ascii") as full:
            process = self.start("decode", "--trace", "a.trace", stdout=full)
            self.assertEqual(process.wait(program.LIMIT), 2)
        self.assertIn("cannot write standard output", process.stderr.read())

    def test_interrupted_while_it_waits(self):
        process = self.start("decode", stdin=subprocess.PIPE)
        process.stdin.write("01\n")
        process.stdin.flush()
        program.wait_for_line(process.stdout, lambda line: line.startswith("1 byte"))
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(program.LIMIT), 130)

    def test_interrupted_while_nobody_reads_its_output(self):
        self.write_file("frames", (program.REQUEST + "\n") * 3000)
        with open(self.path("frames"), encoding="ascii") as frames:
            process = self.start("decode", stdin=frames)
        size = fcntl.fcntl(process.stdout, fcntl.F_GETPIPE_SZ)
        program.wait_until(lambda: unread(process.stdout) > size - 4096)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(program.LIMIT), 130)


class Replay(program.Case):
    def setUp(self):
        super().setUp()
        self.sim()
        self.run_panel("read", "--trace", "a.trace")

    def test_a_trace_without_end(self):
        lines = self.read_file("a.trace").splitlines(True)
        self.write_file("b.trace", "".join(lines[:-1]))
        out, _ = self.run_panel("replay", "b.trace")
        self.assertEqual(out.splitlines()[1:],
                         ["the trace has no end: the image could not be compared", "no difference"])
        self.write_file("c.trace", "# ecpanel trace 1")
        out, _ = self.run_panel("replay", "c.trace")
        self.assertTrue(out.startswith("0 transactions, 0 calls of the driver, 0 bytes compared\n"), out)

    def test_what_cannot_be_replayed(self):
        lines = self.read_file("a.trace").splitlines(True)
        self.write_file("b.trace", "".join(lines[:1] + lines[2:]))
        out, err = self.run_panel("replay", "b.trace", code=2)
        self.assertEqual(out, "")
        self.assertRegex(err, r"^b\.trace: line 3: describe .*: expected settings before anything else\n$")

    def test_a_file_that_fails_when_it_is_read(self):
        for name, words in (("/proc/self/mem", "Input/output error"), (".", "directory")):
            _, err = self.run_panel("replay", name, code=2)
            self.assertRegex(err, r"^ecpanel: cannot read %s: .*%s; expected a file\n$" % (name, words))


class OnTheLine(program.Case):
    def test_watch_as_json(self):
        self.sim()
        out, err = self.run_panel("watch", "--json", "--duration", "0.5")
        self.assertEqual(err, "")
        lines = [json.loads(line) for line in out.splitlines()]
        self.assertEqual(sorted(line["tag"] for line in lines if "tag" in line), sorted(program.READABLE))
        self.assertEqual(lines[-1]["event"], "end")
        self.assertNotIn("pass", [line.get("event") for line in lines])

    def test_watch_without_a_port(self):
        _, err = self.run_panel("watch", code=3)
        self.assertIn("ecpanel: cannot open port ", err)

    def test_watch_tells_a_lost_port_once(self):
        sim = self.sim()
        process = self.start("watch")
        program.wait_for_line(process.stdout, lambda line: "speed" in line)
        sim.ask("vanish 600")
        lines = program.wait_for_line(process.stdout, lambda line: "port open again" in line)
        news = [line.split(" ", 1)[1][:17] for line in lines if " port" in line and " = " not in line]
        self.assertEqual(news, ["port lost\n", "cannot open port ", "port open again\n"])
        self.interrupt(process)

    def test_stations_that_are_switched_off(self):
        self.settings(timeout=50, several=True)
        self.write_file("line.toml", self.read_file("line.toml") + "\n[stations]\noff_after = 1\n")
        self.write_file("tags.csv", HEADER + "a,7,100,1,,,,,,\nb,7,100,2,,,,,,\nc,2,0,2,,,,,,\n")
        sim = self.sim("--station", "1", "--station", "2")
        sim.ask("stop-answering 2")
        tags = self.run_json("read", code=4)
        self.assertEqual([(tag["tag"], tag["quality"], tag["reason"]) for tag in tags],
                         [("a", "good", ""), ("b", "bad", "station-off"), ("c", "bad", "station-off")])
        process = self.start("watch")
        program.wait_for_line(process.stdout, lambda line: line.endswith(" station 2 off\n"))
        self.interrupt(process)

    def test_wrong_lengths(self):
        self.sim("--fault", "extra-after")
        out, _ = self.run_panel("read", "speed", "--raw", code=5)
        self.assertIn("bad (length)", out)
        out, _ = self.run_panel("write", "speed=1", "--raw", code=5)
        self.assertIn("failed (length)", out)
        out, _ = self.run_panel("probe", "--to", "1", "--raw", code=5)
        self.assertIn("garbled (length)", out)

    def test_a_garbled_echo_of_a_write(self):
        self.sim("--fault", "crc-swapped")
        out, _ = self.run_panel("write", "speed=1", code=5)
        self.assertIn("failed (crc)", out)

    def test_a_failure_counts_more_than_lost_output(self):
        self.settings(timeout=50)
        self.sim().ask("unplug")
        with open("/dev/full", "w", encoding="ascii") as full:
            process = self.start("read", stdout=full)
            self.assertEqual(process.wait(program.LIMIT), 4)
        self.assertIn("cannot write standard output", process.stderr.read())

    def test_a_failure_counts_more_than_a_lost_trace(self):
        self.settings(timeout=50)
        self.sim().ask("unplug")
        os.mkfifo(self.path("fifo"))
        process = self.start("read", "--trace", "fifo")
        with open(self.path("fifo"), encoding="ascii") as reader:
            self.assertEqual(reader.readline(), "# ecpanel trace 1\n")
        _, err = process.communicate(timeout=program.LIMIT)
        self.assertEqual(process.returncode, 4, err)

    def test_probe_without_settings_of_tags_takes_the_place_of_a_trace(self):
        self.settings(timeout=50)
        os.remove(self.path("tags.csv"))
        self.sim()
        for _ in range(2):
            self.run_panel("probe", "--to", "1", "--trace", "a.trace")
        self.run_panel("replay", "a.trace")

    def test_probe_quietly(self):
        self.settings(timeout=50)
        sim = self.sim()
        self.assertEqual(self.run_panel("probe", "--from", "7", "--to", "7", "--quiet", code=4), ("", ""))
        sim.ask("fault port-gone,ms=3000")
        _, err = self.run_panel("probe", "--to", "200", code=3)
        self.assertIn("went away", err)

    def test_probe_interrupted_before_any_answer(self):
        self.settings(timeout=60000)
        sim = self.sim()
        for options, note in ((["--from", "8"], "stopped at station 8\n"), (["--from", "8", "--quiet"], "")):
            before = sim.count("other-stations")
            process = self.start("probe", *options)
            program.wait_until(lambda: sim.count("other-stations") > before)
            self.assertEqual(self.interrupt(process), ("", note))

    def test_run_reads_long_and_broken_lines(self):
        self.sim()
        out, _ = self.run_panel("run", "--stdin", "--duration", "0.5", "--quiet", text="x" * 70000)
        lines = [json.loads(line) for line in out.splitlines()]
        errors = [line for line in lines if line.get("event") == "error"]
        self.assertEqual("".join(error["input"] for error in errors), "x" * 70000)
        self.assertGreater(len(errors), 1)
        self.assertEqual(lines[-1]["event"], "end")

    def test_run_with_standard_input_that_cannot_be_read(self):
        self.sim()
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        process = self.start("run", "--stdin", "--duration", "0.2", "--quiet", stdin=folder)
        out, err = process.communicate(timeout=program.LIMIT)
        self.assertEqual((process.returncode, err), (0, ""))
        self.assertEqual(json.loads(out.splitlines()[-1])["event"], "end")


# Passes everything on to the simulated PLC and back but one command: at that it ends, or refuses it.
ODD_PLC = """#!%(python)s -B
import os, subprocess, sys, threading
plc = subprocess.Popen(["%(ecsim)s", *sys.argv[1:]], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

def pass_on():
    for line in plc.stdout:
        print(line, end="", flush=True)

threading.Thread(target=pass_on, daemon=True).start()
for line in sys.stdin:
    if line.startswith("%(command)s"):
        if "%(what)s" == "end":
            break
        print("error: no", flush=True)
    else:
        plc.stdin.write(line)
        plc.stdin.flush()
plc.stdin.close()
plc.wait()
os._exit(0)
"""


class Demo(program.Case):
    def plc(self, name, command, what):
        self.write_file(name, ODD_PLC % {"python": sys.executable, "ecsim": program.ECSIM, "command": command,
                                         "what": what})
        os.chmod(self.path(name), 0o755)
        return self.path(name)

    def test_one_that_cannot_begin(self):
        self.write_file("notes.txt", "mine\n")
        for options, words in ((["--sim", "/bin/true"], "ecpanel: /bin/true did not start: "),
                               (["--sim", "/nonexistent"], "ecpanel: no simulated PLC at /nonexistent: "),
                               (["--trace", "notes.txt"], "ecpanel: --trace notes.txt: exists and is no trace: ")):
            out, err = self.run_panel("demo", "--driver", program.DRIVER, *options, code=2)
            self.assertEqual(out, "")
            self.assertTrue(err.startswith(words), err)

    def test_a_plc_that_ends_or_refuses_in_the_middle_is_told(self):
        # At once, for each takes seconds in which it only waits.
        running = []
        for command, what in (("coils 1 0 65536", "end"), ("registers", "end"), ("registers", "refuse"),
                              ("unplug", "end"), ("plug", "end"), ("vanish", "end"), ("statistics", "refuse")):
            name = "%s-%s" % (command.split()[0], what)
            running.append((name, self.start("demo", "--patience", "5", "--live-seconds", "1", "--driver",
                                             program.DRIVER, "--sim", self.plc(name, command, what))))
        for name, process in running:
            with self.subTest(name=name):
                out, err = process.communicate(timeout=program.LIMIT)
                self.assertEqual(process.returncode, 3, out + err)
                self.assertRegex(err, r"^ecpanel: (the simulated PLC did not carry out|.*/%s has ended: )" % name)
                self.assertNotIn("checks passed", out)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
