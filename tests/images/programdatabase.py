"""Reads what identifies a program database (PDB): the file is a set of streams in numbered blocks, and stream 1 has the
GUID and the age.

Superblock: 32 bytes of magic, then 32-bit numbers: size of a block, block of the free map, number of blocks, size of the
directory in bytes, a number without a meaning, the block with the list of the directory's blocks. The directory has the
number of streams, the size of each, and then the blocks of each. Stream 1 begins with version, signature, age and GUID.
"""

import struct

MAGIC = b"Microsoft C/C++ MSF 7.00\r\n\x1aDS\0\0\0"
NO_STREAM = 0xFFFFFFFF
IDENTITY = 1


class ProgramDatabase:
    """The identity of a file; ValueError if the file is damaged."""

    def __init__(self, data):
        self.data = data
        if data[: len(MAGIC)] != MAGIC:
            raise ValueError("it is no program database")
        self.block_size, _, _, size, _, block = self.numbers(data, len(MAGIC), 6)
        if self.block_size not in (512, 1024, 2048, 4096):
            raise ValueError(f"its blocks have {self.block_size} bytes")
        places = self.numbers(self.block(block), 0, self.blocks_for(size))
        stream = self.stream_of(self.joined(places, size), IDENTITY)
        _, _, self.age = self.numbers(stream, 0, 3)
        self.guid = stream[12:28]
        if len(self.guid) != 16:
            raise ValueError("its GUID is cut off")

    @staticmethod
    def numbers(data, offset, count):
        if offset + 4 * count > len(data):
            raise ValueError("it is cut off")
        return struct.unpack_from(f"<{count}I", data, offset)

    def blocks_for(self, size):
        return (size + self.block_size - 1) // self.block_size

    def block(self, number):
        return self.data[number * self.block_size : (number + 1) * self.block_size]

    def joined(self, blocks, size):
        data = b"".join(map(self.block, blocks))[:size]
        if len(data) != size:
            raise ValueError("it is cut off")
        return data

    def stream_of(self, directory, wanted):
        (count,) = self.numbers(directory, 0, 1)
        sizes = [0 if size == NO_STREAM else size for size in self.numbers(directory, 4, count)]
        if wanted >= count:
            raise ValueError("a stream is missing")
        before = sum(map(self.blocks_for, sizes[:wanted]))
        blocks = self.numbers(directory, 4 * (1 + count + before), self.blocks_for(sizes[wanted]))
        return self.joined(blocks, sizes[wanted])
