"""Two defects that the project wants to be sure of: which tests notice them."""
import re
import subprocess

from reach import environment, limited

# title -> (file, function, what a mutant's description has to be)
SEEDED = {
    "swapped CRC bytes in a request": ("frames/frame_writer.h", "crc", r".*lowByte.*highByte.* => \{.*"),
    "swapped CRC byte in the reply check": ("driver/reply.cpp", "CheckGetData", r"lowByte\(crc\) => highByte\(crc\)"),
    "wrong boundary in the address map": ("frames/address_map.h", "modbusNumber", r"address < map.bound => .*<=.*"),
    "wrong boundary in the table": ("varlist/device_traits.cpp", "DeviceTable", r"2048 => 2049"),
    "wrong boundary when reads are cut": ("varlist/read_list.cpp", "crossesWhenRead", r"entry.address < b.* => .*<=.*"),
    "wrong boundary when writes are cut": ("varlist/write_list.cpp", "crossesWhenWritten",
                                           r"entry.address < b.* => .*<=.*"),
}


def find(mutants):
    """title -> the mutant that is this defect."""
    found = {}
    for title, (file, function, what) in SEEDED.items():
        like = [m for m in mutants if (m["file"], m["function"]) == (file, function) and re.fullmatch(what, m["what"])]
        if not like:
            raise SystemExit(f"mutation: no mutant is the {title}; seeded.py has to follow the driver")
        found[title] = like[0]
    return found


def noticed(trial, number):
    """The slots of a trial that fail with a mutant at work; "(ends early)" when the program does not end by itself."""
    done = subprocess.run(limited(trial.command, 10 + 5 * trial.seconds), stdout=subprocess.PIPE, check=False,
                          stderr=subprocess.DEVNULL, env=environment(EC_MUTANT=str(number)), timeout=600)
    slots = re.findall(r"^FAIL!  : \w+::(\w+)\(", done.stdout.decode(errors="replace"), re.M)
    return sorted(set(slots)) + (["(ends early)"] if done.returncode < 0 else [])


def tell(mutants, judge):
    """Prints who notices what. True when every defect is noticed."""
    good = 0
    for title, mutant in find(mutants).items():
        print(f"{title}: {mutant['file']}:{mutant['line']}, {mutant['what']}")
        by = {trial.name: noticed(trial, mutant["number"]) for trial in judge.reaching(mutant)}
        by = {name: slots for name, slots in by.items() if slots}
        for name, slots in sorted(by.items()):
            print(f"  {name}: {', '.join(slots)}")
        print(f"  {sum(map(len, by.values()))} slots of {len(by)} tests notice it")
        good += bool(by)
    print(f"mutation: {good} passed, {len(SEEDED) - good} failed")
    return good == len(SEEDED)
