"""Printers for the types of libcul."""

from . import threads
from .companion import elements, entries, text
from .memory import FAULTS, atomic, boolean, check, counted, hexadecimal, most, read, tried


def byte_string(value):
    data, length, capacity = int(value["data"]), int(value["length"]), int(value["capacity"])
    check(length <= capacity, f"no bytes: length {length}, capacity {capacity}")
    line = counted(length, "byte") + (", borrowed" if int(value["borrowed"]) else "")
    return line + (", " + hexadecimal(read(data, min(length, 16)), length) if length else "")


def bit_pattern(value):
    bits, count = int(value["bit_count"]), int(value["byte_count"])
    check(count == max(1, (bits + 7) // 8), f"no pattern: {bits} bits in {count} bytes")
    shown = min(count, most())
    digits = read(int(value["data"]) + count - shown, shown)[::-1].hex().upper()
    dots = "..." if shown < count else ""
    return f"{counted(bits, 'bit')}, {digits}{dots}" if bits else "empty"


def unsigned_bits(value):
    number = int(value["value_"])
    return f"{number} ({number:#x})"


def variable(value):
    return f"{_name(value)}={text(value['valueText'])}"


def _name(value):
    return text(value["nameText"])[1:].removesuffix('"')


def environment(value):
    _, count = entries(value["vars"])
    return counted(count, "variable")


def variables(value):
    for pointer in elements(value["vars"]):
        yield tried(_name, pointer), tried(lambda one: text(one["valueText"]), pointer)


def message(value):
    entries(value["inserts"])
    kept = text(value["msgText"]) if int(value["textReady"]) else None
    number, of_set = int(value["idFirst"]), int(value["idSecond"])
    if number == 0:
        return "empty" if int(value["empty"]) else kept or "no text"
    return f"message {number} of set {of_set}, " + (kept or "its text not yet asked for")


def inserts(value):
    for index, pointer in enumerate(elements(value["inserts"]), 1):
        yield f"%{index}", tried(text, pointer)


def event(value):
    own = int(value["tag"]) == int(value.address)
    states = [f"tag {'its own address' if own else hex(int(value['tag']))}"]
    if boolean(value["purged"]):
        states.append("discarded")
    boolean(value["isTimer"])
    return ", ".join(states)


def timer(value):
    reading = int(value["timeoutTime"])
    left = threads.until(reading)
    if left is None:
        due = f"due at {reading / 1e6:.6f} s of the monotonic clock"
    else:
        due = f"due in {left / 1e6:.6f} s" if left > 0 else f"due since {-left / 1e6:.6f} s"
    return f"{event(value)}, {due}"


def queued(pointer):
    """The line of an event that a queue's pointer leads to, by the class that it really is of."""

    def line(value):
        describe = timer if pointer.type.target().name == "CUL_Timer_Event" else event
        return f"{value.dynamic_type.name} at {int(pointer):#x}, {describe(value)}"

    return tried(line, pointer)


def level(value):
    _, events = entries(value["events"])
    _, timers = entries(value["timers"])
    return f"{counted(events, 'event')}, {counted(timers, 'timer')}"


def due(pointer):
    try:
        return int(pointer["timeoutTime"])
    except FAULTS:
        return 0


def queues(value):
    for index, pointer in enumerate(elements(value["events"])):
        yield f"event {index}", queued(pointer)
    timers = elements(value["timers"])
    if int(value["late"]):  # some have yet to join the others
        timers = sorted(timers, key=due)
    for index, pointer in enumerate(timers):
        yield f"timer {index}", queued(pointer)


def dispatcher(value):
    _, count = entries(value["levels"])
    served = atomic(value["topLevel"]) + 1
    check(served <= count == int(value["levelCount"]), f"no dispatcher: {served} of {count} levels")
    state = ", destroyed" if boolean(value["destroyed"]) else ""
    number = atomic(value["dispatchThread"])
    by = threads.named(threads.by_pthread(number), hex(number)) if number else "nobody"
    pending = int(value["pending"])
    return f"{counted(count, 'level')}, {served} served, {pending} queued, dispatched by {by}{state}"


def dispatcher_parts(value):
    yield "lock", value["lock"]
    yield "wakeup", value["wakeup"]
    for index, pointer in enumerate(elements(value["levels"])):
        yield f"level {index}", pointer.dereference()


# The name of the types, what gives the line, and what yields the parts.
PRINTERS = [
    ("Byte_String", byte_string, None),
    ("Bit_Pattern", bit_pattern, None),
    ("Unsigned_Bits", unsigned_bits, None),
    ("EnvironmentVariable", variable, None),
    ("(UNIX_)?Environment", environment, variables),
    ("CUL_Message", message, inserts),
    ("CUL_Event", event, None),
    ("CUL_Timer_Event", timer, None),
    ("EventDispatcherBase::Level", level, queues),
    ("(EventDispatcherBase|CUL_Dispatcher|CUL_EventDispatcher)", dispatcher, dispatcher_parts),
]
