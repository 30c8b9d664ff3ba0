"""Memory of the program, which may hold anything, and texts, which may hold any byte."""

import sys

import gdb


class Damaged(Exception):
    """An object holds what its class never gives it; the text says what."""


# What reading such an object may end in: gdb.error is a RuntimeError.
FAULTS = (Damaged, RuntimeError, ValueError, OverflowError)


def tried(function, pointer):
    """What `function` gives for the object at `pointer`, or why there is nothing to give."""
    try:
        return function(pointer.dereference())
    except FAULTS as fault:
        return f"<{fault}>"


def check(condition, what):
    if not condition:
        raise Damaged(what)


def most():
    """How many elements or characters gdb's user wants to see at most."""
    return gdb.parameter("print elements") or sys.maxsize


def read(address, size):
    return gdb.selected_inferior().read_memory(int(address), size).tobytes() if size else b""


def atomic(value):
    """The number in a std::atomic, whichever standard library it comes from."""
    plain = value.type.strip_typedefs().template_argument(0)
    return int(value.address.cast(plain.pointer()).dereference())


def boolean(value):
    """A bool, of which a compiler believes that it is 0 or 1."""
    byte = read(value.address, 1)[0]
    check(byte <= 1, f"a bool is {byte}")
    return byte == 1


def quoted(octets, length):
    """UTF-8 text in quotes, as gdb writes a string; `octets` begin a text of `length`."""
    text = octets.decode("utf-8", "surrogateescape")
    return f'"{escaped(text)}"' + ("..." if len(octets) < length else "")


def escaped(text):
    """`text` with what cannot be shown in octal, and so each byte that is no part of UTF-8, which
    `surrogateescape`, or the library in a CharString, has made a character of."""
    return "".join(map(_escaped, text))


def _escaped(character):
    if character in '"\\':
        return "\\" + character
    if character.isprintable() and _has_host(character):
        return character
    is_byte = "\udc80" <= character <= "\udcff"
    octets = character.encode("utf-8", "surrogateescape" if is_byte else "surrogatepass")
    return "".join(f"\\{octet:03o}" for octet in octets)


def _has_host(character):
    """Whether the terminal's character set, for which gdb writes, has the character."""
    try:
        return bool(character.encode(gdb.host_charset()))
    except (UnicodeEncodeError, LookupError):
        return False


def label(pointer):
    """A C string that is a name, of which a longer one is cut."""
    octets = bytearray()
    while len(octets) < 64 and (octet := int(pointer[len(octets)]) & 0xFF):
        octets.append(octet)
    return quoted(octets, 0)


def counted(number, noun):
    return f"{number} {noun}" + ("" if number == 1 else "s")


def hexadecimal(octets, length):
    """Up to 16 bytes in hexadecimal, by fours, and as characters."""
    head = octets[:16]
    groups = " ".join(head[i : i + 4].hex().upper() for i in range(0, len(head), 4))
    shown = "".join(chr(octet) if 0x20 <= octet <= 0x7E else "." for octet in head)
    return f'{groups}  "{shown}"' + ("..." if len(head) < length else "")
