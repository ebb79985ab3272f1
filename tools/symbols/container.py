"""The container of a symbol file (MSF 7.00): numbered streams in blocks of a fixed size."""

import struct

BLOCK = 4096
MAGIC = b"Microsoft C/C++ MSF 7.00\r\n\x1aDS\0\0\0"

# The two maps of free blocks are the second and third of every BLOCK blocks. The first of them is in force.
MAPS = 1, 2


def packed(streams):
    """The bytes of a file with these streams."""
    blocks = [b"", b"", b""]

    def add(data):
        """Adds the data, and returns the numbers of its blocks."""
        numbers = []
        for start in range(0, len(data), BLOCK):
            while len(blocks) % BLOCK in MAPS:
                blocks.append(b"")
            numbers.append(len(blocks))
            blocks.append(data[start : start + BLOCK])
        return numbers

    def numbered(numbers):
        return struct.pack("<%dI" % len(numbers), *numbers)

    places = [add(stream) for stream in streams]
    directory = struct.pack("<I", len(streams)) + numbered([len(stream) for stream in streams])
    directory += b"".join(numbered(place) for place in places)
    (directory_place,) = add(numbered(add(directory)))
    # The maps of the last interval are there whole.
    while (len(blocks) - 1) % BLOCK < MAPS[1]:
        blocks.append(b"")
    blocks[0] = MAGIC + struct.pack("<IIIIII", BLOCK, MAPS[0], len(blocks), len(directory), 0, directory_place)
    fill_maps(blocks)
    return b"".join(block.ljust(BLOCK, b"\0") for block in blocks)


def fill_maps(blocks):
    """A bit is 1 for a free block: the blocks after the last one are free."""
    count = len(blocks)
    last = (count - 1) // BLOCK
    used = (1 << count) - 1
    bits = (~used & ((1 << (8 * BLOCK * (last + 1))) - 1)).to_bytes(BLOCK * (last + 1), "little")
    for interval in range(last + 1):
        for block in MAPS:
            blocks[interval * BLOCK + block] = bits[interval * BLOCK : (interval + 1) * BLOCK]
