"""Compiles the mutated copy and links each test of the driver with it; the tests' own objects are those of the release
preset."""
import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess

# What the sanitizer preset would notice is to be noticed here: assertions of Qt and of the C++ library, and traps where
# behaviour is undefined.
OWN_FLAGS = ["-O1", "-w", "-Wno-narrowing", "-D_GLIBCXX_ASSERTIONS", "-fsanitize=undefined", "-fno-sanitize=vptr",
             "-fsanitize-undefined-trap-on-error"]
DROPPED = ("-O", "-g", "-W", "-DQT_NO_DEBUG", "-D_FORTIFY_SOURCE", "-DNDEBUG")


def digest(*texts):
    total = hashlib.sha256()
    for text in texts:
        total.update(text if isinstance(text, bytes) else text.encode())
    return total.hexdigest()[:24]


def content(path):
    with open(path, "rb") as file:
        return file.read()


def compile_command(entry, source, target, include):
    """The release preset's command for a file, for its mutated copy."""
    words, kept, skip = shlex.split(entry["command"]), [], False
    for word in words:
        if skip or word == entry["file"]:
            skip = False
        elif word in ("-o", "-c"):
            skip = word == "-o"
        elif not word.startswith(DROPPED):
            kept.append(word)
    at = next(i for i, word in enumerate(kept) if word.startswith("-"))
    return kept[:at] + [f"-I{path}" for path in include] + kept[at:] + OWN_FLAGS + ["-c", source, "-o", target]


def run_all(commands, jobs, directory):
    """Runs commands side by side; the first that fails ends it all."""
    def one(command):
        done = subprocess.run(command, cwd=directory, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if done.returncode != 0:
            raise SystemExit("mutation: " + shlex.join(command) + "\n" + done.stdout.decode()[:4000])

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        list(pool.map(one, commands))


class Build:
    def __init__(self, root, release, target, commands, jobs):
        self.root, self.release, self.target, self.commands, self.jobs = root, release, target, commands, jobs
        self.room = os.path.join(root, "proof/mutation")
        self.copy = os.path.join(target, "src")

    def objects(self):
        """Compiles what has changed. Returns the objects and a digest of all they are made of."""
        headers = digest(*(content(os.path.join(folder, name)) for folder, _, names in sorted(os.walk(self.copy))
                           for name in sorted(names) if name.endswith(".h")), content(f"{self.room}/chosen.h"))
        folder = os.path.join(self.target, "objects")
        os.makedirs(folder, exist_ok=True)
        sources = {file: os.path.join(self.copy, file) for file in self.commands}
        sources["chosen.cpp"] = os.path.join(self.room, "chosen.cpp")
        some = next(iter(self.commands.values()))
        objects, todo, stamps, all_texts = [], [], {}, [headers]
        for file, source in sorted(sources.items()):
            target = os.path.join(folder, file.replace("/", "_") + ".o")
            command = compile_command(self.commands.get(file, some), source, target, [self.copy, self.room])
            stamp = digest(headers, content(source), shlex.join(command))
            objects.append(target)
            all_texts.append(stamp)
            if not (os.path.exists(target) and read_text(target + ".stamp") == stamp):
                todo.append(command)
                stamps[target + ".stamp"] = stamp
        run_all(todo, self.jobs, self.release)
        for path, stamp in stamps.items():
            with open(path, "w", encoding="utf-8") as file:
                file.write(stamp)
        return objects, digest(*all_texts)

    def tests(self, names, objects, driver):
        """Links the tests. Returns for each its program and a digest of all it is made of besides the driver."""
        folder = os.path.join(self.target, "tests")
        os.makedirs(folder, exist_ok=True)
        found, todo, stamps = {}, [], {}
        for name in names:
            words = self.link_command(name)
            target = os.path.join(folder, name)
            own = [word for word in words if word.endswith(".o")]
            fixtures = self.fixture_objects()
            stamp = digest(*(content(os.path.join(self.release, word)) for word in own + fixtures))
            found[name] = (target, stamp)
            if not (os.path.exists(target) and read_text(target + ".stamp") == driver + stamp):
                # The mutated objects lead, so that theirs is what stays of every inline function.
                at = next(i for i, word in enumerate(words) if word.endswith(".o"))
                output = words.index("-o") + 1
                words[output] = target
                todo.append(words[:at] + objects + words[at:])
                stamps[target + ".stamp"] = driver + stamp
        run_all(todo, self.jobs, self.release)
        for path, stamp in stamps.items():
            with open(path, "w", encoding="utf-8") as file:
                file.write(stamp)
        return found

    def link_command(self, name):
        lines = subprocess.run(["ninja", "-C", self.release, "-t", "commands", "-s", f"tests/{name}"], check=True,
                               stdout=subprocess.PIPE).stdout.decode().splitlines()
        words = shlex.split(lines[-1])
        return [word for word in words if word not in (":", "&&")]

    def fixture_objects(self):
        with open(os.path.join(self.release, "compile_commands.json"), encoding="utf-8") as file:
            entries = json.load(file)
        outputs = [shlex.split(entry["command"]) for entry in entries]
        return sorted(words[words.index("-o") + 1] for words in outputs
                      if "/driver_fixture.dir/" in words[words.index("-o") + 1])


def read_text(path):
    if not os.path.exists(path):
        return ""
    with open(path, encoding="utf-8") as file:
        return file.read()
