"""The commands `cul queues` and `cul lock`, for a process that hangs and for the core of one."""

import pathlib

import gdb

from . import companion, library, threads
from .memory import FAULTS, atomic, tried

_LOOP = "EventDispatcherBase::dispatchLoop"
_REQUEST = "UNIX_Critical_Section::request"


def define():
    """Makes the commands known, or known anew."""
    for command in (_Cul, _Queues, _Lock):
        command()


class _Cul(gdb.Command):
    """What libcul is doing, from a process or a core; runs none of its code."""

    def __init__(self):
        super().__init__("cul", gdb.COMMAND_STATUS, prefix=True)


class _Command(gdb.Command):
    """A command that fails with one line."""

    def invoke(self, argument, from_tty):
        try:
            _check_ready()
            self.show(argument)
        except FAULTS as fault:
            raise gdb.GdbError(str(fault)) from None


class _Queues(_Command):
    """Show dispatchers, their levels and the events that are queued.
Usage: cul queues [EXPRESSION]

Without an argument: the process-wide dispatcher, every alternate "DispAlt" that there ever was, and
what any thread is dispatching at the moment. EXPRESSION is another dispatcher, or a pointer to one.

A level is what a priority stands for: level 0 is priorities 0 and 1, level N priority N + 1. When a
timer is due is told for a process from now on; for a core by the monotonic clock, as the core does
not tell when it was made."""

    def __init__(self):
        super().__init__("cul queues", gdb.COMMAND_STATUS, gdb.COMPLETE_EXPRESSION)

    def show(self, argument):
        found = _given("dispatcher", argument, "EventDispatcherBase") if argument else list(_dispatchers())
        for name, pointer in found:
            print(f"{name.capitalize()} at {int(pointer):#x}: {tried(library.dispatcher, pointer)}")
            tried(_print_levels, pointer)
        if not found:
            print("No dispatcher was made.")


class _Lock(_Command):
    """Show locks: who holds them, where they were taken, and who waits for them.
Usage: cul lock [EXPRESSION]

Without an argument: the locks of all dispatchers that `cul queues` finds, every lock that a thread
is waiting for, and the one that keeps trace lines apart. EXPRESSION is another lock
(UNIX_Critical_Section), or a pointer to one.

A lock remembers the operation that took it last and the source line, not those of a first request
when its holder has taken it again."""

    def __init__(self):
        super().__init__("cul lock", gdb.COMMAND_STATUS, gdb.COMPLETE_EXPRESSION)

    def show(self, argument):
        waiting = list(threads.inside(_REQUEST))
        found = _given("lock", argument, "UNIX_Critical_Section") if argument else _locks(waiting)
        for name, pointer in found:
            print(f"{name.capitalize()} at {int(pointer):#x}: {tried(companion.lock, pointer)}")
            for thread, address in waiting:
                if address == int(pointer):
                    print(f"  thread {thread.num} is in a request for it")
        if not argument:
            _print_trace_lock()


def _check_ready():
    if not gdb.selected_inferior().threads():
        raise gdb.error("There is neither a process nor a core.")
    try:
        fields = gdb.lookup_type("EventDispatcherBase::Level").fields()
    except FAULTS:
        fields = []
    if not fields:
        raise gdb.error("libcul has no debug information here: it was built without -g, or what was"
                        " split off is not installed.")  # fmt: skip


def _given(name, argument, kind):
    value = gdb.parse_and_eval(argument)
    if value.type.strip_typedefs().code not in (gdb.TYPE_CODE_PTR, gdb.TYPE_CODE_INT):
        if value.address is None:
            raise gdb.error(f"{argument} is nowhere in memory.")
        value = value.address
    return [(name, value.cast(gdb.lookup_type(kind).pointer()))]


def _static(library_name, variable):
    """A variable of one library that has no linkage, or None; others may have some of its name."""
    for objfile in gdb.objfiles():
        if pathlib.Path(objfile.filename).name.startswith(library_name + ".so"):
            symbol = objfile.lookup_static_symbol("(anonymous namespace)::" + variable)
            if symbol is not None:
                return symbol.value()
    return None


def _dispatchers():
    """Yields name and pointer of each dispatcher that can be found, once."""
    seen = {0}
    for name, pointer in _all_dispatchers():
        if int(pointer) not in seen:
            seen.add(int(pointer))
            yield name, pointer


def _all_dispatchers():
    base = gdb.lookup_type("EventDispatcherBase").pointer()
    shared = gdb.parse_and_eval("&'CUL_Dispatcher::instance()::dispatcher'")  # of a type or of none
    yield "process-wide dispatcher", shared.cast(base.pointer()).dereference()
    made = _static("libcul", "lastMade")
    while made is not None and int(made):
        yield "alternate", made["alternate"].address.cast(base)
        made = made["before"]
    for thread, address in threads.inside(_LOOP):
        yield f"dispatcher of thread {thread.num}", gdb.Value(address).cast(base)


def _print_levels(dispatcher):
    for index, pointer in enumerate(companion.elements(dispatcher["levels"])):
        held_back = ", held back" if index > atomic(dispatcher["topLevel"]) else ""
        print(f"  level {index}: {tried(library.level, pointer)}{held_back}")
        for name, line in library.queues(pointer.dereference()):
            print(f"    {name}: {line}")


def _locks(waiting):
    """Name and pointer of each lock that can be found, once."""
    locks = {}
    for name, dispatcher in _dispatchers():
        locks[int(dispatcher["lock"].address)] = ("lock of the " + name, dispatcher["lock"].address)
    kind = gdb.lookup_type("UNIX_Critical_Section").pointer()
    for _, address in waiting:
        locks.setdefault(address, ("lock", gdb.Value(address).cast(kind)))
    return locks.values()


def _print_trace_lock():
    trace = _static("libquonutil", "theTrace")
    if trace is not None:
        owner = companion.owner(trace["sinkLock_"]["_M_mutex"])
        print(f"Lock of the trace: {'held by ' + owner if owner else 'free'}")
