"""What gdb shows of a process and of its core, by the printers and commands that it loads with the
libraries in CUL_LIBRARIES. Says so and is skipped (77) where no process may be traced."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

GDB, HOST, LIBRARIES = (os.environ[n] for n in ("CUL_GDB", "CUL_GDB_HOST", "CUL_LIBRARIES"))

CONTENDED = "'(anonymous namespace)::contended'"
TO_THE_STOP = [
    "break main", "run",
    f"break *pthread_mutex_lock if $_thread != 1 && $rdi == (long)&{CONTENDED}", "continue",
]  # fmt: skip
TO_MAIN = [
    "python [t.switch() for t in gdb.selected_inferior().threads() if t.ptid[0] == t.ptid[1]]",
    "frame function '(anonymous namespace)::show'",
]
HELD = 'held by thread 1, taken by "holding again" at line N, 2 deep'
OBJECTS = {
    "literal": r'"café \"\351\"\012"',
    "longText": '"more than fits into the object itself"',
    "unended": "<no text: it does not end>",
    "*(EncodedString*)moved": "<no text: room 15 at ADDRESS>",
    "wide": r'L"café \"\351\"\012"',
    "bytes": '5 bytes, 41424344 7F  "ABCD."',
    "file": r'"/usr/lib/libm.a(sin\377.o)" = {short_name = "libm.a(sin\377.o)", '
            r'member = "sin\377.o"}',
    "plain": '"main.c"',
    "texts": r'2 elements = {[0] = "café \"\351\"\012", [1] = 0x0}',
    "owned": '5 bytes, 41424344 45  "ABCDE"',
    "pattern": "12 bits, 0FED",
    "number": "255 (0xff)",
    "variables": r'2 variables = {PATH = "/bin", \351 = ""}',
    "message": r'message 12 of set 3, its text not yet asked for = {%1 = "café \"\351\"\012"}',
    "said": '"more than fits into the object itself"',
    "nothing": "empty",
    "work": "{<CUL_Event> = tag its own address, <No data fields>}",
    "timer": "tag its own address, due TIME",
    CONTENDED: HELD,
}  # fmt: skip
WORK = "(anonymous namespace)::Work at ADDRESS, tag"
REQUESTED = f"Lock at ADDRESS: {HELD}\n  thread 3 is in a request for it\n"
COMMANDS = {
    "cul queues": f"""\
Process-wide dispatcher at ADDRESS: 3 levels, 2 served, 3 queued, dispatched by thread 3
  level 0: 1 event, 1 timer
    event 0: {WORK} ADDRESS
    timer 0: CUL_Timer_Event at ADDRESS, tag its own address, due TIME
  level 1: 0 events, 0 timers
  level 2: 1 event, 0 timers, held back
    event 0: {WORK} its own address
Alternate at ADDRESS: 1 level, 1 served, 1 queued, dispatched by thread 2
  level 0: 0 events, 1 timer
    timer 0: CUL_Timer_Event at ADDRESS, tag its own address, due TIME
""",
    "cul lock": 'Lock of the process-wide dispatcher at ADDRESS: free, last taken by "_waitpop" '
                f"at line N\n{REQUESTED}Lock of the trace: free\n",
    f"cul lock {CONTENDED}": REQUESTED,
    f"cul lock &{CONTENDED}": REQUESTED,
    "cul queues 8": "Dispatcher at 0x8: <Cannot access memory at address 0x20>\n",
    "cul queues nonsense": 'error: No symbol "nonsense" in current context.',
    "cul queues 1.5": "error: 1.5 is nowhere in memory.",
}  # fmt: skip
# What memory of zeros cannot be, what it can, and what memory of ones can.
NO_ZEROS = """EncodedString CharString ByteString FileName EnvironmentVariable Bit_Pattern
    UNIX_Critical_Section CUL_Dispatcher""".split()
ZEROS = """List<EncodedString*> AutoList<EncodedString*> UNIX_Event_Semaphore Byte_String
    CUL_Message Environment UNIX_Environment CUL_Event CUL_Timer_Event
    EventDispatcherBase::Level""".split()
ONES = ["Unsigned_Bits"]

# Run by gdb: writes what each command says, or why it failed, to a file.
ASKING = """
import gdb, json
def answer(command):
    try:
        return gdb.execute(command, to_string=True)
    except gdb.error as error:
        return f"error: {error}"
answers = [answer(command) for command in json.load(open("asked"))]
json.dump(answers, open("answered", "w"))
"""


def same(answer):
    """An answer without what differs from run to run."""
    answer = re.sub(r"0x[0-9a-f]{5,}", "ADDRESS", answer)
    answer = re.sub(r"due (in|at) \d+\.\d+ s( of the monotonic clock)?", "due TIME", answer)
    answer = re.sub("Lock of the alternate.*\n", "", answer)  # just taken, or just not
    return re.sub(r"at line \d+", "at line N", answer)


class Shown(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="cul-test-"))
        self.addCleanup(shutil.rmtree, self.scratch)

    def gdb(self, commands, *words, libraries=LIBRARIES, locale="C.UTF-8"):
        """What gdb answers to each command."""
        (self.scratch / "asked").write_text(json.dumps(["set width 0", *commands]))
        (self.scratch / "asking.py").write_text(ASKING)
        done = subprocess.run(
            [GDB, "-nx", "-batch", "-iex", f"add-auto-load-safe-path {libraries}",
             "-iex", "set debuginfod enabled off", "-x", "asking.py", HOST, *words],
            capture_output=True, text=True, errors="replace", timeout=120, cwd=self.scratch,
            env={**os.environ, "LC_ALL": locale, "LD_LIBRARY_PATH": str(libraries)})  # fmt: skip
        answers = json.loads((self.scratch / "answered").read_text())
        self.assertNotRegex("\n".join([done.stderr, *answers]), "Traceback|Python Exception")
        return answers[1:]

    def stopped(self, commands, **more):
        return self.gdb(TO_THE_STOP + commands, **more)[len(TO_THE_STOP) :]

    def check(self, answers, change):
        expected = {**COMMANDS, **dict.fromkeys(TO_MAIN), **OBJECTS}
        for (command, text), answer in zip(expected.items(), answers, strict=True):
            if text is not None:
                self.assertEqual(change(answer), change(text), command)

    def test_a_process_and_its_core(self):
        commands = [*COMMANDS, *TO_MAIN, *("output " + name for name in OBJECTS)]
        more = ["info auto-load python-scripts", "generate-core-file core"]
        *answers, scripts, _ = self.stopped(commands + more)
        self.check(answers, same)
        self.assertIn(os.path.realpath(LIBRARIES), scripts)
        answers = self.gdb(commands, "core")
        self.assertIn("of the monotonic clock", answers[0])
        # There the thread that stopped comes first.
        self.check(answers, lambda text: re.sub(r"thread \d", "thread N", same(text)))

    def test_anything_in_memory(self):
        asked = [(kind, where) for kind in NO_ZEROS + ZEROS + ONES
                 for where in ("zeros", "ones", "pointers", "*(char*)0", "*(char*)8")]  # fmt: skip
        commands = [f"output *({kind} const*)&{where}" for kind, where in asked]
        limited = ["set print elements 3", "output longText", "output wide"]
        answers = self.stopped(TO_MAIN + commands + limited, locale="C")[len(TO_MAIN) :]
        self.assertEqual(answers[-2:], ['"mor"...', 'L"caf"...'])
        for (kind, where), answer in zip(asked, answers):
            with self.subTest(kind, where=where):
                self.assertNotIn("No symbol", answer)
                if where in ("zeros", "ones"):
                    good = kind in ONES or (where == "zeros" and kind in ZEROS)
                    self.assertEqual(good, not re.fullmatch("<.*>", answer), answer)

    def test_without_debug_information(self):
        stripped = pathlib.Path(tempfile.mkdtemp(dir=pathlib.Path(LIBRARIES).parent))
        self.addCleanup(shutil.rmtree, stripped)
        for file in pathlib.Path(LIBRARIES).glob("lib*.so.*"):
            shutil.copy(file, stripped, follow_symlinks=False)
            if file.suffix != ".py" and not file.is_symlink():
                subprocess.run(["strip", "--strip-unneeded", stripped / file.name], check=True)
        answers = self.gdb(["break main", "run", "cul queues", "cul lock"], libraries=stripped)
        for answer in answers[2:]:
            self.assertRegex(answer, "^error: libcul has no debug information here.*$")


if __name__ == "__main__":
    tried = subprocess.run([GDB, "-nx", "-batch", "-ex", "starti", "-ex", "kill", HOST],
                           capture_output=True, text=True, timeout=60).stderr  # fmt: skip
    if re.search("ptrace|trace the inferior", tried):
        print("skipped: no process may be traced here:", tried)
        sys.exit(77)
    unittest.main()
