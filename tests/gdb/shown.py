"""Run by gdb on gdb-host: what it shows of the process and of its core, by what it loads with the
libraries in LD_LIBRARY_PATH. Ends with 77 where no process may be traced."""

import os
import re
import tempfile
import unittest

import gdb

LIBRARIES = os.path.realpath(os.environ["LD_LIBRARY_PATH"])
CONTENDED = "'(anonymous namespace)::contended'"
OBJECTS = {
    "literal": r'"café \"\351\"\012"',
    "wide": r'L"café \"\351\"\012"',
    "bytes": '5 bytes, 41424344 7F  "ABCD."',
    "file": r'"/lib/m.a(sin\377.o)" = {short_name = "m.a(sin\377.o)", member = "sin\377.o"}',
    "texts": r'2 elements = {[0] = "café \"\351\"\012", [1] = 0x0}',
    "owned": '5 bytes, 41424344 45  "ABCDE"',
    "pattern": "12 bits, 0FED",
    "number": "255 (0xff)",
    "variables": r'2 variables = {PATH = "/bin", \351 = ""}',
    "text": r'"café \"\351\"\012"',
    "message": r'message 12 of set 3, its text not yet asked for = {%1 = "café \"\351\"\012"}',
}  # fmt: skip
WORK = "(anonymous namespace)::Work at ADDRESS, tag its own address"
REQUESTED = ('Lock at ADDRESS: held by thread 1, taken by "holding" at line N, 2 deep\n'
             "  thread 3 is in a request for it\n")  # fmt: skip
COMMANDS = {
    "cul queues": f"""\
Process-wide dispatcher at ADDRESS: 3 levels, 2 served, 4 queued, dispatched by thread 3
  level 0: 1 event, 2 timers
    event 0: {WORK}
    timer 0: CUL_Timer_Event at ADDRESS, tag ADDRESS, due TIME
    timer 1: CUL_Timer_Event at ADDRESS, tag its own address, due TIME
  level 1: 0 events, 0 timers
  level 2: 1 event, 0 timers, held back
    event 0: {WORK}
Alternate at ADDRESS: 1 level, 1 served, 1 queued, dispatched by thread 2
  level 0: 0 events, 1 timer
    timer 0: CUL_Timer_Event at ADDRESS, tag its own address, due TIME
""",
    "cul lock": 'Lock of the process-wide dispatcher at ADDRESS: free, last taken by "_waitpop" '
                f"at line N\n{REQUESTED}Lock of the trace: free\n",
    f"cul lock {CONTENDED}": REQUESTED,
    "cul queues 8": "Dispatcher at 0x8: <Cannot access memory at address 0x20>\n",
    "cul queues 1.5": "error: 1.5 is nowhere in memory.",
}  # fmt: skip
# Whether memory of zeros is shown as a type, and memory of ones.
MEMORY = {
    (False, False): "EncodedString CharString ByteString FileName EnvironmentVariable Bit_Pattern "
                    "CUL_Dispatcher",
    (True, False): "List<EncodedString*> AutoList<EncodedString*> UNIX_Event_Semaphore "
                   "UNIX_Critical_Section Byte_String CUL_Message Environment UNIX_Environment CUL_Event "
                   "CUL_Timer_Event EventDispatcherBase::Level",
    (True, True): "Unsigned_Bits",
}  # fmt: skip


def said(*commands):
    """What gdb answers to the last of them."""
    try:
        return [gdb.execute(command, to_string=True) for command in commands][-1]
    except gdb.error as error:
        return f"error: {error}"


def same(answer):
    """An answer without what differs from run to run."""
    answer = re.sub(r"0x[0-9a-f]{5,}", "ADDRESS", answer)
    answer = re.sub(r"due (in|at) \d+\.\d+ s( of the monotonic clock)?", "due TIME", answer)
    answer = re.sub(r"Lock of the alternate.*\n(  thread \d .*\n)?", "", answer)  # taken, or not
    return re.sub(r"at line \d+", "at line N", answer)


class Shown(unittest.TestCase):
    def check(self, change):
        for command, text in COMMANDS.items():
            self.assertEqual(change(said(command)), change(text), command)
        threads = gdb.selected_inferior().threads()
        next(thread for thread in threads if thread.ptid[0] == thread.ptid[1]).switch()
        said("frame function '(anonymous namespace)::show'")
        for name, text in OBJECTS.items():
            self.assertEqual(change(said("output " + name)), change(text), name)

    def check_any_memory(self):
        for shown, kinds in MEMORY.items():
            for kind in kinds.split():
                places = ("zeros", "ones", "*(char*)0", "*(char*)8")
                answers = [said(f"output *({kind} const*)&{where}") for where in places]
                self.assertNotRegex("".join(answers), "No symbol|Python|Traceback", kind)
                good = tuple(not re.fullmatch("<.*>", answer) for answer in answers[:2])
                self.assertEqual(good, shown, kind)

    def test_a_process_and_its_core(self):
        said("break main", "run")
        said(f"break *UNIX_Mutex::waitUntilFree if $_thread != 1 && $rdi == (long)&{CONTENDED}", "cont")
        self.check(same)
        self.check_any_memory()
        self.assertIn(LIBRARIES, said("info auto-load python-scripts"))
        with tempfile.NamedTemporaryFile() as core:
            said("generate-core-file " + core.name, "kill", "core " + core.name)
            self.assertIn("of the monotonic clock", said("cul queues"))
            # There the thread that stopped comes first.
            self.check(lambda text: re.sub(r"thread \d", "thread N", same(text)))
        said("set print elements 5", "set host-charset ASCII")
        self.assertEqual([said("output literal"), said("output wide")],
                         [r'"caf\303\251"...', r'L"caf\303\251 "...'])  # fmt: skip
        self.assertRegex(said("nosharedlibrary", "cul lock"), "^error: libcul has no debug info")


said("set width 0", "set confirm off", "set debuginfod enabled off")
said("add-auto-load-safe-path " + LIBRARIES)
if re.search("ptrace|exited with code 127", tried := said("starti", "kill")):
    print("skipped: no process may be traced here:", tried)
    gdb.execute("quit 77")
gdb.execute(f"quit {int(not unittest.main(argv=['gdb'], exit=False).result.wasSuccessful())}")
