#!/usr/bin/env python3
"""A corpus as one text file, an input a line in base64, and as a directory for libFuzzer.

    corpus.py unpack FILE DIRECTORY     one file an input; the directory is made
    corpus.py pack DIRECTORY FILE       the inputs of a directory, the shortest first
"""
import base64
import pathlib
import sys


def unpack(file, directory):
    directory.mkdir(parents=True, exist_ok=True)
    for number, line in enumerate(file.read_text().split()):
        (directory / f"{number:04}").write_bytes(base64.b64decode(line, validate=True))


def pack(directory, file):
    inputs = sorted({path.read_bytes() for path in directory.iterdir()} - {b""}, key=lambda each: (len(each), each))
    file.write_text("".join(base64.b64encode(each).decode() + "\n" for each in inputs))


if len(sys.argv) != 4 or sys.argv[1] not in ("unpack", "pack"):
    sys.exit(__doc__)
{"unpack": unpack, "pack": pack}[sys.argv[1]](pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))
