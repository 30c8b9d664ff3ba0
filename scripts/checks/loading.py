#!/usr/bin/env python3
"""Looks at built libraries as the system loads them: no code of ours runs at load time, nothing
but the language's run time is needed, and the hardening is really there.

  loading.py LIBRARY [NEEDED]…     NEEDED: libraries that may be needed besides
"""

import re
import subprocess
import sys

RUNTIME = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "ld-linux-x86-64.so.2"}
ENDBR64 = b"\xf3\x0f\x1e\xfa"


class Library:
    """What readelf tells of a library."""

    def __init__(self, path):
        self.bytes = open(path, "rb").read()
        run = lambda option: subprocess.run(  # noqa: E731
            ["readelf", "-W", option, path], check=True, capture_output=True, text=True
        ).stdout
        self.dynamic, self.segments = run("-d"), run("-l")
        # name -> (address, offset, size)
        self.sections = {
            m[1]: (int(m[2], 16), int(m[3], 16), int(m[4], 16))
            for m in re.finditer(r"\] (\.\S+)\s+\S+\s+(\w+) (\w+) (\w+) ", run("-S"))
        }
        # where -> what the loader puts there
        self.relative = {
            int(m[1], 16): int(m[2], 16)
            for m in re.finditer(r"^(\w+)\s+\w+ R_X86_64_RELATIVE\s+(\w+)", run("-r"), re.M)
        }
        # (address, type, section, name), all symbols and those that the loader sees
        symbol = re.compile(r"^ *\d+: (\w+) +\d+ (\w+) +\w+ +\w+ +(\w+) (\S+)", re.M)
        self.symbols = [(int(a, 16), t, s, n) for a, t, s, n in symbol.findall(run("-s"))]
        table = symbol.findall(run("--dyn-syms"))
        self.visible = [(int(a, 16), t, s, n) for a, t, s, n in table]

    def code(self, address, count):
        start, offset, _ = self.sections[".text"]
        return self.bytes[offset + address - start:][:count]  # fmt: skip


def wrong_at_load(library):
    """Code that runs when the library is loaded or unloaded, other than the compiler's own."""
    own = {".init_array": "frame_dummy", ".fini_array": "__do_global_dtors_aux"}
    for section, name in own.items():
        address, _, size = library.sections[section]
        entries = [library.relative.get(address + at) for at in range(0, size, 8)]
        expected = [s[0] for s in library.symbols if s[3] == name and s[1] == "FUNC"]
        if not expected:
            yield f"{section} cannot be judged: {name} is not in the symbol table"
        elif entries != expected:
            names = {s[0]: s[3] for s in library.symbols if s[1] == "FUNC"}
            strangers = [names.get(entry, hex(entry or 0)) for entry in entries]
            yield f"{section} holds {', '.join(strangers)}, not {name} alone"
    for section in (".preinit_array", ".ctors", ".dtors"):
        if section in library.sections:
            yield f"has a section {section}"


def wrong_needs(library, allowed):
    needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", library.dynamic))
    for name in sorted(needed - allowed):
        yield f"needs {name}"
    if "TEXTREL" in library.dynamic:
        yield "has relocations in its code"


def wrong_hardening(library):
    if "GNU_RELRO" not in library.segments or "BIND_NOW" not in library.dynamic:
        yield "is not linked with -z relro -z now"
    if re.search(r"(LOAD|GNU_STACK).* RWE ", library.segments):
        yield "has memory that is writable and executable"
    if not any(name.startswith("__stack_chk_fail") for *_, name in library.visible):
        yield "has no stack protector"
    functions = [s for s in library.visible if s[1] == "FUNC" and s[2] != "UND"]
    if not functions:
        yield "exports no function"
    for address, *_, name in functions:
        if library.code(address, 4) != ENDBR64:
            yield f"{name} does not start with endbr64 (-fcf-protection)"


def main():
    path, *besides = sys.argv[1:]
    library = Library(path)
    found = [
        *wrong_at_load(library),
        *wrong_needs(library, RUNTIME | set(besides)),
        *wrong_hardening(library),
    ]
    for text in found:
        print(f"{path} {text}")
    if not found:
        print(f"{path}: loading runs nothing, needs nothing new, hardened")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
