"""Learns which tests reach which mutants, and how long they take: each is run once without a mutant."""
import dataclasses
import json
import math
import os
import resource
import signal
import subprocess
import tempfile

from build import digest

QUICK, PATIENCE = 1, 120  # seconds of the processor
MEMORY = 2 << 30
MOST_MUTANTS = 100000


@dataclasses.dataclass
class Trial:
    """A test program, or one slot of one that is not quick."""
    name: str
    command: list
    stamp: str
    seconds: float
    reached: frozenset


def limited(command, seconds):
    """Ends what runs for too long, takes all memory, or writes behind a piece of it."""
    whole = math.ceil(seconds)
    limits = [f"--cpu={whole}:{whole + 1}", f"--as={MEMORY}", "--core=0"]
    return ["prlimit", *limits, "--", *command, "-nocrashhandler"]


def environment(**more):
    kept = {name: value for name, value in os.environ.items() if not name.startswith("EC_")}
    return dict(kept, LD_PRELOAD="libc_malloc_debug.so.0", MALLOC_CHECK_="3", MALLOC_PERTURB_="165", **more)


def slots_of(program):
    listed = subprocess.run([program, "-functions"], stdout=subprocess.PIPE, check=True, env=environment()).stdout
    return [line.removesuffix("()") for line in listed.decode().split()]


class Recorder:
    """Remembers in a folder what it has learnt, for as long as driver and test stay the same."""

    def __init__(self, copy, folder, quick_only):
        """copy is a digest of the mutated copy."""
        self.copy, self.folder, self.quick_only = copy, folder, quick_only
        os.makedirs(folder, exist_ok=True)

    def all(self, programs):
        """The trials, quickest first. One is run at a time, because each is measured."""
        trials = []
        for name, (program, stamp) in sorted(programs.items()):
            whole = self.trial(name, [program], stamp, QUICK)
            if whole is not None:
                trials.append(whole)
                continue
            limit = QUICK if self.quick_only else PATIENCE
            slots = [self.trial(f"{name}:{slot}", [program, slot], stamp, limit) for slot in slots_of(program)]
            trials += [slot for slot in slots if slot is not None]
        return sorted(trials, key=lambda trial: trial.seconds)

    def trial(self, name, command, stamp, limit):
        """A trial; None when it takes longer than the limit."""
        path = os.path.join(self.folder, name.replace(":", "-"))
        known = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                known = json.load(file)
        if known.get("stamp") != digest(self.copy, stamp) or (known["limit"] < limit and known["seconds"] is None):
            known = {"stamp": digest(self.copy, stamp), "limit": limit} | self.run(name, command, limit)
            with open(path, "w", encoding="utf-8") as file:
                json.dump(known, file)
        if known["seconds"] is None:
            return None
        return Trial(name, command, stamp, known["seconds"], frozenset(known["reached"]))

    def run(self, name, command, limit):
        with tempfile.NamedTemporaryFile(dir=self.folder) as marks:
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            done = subprocess.run(limited(command, limit), stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  check=False, env=environment(EC_MUTANT_REACHED=marks.name))
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            if done.returncode == -signal.SIGXCPU:
                return {"seconds": None, "reached": []}
            if done.returncode != 0:
                raise SystemExit(f"mutation: {name} fails without a mutant:\n{done.stdout.decode()[-3000:]}")
            with open(marks.name, "rb") as file:
                reached = [number for number, mark in enumerate(file.read(MOST_MUTANTS)) if mark]
        return {"seconds": after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, "reached": reached}
