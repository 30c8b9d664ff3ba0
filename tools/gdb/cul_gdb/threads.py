"""The threads of the program, and who among them is where."""

import contextlib
import time

import gdb

from .memory import FAULTS

_DEEPEST = 500  # frames; a stack that was overwritten may go on without end


def named(thread, number):
    """How a person calls a thread that gdb may not know; `number` is what the program knows."""
    return f"thread {thread.num}" if thread else f"a thread that is not here ({number})"


def by_kernel_id(number):
    return next((t for t in gdb.selected_inferior().threads() if t.ptid[1] == number), None)


def by_pthread(number):
    for thread in gdb.selected_inferior().threads():
        with contextlib.suppress(*FAULTS):  # where gdb cannot load libthread_db
            if int.from_bytes(thread.handle(), "little") == number:
                return thread
    return None


def inside(operation):
    """Yields each thread that is in `operation`, a member function, with its object's address.
    What is selected stays selected."""
    thread, frame = gdb.selected_thread(), gdb.selected_frame()
    try:
        for other in gdb.selected_inferior().threads():
            other.switch()
            for address in _objects(operation):
                yield other, address
    finally:
        thread.switch()
        frame.select()


def _objects(operation):
    frame = gdb.newest_frame()
    for _ in range(_DEEPEST):
        if frame is None:
            return
        with contextlib.suppress(*FAULTS):  # optimised away
            if frame.name() == operation:
                yield int(frame.read_var("this"))
        frame = frame.older()


def until(reading):
    """How far away a reading of the monotonic clock is, in microseconds; None for a core, which
    does not tell when it was made."""
    connection = gdb.selected_inferior().connection
    if connection is None or connection.type != "native":
        return None
    return reading - time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000
