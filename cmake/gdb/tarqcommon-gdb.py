"""Shows strings, containers and shared pointers of Tarq Common in gdb as what they mean.

gdb loads this by itself when it stands beside the library under the name <library>-gdb.py and the directory is one
that gdb trusts: add-auto-load-safe-path <directory>. By hand: source tarqcommon-gdb.py
"""

import gdb
import gdb.printing
import gdb.types


def base_of(value):
    """The sub-object of the first base class."""
    return value[next(field for field in value.type.fields() if field.is_base_class)]


def nested_type(value, name):
    """A class inside the class of the value."""
    return gdb.lookup_type("%s::%s" % (gdb.types.get_basic_type(value.type), name))


class Vector:
    def __init__(self, value):
        self.value = value

    def size(self):
        return int(self.value["mEnd"] - self.value["mBegin"])

    def element(self, index):
        return (self.value["mBegin"] + index).dereference()

    def to_string(self):
        capacity = int(self.value["mCapacityEnd"] - self.value["mBegin"])
        return "Vector of length %d, capacity %d" % (self.size(), capacity)

    def children(self):
        for index in range(self.size()):
            yield "[%d]" % index, self.element(index)

    def display_hint(self):
        return "array"


class BitVector:
    def __init__(self, value):
        self.words = Vector(value["mWords"])
        self.bits = int(value["mSize"])

    def element(self, index):
        return bool(int(self.words.element(index // 32)) >> (index % 32) & 1)

    def to_string(self):
        return "Vector<bool> of length %d" % self.bits

    def children(self):
        for index in range(self.bits):
            yield "[%d]" % index, self.element(index)

    def display_hint(self):
        return "array"


class String:
    def __init__(self, value):
        self.characters = Vector(value["mChars"])

    def to_string(self):
        # The final NUL is not part of the text; a string that never had any text has no storage.
        length = max(self.characters.size() - 1, 0)
        begin = self.characters.value["mBegin"]
        return begin.lazy_string(length=length) if length else ""

    def display_hint(self):
        return "string"


class List:
    def __init__(self, value):
        self.value = value
        self.size = int(value["mSize"])

    def to_string(self):
        return "List of length %d" % self.size

    def children(self):
        node = nested_type(self.value, "Node").pointer()
        links = self.value["mEnds"]["next"]
        for index in range(self.size):
            yield "[%d]" % index, links.cast(node)["value"]
            links = links["next"]

    def display_hint(self):
        return "array"


class LookUp:
    def __init__(self, value):
        self.value = value
        self.tree = value["mTree"]
        self.size = int(self.tree["mSize"])

    @staticmethod
    def following(links):
        if links["right"]:
            links = links["right"]
            while links["left"]:
                links = links["left"]
            return links
        while links == links["parent"]["right"]:
            links = links["parent"]
        return links["parent"]

    def to_string(self):
        return "LookUp with %d entries" % self.size

    def children(self):
        node = nested_type(self.value, "Node").pointer()
        links = self.tree["mFirst"]
        for index in range(self.size):
            if index:
                links = self.following(links)
            entry = links.cast(node)["entry"]
            yield "key %d" % index, entry["first"]
            yield "value %d" % index, entry["second"]

    def display_hint(self):
        return "map"


class StringLookUp(LookUp):
    def __init__(self, value):
        super().__init__(base_of(value))


class IDVector:
    def __init__(self, value):
        self.words = Vector(value["mWords"])
        self.valid = BitVector(value["mValid"])
        self.elements = int(value["mElementCount"])
        self.element = gdb.types.get_basic_type(value.type).template_argument(0).pointer()

    def to_string(self):
        return "IDVector of %d elements in %d slots" % (self.elements, self.words.size())

    def children(self):
        for id in range(self.words.size()):
            if self.valid.element(id):
                yield "[%d]" % id, self.words.element(id).cast(self.element)


class SegmentVector:
    def __init__(self, value):
        self.segments = Vector(value["mSegments"])
        self.size = int(value["mSize"])
        self.segment_size = int(gdb.types.get_basic_type(value.type).template_argument(1))

    def to_string(self):
        return "SegmentVector of length %d, capacity %d" % (self.size, self.segments.size() * self.segment_size)

    def children(self):
        for index in range(self.size):
            segment = self.segments.element(index // self.segment_size)
            yield "[%d]" % index, (segment + index % self.segment_size).dereference()

    def display_hint(self):
        return "array"


class SharedPtr:
    def __init__(self, value):
        self.value = value

    def count(self):
        """The count stands in a block of its own, or in the object's counted base; None when nobody knows where.

        Read by its address: following the pointer would have gdb look for the class of the whole object.
        """
        place = self.value["mCount"]
        for field in place.type.strip_typedefs().target().fields():
            if field.name in ("count", "mReferenceCount"):
                counter = place.cast(gdb.lookup_type("char").pointer()) + field.bitpos // 8
                return int(counter.cast(gdb.lookup_type("int").pointer()).dereference())
        return None

    def to_string(self):
        if not self.value["mPtr"]:
            return "SharedPtr (empty)"
        count = self.count()
        # The block is the library's own: without the library's debug information it is unknown.
        return "SharedPtr (count %s)" % ("unknown" if count is None else count)

    def children(self):
        if self.value["mPtr"]:
            yield "get()", self.value["mPtr"]


PRINTERS = {
    "Tarq::Common::BasicString": String,
    "Tarq::Common::SharedPtr": SharedPtr,
    "Tarq::Common::Container::IDVector": IDVector,
    "Tarq::Common::Container::List": List,
    "Tarq::Common::Container::LookUp": LookUp,
    "Tarq::Common::Container::SegmentVector": SegmentVector,
    "Tarq::Common::Container::StringLookUp": StringLookUp,
    "Tarq::Common::Container::Vector": Vector,
}


def template_of(name):
    """The template that a class comes from; None for a class that does not end with its template arguments."""
    depth = 0
    for position in range(len(name) - 1, -1, -1):
        depth += {">": 1, "<": -1}.get(name[position], 0)
        if depth == 0:
            return name[:position] if name[position] == "<" else None
    return None


class TarqPrinter(gdb.printing.PrettyPrinter):
    def __init__(self):
        super().__init__("tarqcommon", [gdb.printing.SubPrettyPrinter(name) for name in PRINTERS])

    def __call__(self, value):
        name = gdb.types.get_basic_type(value.type).tag
        template = template_of(name) if name else None
        printer = PRINTERS.get(template)
        if not printer or not self.is_enabled(template):
            return None
        if printer is Vector and name.endswith("Vector<bool>"):
            printer = BitVector
        return printer(value)

    def is_enabled(self, template):
        return next(printer.enabled for printer in self.subprinters if printer.name == template)


gdb.printing.register_pretty_printer(gdb.current_objfile(), TarqPrinter(), replace=True)
