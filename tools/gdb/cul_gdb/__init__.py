"""What a maker sees of libcul in gdb: printers for its types and those of its companion library,
and the commands `cul queues` and `cul lock`.

Nothing here runs code of the program, so that a core shows as much as a process. An object that
cannot be what its type says is shown as a text in angle brackets that tells why.
"""

import gdb.printing

from . import commands, companion, library
from .memory import FAULTS, check

_PRINTERS = {"libquonutil": companion.PRINTERS, "libcul": library.PRINTERS}


def register(name, objfile):
    """Adds what belongs to the library `name`, for as long as gdb has its `objfile`."""
    collection = gdb.printing.RegexpCollectionPrettyPrinter(name)
    for types, describe, parts in _PRINTERS[name]:
        collection.add_printer(
            types, f"^{types}$", lambda value, d=describe, p=parts: Printer(name, value, d, p)
        )
    gdb.printing.register_pretty_printer(objfile, collection, replace=True)
    if name == "libcul":
        commands.define()


class Printer:
    """A printer of two functions: one gives the line, the other, or None, what stands below it."""

    def __init__(self, library, value, describe, parts):
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        try:
            check(value.type.strip_typedefs().fields(), f"{library} has no debug information here")
            self._line = describe(value)
        except FAULTS as fault:
            self._line = f"<{fault}>"
            return
        if parts is not None:
            self.children = lambda: parts(value)

    def to_string(self):
        return self._line
