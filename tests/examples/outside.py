#!/usr/bin/env python3
"""Installs driver and development files into a folder of its own and does there what the examples' READMEs say: one
command with pkg-config, find_package, and a run against the simulated PLC. Usage: outside.py BUILD_DIR ECSIM
"""
import os
import re
import subprocess
import sys
import tempfile

from plc import Plc, check, result, same

BUILD, SIM = (os.path.abspath(path) for path in sys.argv[1:3])


def run(command, folder, environment):
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=folder, env=environment, timeout=1500,
                          stdin=subprocess.DEVNULL, capture_output=True, check=False)
    check(done.returncode == 0, f"exit code {done.returncode} of {command}\n{done.stdout.decode()}\n"
          f"{done.stderr.decode()}")
    return done.stdout.decode()


def commands(folder):
    """The blocks of commands in a README, and those in its text."""
    with open(folder + "/README.md", encoding="utf-8") as file:
        text = file.read()
    return re.findall(r"^```sh\n(.*?)^```", text, re.DOTALL | re.MULTILINE) + re.findall(r"`(cmake -S [^`]*)`", text)


def find(prefix, name):
    found = [os.path.join(folder, name) for folder, folders, files in os.walk(prefix) if name in folders + files]
    same(len(found), 1, f"places of {name}")
    return found[0]


def main():
    with tempfile.TemporaryDirectory() as folder:
        prefix = folder + "/installed"
        for component in ("driver", "dev"):
            run(f"cmake --install '{BUILD}' --prefix '{prefix}' --component {component}", folder, os.environ)
        environment = {**os.environ, "CMAKE_PREFIX_PATH": prefix,
                       "PKG_CONFIG_PATH": os.path.dirname(find(prefix, "emerson_ec_series.pc"))}
        minimal, qt = find(prefix, "minimal_host"), find(prefix, "qt_host")
        compile_it, run_it, cmake = commands(minimal)
        run(compile_it, minimal, environment)
        with Plc(SIM, "--link", folder + "/plc") as plc:
            plc.tell("set-register 1 100 7", "set-register 1 112 0", "set-register 1 113 9", "set-coil 1 8 1")
            out = run(run_it.replace("/tmp/plc", plc.port), minimal, environment)
            same(out, "setpoint 7\ntotal 9\npump 1\nwritten\nsetpoint 1234\ntotal 9\npump 1\n", "what it prints")
            same(plc.ask("registers 1 100 1"), "ok 1234", "what the PLC has")
        run(cmake, minimal, environment)
        check(os.access(minimal + "/build/minimal_host", os.X_OK), "minimal_host is built with find_package")
        run(commands(qt)[0], qt, environment)
        check(os.access(qt + "/build/qt_host", os.X_OK), "qt_host is built with find_package")
    return result()


sys.exit(main())
