"""Printers for the types of libquonutil."""

import gdb

from . import threads
from .memory import atomic, check, counted, escaped, hexadecimal, label, most, quoted, read

_AWAITED = 1  # a bit of the word of a UNIX_Mutex


def buffer(value):
    """Where the elements of a StringBuffer are, how many, and the bytes of each."""
    elements, length, room = value["elements_"], int(value["length_"]), int(value["room_"])
    inner = value["short_"]
    least = inner.type.range()[1]
    check(least <= room and length <= room, f"no text: length {length}, room {room}")
    is_inner = inner.address is not None and int(elements) == int(inner.address)
    check(is_inner == (room == least), f"no text: room {room} at {int(elements):#x}")
    size = elements.type.target().sizeof
    check(not any(read(elements + length, size)), "no text: it does not end")
    return int(elements), length, size


def text(value):
    address, length, size = buffer(value)
    octets = read(address, min(length, most()) * size)
    if size == 1:
        return quoted(octets, length)
    characters = "".join(map(_character, memoryview(octets).cast("I")))
    return f'L"{escaped(characters)}"' + ("..." if len(characters) < length else "")


def _character(number):
    return chr(number) if number <= 0x10FFFF else "\ufffd"


def octets(value):
    address, length, _ = buffer(value)
    shown = read(address, min(length, 16))
    return counted(length, "byte") + (", " + hexadecimal(shown, length) if length else "")


def file_name(value):
    _, length, _ = buffer(value)
    directory, member = int(value["directoryLength_"]), int(value["memberLength_"])
    end = directory + member + (3 if member else 0)
    check(end <= length, f"the parts of {text(value)} were not found anew")
    return text(value)


def file_parts(value):
    address, length, _ = buffer(value)
    directory, member = int(value["directoryLength_"]), int(value["memberLength_"])
    if 0 < directory < length:
        yield "short_name", _part(address + directory, length - directory)
    if member:
        yield "member", _part(address + length - 1 - member, member)


def _part(address, length):
    return quoted(read(address, min(length, most())), length)


def entries(value):
    """The first entry of a list's storage, and how many there are."""
    plain = value["entries_"]
    count, room = int(plain["count_"]), int(plain["room_"])
    storage, first = int(plain["storage_"]), int(plain["first_"])
    front = (first - storage) // 8
    good = storage <= first and front + count <= room and storage % 8 == first % 8 == 0
    check(good and (storage == 0) == (room == 0), f"no list: {count} of {room} at {first:#x}")
    read(first, count and 8)
    read(first + (count - 1) * 8, count and 8)
    return plain["first_"], count


def elements(value):
    """Yields the pointers in a List."""
    first, count = entries(value)
    pointer = value.type.strip_typedefs()
    while not pointer.name.startswith("List<"):
        pointer = pointer.fields()[0].type
    for index in range(count):
        yield first[index].cast(pointer.template_argument(0))


def list_line(value):
    _, count = entries(value)
    return counted(count, "element")


def list_parts(value):
    for index, pointer in enumerate(elements(value)):
        yield f"[{index}]", _target(pointer)


def _target(pointer):
    """What is pointed to when it has a printer, else the pointer."""
    target = pointer.type.target()
    if not int(pointer) or target.strip_typedefs().code == gdb.TYPE_CODE_VOID:
        return pointer
    value = pointer.dereference()
    printer = gdb.default_visualizer(value)
    if printer is None:
        return pointer
    return value if target.strip_typedefs().fields() else printer.to_string()


def owner(mutex):
    """The thread that holds a POSIX mutex, as a person calls it, or None when it is free."""
    number = int(mutex["__data"]["__owner"])
    return threads.named(threads.by_kernel_id(number), f"LWP {number}") if number else None


def lock(value):
    mutex = value["mutex_"]
    number, again = atomic(mutex["word_"]) & ~_AWAITED, int(mutex["again_"])
    check(number % 8 == 0 and (number or not again), f"no lock: held by {number:#x}")
    if int(value["holder_"]) == 0:
        return "free, never taken"
    taken = f"taken by {label(value['holder_'])} at line {int(value['holderLine_'])}"
    if number == 0:
        return "free, last " + taken
    holder = threads.named(threads.by_pthread(number), f"{number:#x}")
    return f"held by {holder}, {taken}" + (f", {again + 1} deep" if again else "")


def semaphore(value):
    opened = atomic(value["isOpen_"])
    check(opened <= 1, f"no semaphore: its gate is {opened}")
    return ("open" if opened else "closed") + f", {atomic(value['waiting_'])} waiting"


# The name of the types, what gives the line, and what yields the parts.
PRINTERS = [
    ("(EncodedString|CharString|StringBuffer<(char|wchar_t)>)", text, None),
    ("(ByteString|StringBuffer<unsigned char>)", octets, None),
    ("FileName", file_name, file_parts),
    ("(Auto)?List<.*>", list_line, list_parts),
    ("UNIX_Critical_Section", lock, None),
    ("UNIX_Event_Semaphore", semaphore, None),
]
