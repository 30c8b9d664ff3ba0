#!/usr/bin/env python3
"""Each C++ sample of the pages is a program that works: compiled against a build's libraries as a
host would be, it prints what the text block behind it shows.

Arguments: a build directory, then the pages. A sample runs in a scratch directory with a home of
its own there, shown as /tmp/anna and /home/anna. In what a page shows, "…" stands for anything.
"""

import concurrent.futures
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = re.compile(r"^```cpp\n(.*?)^```\n+(?:^```text\n(.*?)^```)?", re.M | re.S)
OPTIONS = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Werror", f"-I{ROOT}"]
SMALLEST_HOST = "examples/hello/hello.cpp"  # stands in the README too


def samples(page):
    """Yields (where it stands, program, what it prints or None) of each sample of a page."""
    text = page.read_text()
    for match in SAMPLE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        yield f"{os.path.relpath(page, ROOT)}:{line}", match[1], match[2]


def compile_and_run(build, scratch, program):
    """What a program, or the compiler about it, prints."""
    (scratch / "home").mkdir()
    (scratch / "sample.cpp").write_text(program)
    command = ["g++", *OPTIONS, "sample.cpp", "-o", "sample", f"-L{build}/lib", "-lcul",
               "-lquonutil", f"-Wl,-rpath,{build}/lib"]  # fmt: skip
    usual = {"cwd": scratch, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, "timeout": 60}
    compiled = subprocess.run(command, **usual)
    if compiled.returncode != 0:
        return compiled.stdout.decode()
    environment = {"HOME": f"{scratch}/home", "PATH": "/usr/bin:/bin"}
    done = subprocess.run([f"{scratch}/sample"], env=environment, **usual)
    shown = done.stdout.decode().replace(f"{scratch}/home", "/home/anna")
    shown = shown.replace(str(scratch), "/tmp/anna")
    return shown if done.returncode == 0 else f"{shown}ended with {done.returncode}\n"


def fault(build, program, expected):
    """What is wrong with a sample, or nothing."""
    if expected is None:
        return "has no text block behind it that shows what it prints\n"
    with tempfile.TemporaryDirectory(prefix="cul-sample-") as scratch:
        shown = compile_and_run(build, pathlib.Path(scratch).resolve(), program)
    if re.fullmatch(re.escape(expected).replace("…", ".*"), shown):
        return ""
    lines = [text.splitlines(keepends=True) for text in (expected, shown)]
    return "".join(difflib.unified_diff(*lines, "the page", "the program"))


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    found = [sample for page in sys.argv[2:] for sample in samples(pathlib.Path(page).resolve())]
    if not found:
        sys.exit("no sample found: something is wrong with this check")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        faults = list(pool.map(lambda sample: fault(build, *sample[1:]), found))
    wrong = [f"{sample[0]}: {text}" for sample, text in zip(found, faults) if text]
    if (ROOT / SMALLEST_HOST).read_text() not in (sample[1] for sample in found):
        wrong.append(f"{SMALLEST_HOST} stands on no page as it is")
    print("\n".join(wrong) or f"{len(found)} samples print what their pages show")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
