"""A process of the caller: it has a secret in its memory, its environment and an open file, and reports its first signal.
Usage: victim.py SECRET FILE SIGNALLED. Prints its number, the secret's address and the file's descriptor, and ends with its
input."""

import mmap
import os
import signal
import sys
from ctypes import CDLL, c_char, c_long, c_size_t, c_void_p, memmove

# Below 4 GB, where a 32-bit process can name it.
MAP_32BIT = 0x40


def kept_in_memory(secret):
    library = CDLL(None)
    library.mmap.restype = c_void_p
    library.mmap.argtypes = [c_void_p, c_size_t, c_long, c_long, c_long, c_long]
    kinds = mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS | MAP_32BIT
    address = library.mmap(None, mmap.PAGESIZE, mmap.PROT_READ | mmap.PROT_WRITE, kinds, -1, 0)
    memmove(address, (c_char * len(secret)).from_buffer_copy(secret), len(secret))
    return address


def main():
    secret, file, signalled = sys.argv[1:]
    signal.signal(signal.SIGUSR1, lambda *_: os.close(os.open(signalled, os.O_CREAT)))
    address = kept_in_memory(secret.encode())
    os.chdir(os.path.dirname(file))
    print(os.getpid(), address, os.open(file, os.O_RDONLY), flush=True)
    sys.stdin.read()


main()
