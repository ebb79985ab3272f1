"""The tables of names in a symbol file, and the hash that orders them."""

import struct

GLOBAL_BUCKETS = 4096
GLOBAL_VERSION = 0xEFFE0000 + 19990810


def name_hash(name):
    """Of the name's bytes, in pieces of four, two and one; it makes no difference between letters of ASCII by case."""
    data = name.encode()
    whole = len(data) // 4
    value = 0
    for unit in struct.unpack_from("<%dI" % whole, data):
        value ^= unit
    rest = data[4 * whole :]
    if len(rest) >= 2:
        value ^= struct.unpack_from("<H", rest)[0]
        rest = rest[2:]
    if rest:
        value ^= rest[0]
    value |= 0x20202020
    value ^= value >> 11
    return value ^ (value >> 16)


class NameTable:
    """Texts by their offset in one buffer, which begins with the empty text."""

    def __init__(self):
        self.buffer = bytearray(b"\0")
        self.offsets = {}

    def add(self, name):
        if name not in self.offsets:
            self.offsets[name] = len(self.buffer)
            self.buffer += name.encode() + b"\0"
        return self.offsets[name]

    def packed(self):
        count = (len(self.offsets) + 1) * 5 // 4
        buckets = [0] * count
        for name, offset in self.offsets.items():
            place = name_hash(name) % count
            while buckets[place]:
                place = (place + 1) % count
            buckets[place] = offset
        start = struct.pack("<III", 0xEFFEEFFE, 1, len(self.buffer)) + bytes(self.buffer)
        return start + struct.pack("<I%dII" % count, count, *buckets, len(self.offsets))


def stream_names(streams):
    """The map from the names of streams to their numbers."""
    buffer = b""
    capacity = 2 * len(streams)
    buckets = [None] * capacity
    for name, number in streams.items():
        place = (name_hash(name) & 0xFFFF) % capacity
        while buckets[place]:
            place = (place + 1) % capacity
        buckets[place] = len(buffer), number
        buffer += name.encode() + b"\0"
    present = sum(1 << place for place, entry in enumerate(buckets) if entry)
    text = struct.pack("<I", len(buffer)) + buffer + struct.pack("<IIIII", len(streams), capacity, 1, present, 0)
    return text + b"".join(struct.pack("<II", *entry) for entry in buckets if entry) + bytes(4)


def global_table(symbols):
    """The hash table of records, each given by its name and its offset in the stream of records."""
    buckets = {}
    for name, offset in symbols:
        buckets.setdefault(name_hash(name) % GLOBAL_BUCKETS, []).append((len(name.encode()), name.lower(), name, offset))
    entries = b""
    starts = []
    present = bytearray((GLOBAL_BUCKETS // 32 + 1) * 4)
    for bucket in sorted(buckets):
        # In memory an entry has three fields.
        starts.append(len(entries) // 8 * 12)
        present[bucket // 8] |= 1 << bucket % 8
        for *_, offset in sorted(buckets[bucket]):
            entries += struct.pack("<II", offset + 1, 1)
    index = bytes(present) + struct.pack("<%dI" % len(starts), *starts)
    return struct.pack("<IIII", 0xFFFFFFFF, GLOBAL_VERSION, len(entries), len(index)) + entries + index
