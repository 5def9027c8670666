"""Mutation testing of the driver: see README.md in this folder."""
import argparse
import glob
import json
import os
import random
import time

import build
import reach
import report
import schemata
import seeded
import sites
import trials

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
ROOM = os.path.join(ROOT, "proof/mutation")
SAMPLE, SEED = 60, 20261121


def unit_tests():
    """The tests that are linked with the driver's objects."""
    names = [os.path.basename(path)[:-4] for path in sorted(glob.glob(os.path.join(ROOT, "tests/tst_*.cpp")))]
    return [name for name in names if not name.startswith(("tst_plugin_", "tst_sim_", "tst_panel_", "tst_steady_heap"))]


def driver_digest():
    """Of the driver's own text, which an outcome holds for."""
    return build.digest(*(build.content(path) for room in sites.ROOMS
                          for path in sorted(glob.glob(f"{ROOT}/{room}/*.h") + glob.glob(f"{ROOT}/{room}/*.cpp"))))


def mutated_copy(release, target, jobs):
    """The mutants; what has not changed is not parsed again."""
    commands = sites.driver_commands(ROOT, release)
    makers = [build.content(os.path.join(ROOM, name)) for name in ("operators.py", "sites.py", "schemata.py")]
    stamp = build.digest(driver_digest(), *makers, json.dumps(commands, sort_keys=True))
    mutants, copy = os.path.join(target, "src/mutants.json"), os.path.join(target, "src")
    if build.read_text(os.path.join(target, "stamp")) == stamp:
        with open(mutants, encoding="utf-8") as file:
            return commands, json.load(file)
    found = schemata.write(ROOT, copy, schemata.collect(ROOT, commands, jobs))
    with open(os.path.join(target, "stamp"), "w", encoding="utf-8") as file:
        file.write(stamp)
    return commands, found


def prepare(options):
    """Everything up to the first mutant: (mutants, judge)."""
    release, target = os.path.join(ROOT, "build/release"), os.path.join(ROOT, "build/mutation")
    os.makedirs(target, exist_ok=True)
    began = time.monotonic()
    commands, mutants = mutated_copy(release, target, options.jobs)
    makers = build.Build(ROOT, release, target, commands, options.jobs)
    objects, copy = makers.objects()
    programs = makers.tests(unit_tests(), objects, copy)
    files = len({m["file"] for m in mutants})
    print(f"mutation: {len(mutants)} mutants in {files} files, {len(programs)} tests linked with them after "
          f"{time.monotonic() - began:.0f} s", flush=True)
    found = reach.Recorder(copy, os.path.join(target, "reached"), options.quick).all(programs)
    print(f"mutation: {len(found)} trials recorded after {time.monotonic() - began:.0f} s", flush=True)
    reviewed = report.read_reviewed(os.path.join(ROOM, "equivalent.txt"))
    spared = lambda mutant: options.quick or report.name_of(mutant) in reviewed
    return mutants, reviewed, trials.Judge(found, driver_digest(), os.path.join(target, "outcomes.jsonl"), spared)


def sample(mutants):
    """What the short form tries: any mutants, the same each time; the checksums; the seeded defects."""
    numbers = {m["number"] for m in random.Random(SEED).sample(mutants, SAMPLE) + list(seeded.find(mutants).values())}
    return [m for m in mutants if m["number"] in numbers or m["file"] == "driver/checksum.cpp"]


def tell_results(mutants, outcomes, reviewed, existing, complete):
    result = report.Report(mutants, outcomes, reviewed)
    print("\n".join(result.table()))
    survivors, stale = result.open_survivors(), result.stale(existing)
    for title, lines in (("survive without a reason", report.listed(survivors)),
                         ("are in equivalent.txt, but killed or gone", [" | ".join(name) for name in stale])):
        if lines:
            print(f"mutation: these {title}:")
            print("\n".join(lines))
    missing = result.failures() if complete else []
    for text in missing:
        print(f"mutation: {text}")
    failed = len(survivors) + len(stale) + len(missing)
    print(f"mutation: {len(mutants) - len(survivors)} passed, {failed} failed")
    return failed == 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("form", choices=("short", "long", "seeded", "review"))
    parser.add_argument("-j", dest="jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="files or functions that contain this")
    parser.add_argument("--quick", action="store_true", help="without the slots that take longer than a second")
    options = parser.parse_args()
    options.quick |= options.form != "long"
    if options.form == "review":
        print("\n".join(report.review(report.read_reviewed(os.path.join(ROOM, "equivalent.txt")))))
        return 0
    mutants, reviewed, judge = prepare(options)
    if options.form == "seeded":
        return 0 if seeded.tell(mutants, judge) else 1
    chosen = [m for m in mutants if options.only in f"{m['file']} {m['function']}"]
    if options.form == "short":
        chosen = sample(mutants)
    began = time.monotonic()
    outcomes = judge.judge_all(chosen, options.jobs,
                               lambda n: print(f"mutation: {n} of {len(chosen)} tried", flush=True))
    print(f"mutation: {len(chosen)} mutants tried in {time.monotonic() - began:.0f} s")
    good = tell_results(chosen, outcomes, reviewed, mutants, options.form == "long" and not options.only)
    return 0 if good else 1


if __name__ == "__main__":
    raise SystemExit(main())
