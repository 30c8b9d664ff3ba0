#!/usr/bin/env python3
"""Writes a twin of a pair of libraries for the loader to load: as many exported classes, each with
as many operations and virtual operations, and as much code. The code does next to nothing; it is
there because loading takes its time by the page.

  generate_peer.py BASE LIBRARY DIRECTORY

Writes base.h and base.cpp as BASE's twin, peer.h and peer.cpp as LIBRARY's. Each class of the
second uses one of the first.
"""

import pathlib
import re
import subprocess
import sys

EXPORT = '__attribute__((visibility("default")))'
OWN_CODE = 16  # bytes that an operation of a twin has anyhow


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def classes(library):
    """(operations, entries in the table of virtual operations) of each exported class."""
    operations, entries = {}, {}
    exported = output("nm", "-DCS", "--defined-only", library)
    for size, name in re.findall(r"^\w+ (\w+) \w (.*)$", exported, re.M):
        if name.startswith("vtable for "):
            entries[name.removeprefix("vtable for ")] = int(size, 16) // 8 - 2
        elif owner := re.match(r"([\w:]+(?:<[^()]*>)?)::[^(]*\(", name):
            operations.setdefault(owner[1], set()).add(name)
    owners = sorted(operations.keys() | entries.keys())
    return [(len(operations.get(owner, ())), entries.get(owner, 0)) for owner in owners]


class Twin:
    """A class with a constructor and, among its `count` operations, virtual ones."""

    def __init__(self, name, count, entries):
        self.name = name
        self.destructor = entries > 0  # it takes two of the entries
        virtual = max(entries - 2, 0)
        plain = max(count - virtual - self.destructor - 1, 1)
        self.operations = [("virtual ", f"v{i}") for i in range(virtual)]
        self.operations += [("", f"p{i}") for i in range(plain)]

    def declaration(self):
        yield f"class {EXPORT} {self.name} {{"
        yield " public:"
        yield f"  {self.name}();"
        if self.destructor:
            yield f"  virtual ~{self.name}();"
        yield from (f"  {virtual}long {name}(long value);" for virtual, name in self.operations)
        yield " private:\n  long value_;\n};"

    def definition(self, used, padding):
        first = f"{used.name}().{used.operations[0][1]}(1)" if used else "1"
        yield f"{self.name}::{self.name}() : value_({first}) {{}}"
        if self.destructor:
            yield f"{self.name}::~{self.name}() {{ value_ = 0; }}"
        for _, name in self.operations:
            body = f'asm volatile(".skip {padding}, 0x90"); return value_ += value;'
            yield f"long {self.name}::{name}(long value) {{ {body} }}"


def write(directory, name, library, used):
    """Writes the twin of `library`, whose classes use those of `used`, and returns its classes."""
    twins = [Twin(f"{name.title()}{i}", *counts) for i, counts in enumerate(classes(library))]
    code = int(re.search(r"^\.text\s+(\d+)", output("size", "-A", library), re.M)[1])
    padding = max(code // sum(len(twin.operations) for twin in twins) - OWN_CODE, 0)
    declarations = [line for twin in twins for line in twin.declaration()]
    (directory / f"{name}.h").write_text("\n".join(["#pragma once", *declarations, ""]))
    lines = ['#include "base.h"', f'#include "{name}.h"']
    for i, twin in enumerate(twins):
        lines += twin.definition(used[i % len(used)] if used else None, padding)
    (directory / f"{name}.cpp").write_text("\n".join([*lines, ""]))
    return twins


def main():
    base, library, directory = sys.argv[1:]
    directory = pathlib.Path(directory)
    write(directory, "peer", library, write(directory, "base", base, None))


main()
