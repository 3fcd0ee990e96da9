"""Pretty printers of the library's records for gdb.

    (gdb) source PREFIX/share/qxut/gdb/qxut-gdb.py
    (gdb) print table

Keys, data, elements and cells of 1, 2, 4 and 8 bytes are shown as unsigned numbers, others as bytes
in hexadecimal: the records do not know their types. Keys of tables that compare texts are shown as
texts. How many entries are shown is gdb's `set print elements`. Nothing is called in the debugged
program, so cores can be read, too.
"""
import sys

import gdb
import gdb.printing


def pointer_to(name):
    return gdb.lookup_type(name).pointer()


def is_null(pointer):
    return int(pointer) == 0


def at(address, size):
    """The bytes at an address, as a number where they may be one."""
    memory = gdb.selected_inferior().read_memory(int(address), int(size))
    raw = memory.tobytes()
    if len(raw) in (1, 2, 4, 8):
        # Cells and elements are in the byte order of the machine that gdb runs on.
        return int.from_bytes(raw, sys.byteorder)
    return "0x" + raw.hex() if raw else "nothing"


def text_at(address):
    return gdb.Value(int(address)).cast(pointer_to("char")).format_string(address=False)


def named(function):
    """A function pointer by its name where gdb knows it."""
    block = gdb.block_for_pc(int(function)) if not is_null(function) else None
    if block is not None and block.function is not None:
        return block.function.print_name.partition("(")[0]
    shown = str(function)
    return shown[shown.index("<") + 1:shown.rindex(">")] if "<" in shown else shown


def counted(number, noun, plural=None):
    return f"{number} {noun}" if number == 1 else f"{number} {plural or noun + 's'}"


class Array:
    """ut_array: length, room and elements."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        v = self.value
        size = int(v["elem_size"])
        return f"ut_array of {counted(int(v['length']), 'element')} of {counted(size, 'byte')}, capacity {int(v['capacity'])}"

    def children(self):
        size = int(self.value["elem_size"])
        start = int(self.value["data"])
        for i in range(int(self.value["length"]) if start else 0):
            yield f"[{i}]", at(start + i * size, size)


NODE_HEADER = 16  # the next node, the hash, padding; then the key


def nodes(table):
    """Addresses of the stored keys, in the order of the table's own walk."""
    buckets = table["buckets"]
    if is_null(buckets):
        return
    word = pointer_to("unsigned long")
    for i in range(int(table["num_buckets"])):
        node = int(buckets[i])
        while node:
            yield node + NODE_HEADER
            node = int(gdb.Value(node).cast(word).dereference())


def compares_texts(table):
    return "string" in named(table["compare_fn"])


def key_at(table, address):
    size = int(table["key_size"])
    if size == 8 and compares_texts(table):
        return text_at(at(address, 8))
    return at(address, size)


class HashTable:
    """ut_ghash_table: entries in the order of the walk, as a map; a set's without data."""

    def __init__(self, value):
        self.value = value
        self.is_map = int(value["data_size"]) != 0

    def to_string(self):
        v = self.value
        if is_null(v["mem_ctx"]):
            return "ut_ghash_table, not initialised"
        entries = counted(int(v["count"]), "entry", "entries")
        return f"ut_ghash_table of {entries} in {counted(int(v['num_buckets']), 'bucket')}"

    def display_hint(self):
        return "map" if self.is_map else "array"

    def children(self):
        v = self.value
        if is_null(v["mem_ctx"]):
            return
        for i, key in enumerate(nodes(v)):
            yield f"[{i}]", key_at(v, key)
            if self.is_map:
                yield f"[{i}] data", at(key + int(v["data_offset"]), v["data_size"])


class IndexedHash:
    """_ihash_table: keys, and data where there are any, by index."""

    def __init__(self, value):
        self.value = value
        self.is_map = not is_null(value["data"])

    def to_string(self):
        v = self.value
        if is_null(v["mem_ctx"]):
            return "_ihash_table, not initialised"
        return f"_ihash_table of {counted(int(v['keys']['length']), 'entry', 'entries')}"

    def display_hint(self):
        return "map" if self.is_map else "array"

    def children(self):
        v = self.value
        if is_null(v["mem_ctx"]):
            return
        keys, data = v["keys"].dereference(), v["data"]
        for i in range(int(keys["length"])):
            key = at(int(keys["data"]) + 8 * i, 8)
            yield f"[{i}]", key_at(v["hash"], key)
            if self.is_map:
                size = int(data["elem_size"])
                yield f"[{i}] data", at(int(data["data"]) + i * size, size)


class NameHash:
    """ut_namehash: the names."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        table = self.value["table"]
        if is_null(table["mem_ctx"]):
            return "ut_namehash, not initialised"
        return f"ut_namehash of {counted(int(table['count']), 'name')}"

    def display_hint(self):
        return "array"

    def children(self):
        if is_null(self.value["table"]["mem_ctx"]):
            return
        for i, key in enumerate(nodes(self.value["table"])):
            yield f"[{i}]", text_at(at(key, 8))


class ColumnTable:
    """ut_gtable: a line a column, with its first cells."""

    SHOWN = 10

    def __init__(self, value):
        self.value = value

    def to_string(self):
        v = self.value
        rows, columns = int(v["num_rows"]), int(v["num_columns"])
        return f"ut_gtable of {counted(rows, 'row')} in {counted(columns, 'column')}, room for {int(v['row_capacity'])}"

    def children(self):
        v = self.value
        rows = int(v["num_rows"])
        for i in range(int(v["num_columns"])):
            column = v["columns"][i]
            size = int(column["element_size"])
            cells = at(column["variable"], 8)
            shown = [str(at(cells + row * size, size)) for row in range(min(rows, self.SHOWN))] if cells else []
            if rows > self.SHOWN:
                shown.append("...")
            yield f"column {i}", f"{size} bytes: " + " ".join(shown)


class Set:
    """utSet: the values from front to back; the cursor's is marked."""

    def __init__(self, value):
        self.value = value

    def values(self):
        header = int(self.value["header"].address)
        element = self.value["header"]["next"]
        while int(element) != header and not is_null(element):
            yield element
            element = element["next"]

    def to_string(self):
        cursor = int(self.value["cursor_value"])
        return "utSet" + (f", cursor at {cursor}" if cursor else "")

    def display_hint(self):
        return "array"

    def children(self):
        for i, element in enumerate(self.values()):
            yield f"[{i}]", element["value"]


class IntervalSet:
    """ut_fsi: the intervals, ascending."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        v = self.value
        count = int(v["num_members"])
        if count == 0 and int(v["num_intervals"]) != 0:
            count = 1 << 64
        return f"ut_fsi of {counted(count, 'member')} in {counted(int(v['num_intervals']), 'interval')}"

    def display_hint(self):
        return "array"

    def children(self):
        node = self.value["root"]
        if is_null(node):
            return
        for _ in range(int(self.value["height"])):
            node = node["child"][0]
        number = 0
        while not is_null(node):
            for i in range(int(node["count"])):
                yield f"[{number}]", f"[{int(node['first'][i])}, {int(node['last'][i])}]"
                number += 1
            node = node["next"]


class StringBuffer:
    """ut_dsbuffer: its bytes, as text."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = int(self.value["length"])
        if length == 0 or is_null(self.value["data"]):
            return ""
        return self.value["data"].string("latin-1", length=length)

    def display_hint(self):
        return "string"


class MessageContext:
    """ut_message_context: the current language and the modules that are registered."""

    def __init__(self, value):
        self.value = value

    def modules(self):
        v = self.value
        if is_null(v["reference_counts"]):
            return
        for module in range(int(v["highest_module"]) + 1):
            if int(v["reference_counts"][module]) != 0:
                yield module

    def to_string(self):
        count = sum(1 for _ in self.modules())
        return f"ut_message_context of {counted(count, 'module')}, language {int(self.value['current_language'])}"

    def children(self):
        for module in self.modules():
            component = self.value["components"][module]
            name = "no name" if is_null(component) else component.string()
            yield f"module {module}", f"{name}, {counted(int(self.value['entry_counts'][module]), 'message')}"


class ErrorContext:
    """_error_context: try frames, innermost first, each followed by the cleanup items that were
    registered in it, newest first. What was registered outside any frame comes last."""

    TWO_FIELDS = 1  # the low bit of a link to an item whose function takes an argument, too

    def __init__(self, value):
        self.value = value

    def frames(self):
        frame = self.value["frame"]
        while not is_null(frame):
            yield frame
            frame = frame["outer"]

    def to_string(self):
        frames = sum(1 for _ in self.frames())
        processing = "" if is_null(self.value["unwind_target"]) else ", an error is being processed"
        return f"_error_context in {counted(frames, 'try frame')}{processing}"

    def items(self, link, end):
        """The items from a link on, up to the one that was the newest when the frame was opened."""
        while link and link != end:
            two = link & self.TWO_FIELDS
            kind = "ut_cleanup_item_2" if two else "ut_cleanup_item"
            item = gdb.Value(link & ~self.TWO_FIELDS).cast(pointer_to(kind)).dereference()
            variable = int(item["variable"])
            target = hex(at(variable, 8)) if variable else "null"
            argument = hex(int(item["argument"])) + ", " if two else ""
            yield f"{named(item['clean'])}({argument}{target})"
            link = int(item["next"])

    def children(self):
        link = int(self.value["cleanup"])
        number = 0
        for i, frame in enumerate(self.frames()):
            handler = frame["message_handler"]
            if is_null(handler):
                handler = frame["identifier_handler"]
            yield f"frame {i}", f"handler {named(handler)}" if not is_null(handler) else "no handler"
            end = int(frame["saved_cleanup"])
            for shown in self.items(link, end):
                yield f"item {number}", shown
                number += 1
            link = end
        for shown in self.items(link, 0):
            yield f"item {number}", shown
            number += 1


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("qxut")
    for name, printer in (
            ("ut_array", Array), ("ut_ghash_table", HashTable), ("_ihash_table", IndexedHash),
            ("ut_namehash", NameHash), ("ut_gtable", ColumnTable), ("utSet", Set), ("ut_fsi", IntervalSet),
            ("ut_dsbuffer", StringBuffer), ("ut_message_context", MessageContext),
            ("_error_context", ErrorContext)):
        collection.add_printer(name, f"^{name}$", printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
