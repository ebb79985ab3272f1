"""Listeners of the host, its shared memory and keys, and a terminal: what a server must not reach."""

import ctypes
import fcntl
import functools
import os
import pty
import select
import socket
import termios
import threading
import tty

LIBRARY = ctypes.CDLL(None, use_errno=True)


class Listener:
    """Greets whoever connects with the secret."""

    def __init__(self, family, address, secret):
        self.socket = socket.socket(family, socket.SOCK_STREAM)
        self.socket.bind(address)
        self.socket.listen()
        self.secret = secret.encode()
        threading.Thread(target=self.greet, daemon=True).start()

    def greet(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return
            with connection:
                connection.sendall(self.secret)

    @property
    def port(self):
        return self.socket.getsockname()[1]

    def close(self):
        self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()


def own_addresses():
    """This host's address in its network, for each family: the one from which it would send. Nothing is sent."""
    found = []
    for family, elsewhere in ((socket.AF_INET, "192.0.2.77"), (socket.AF_INET6, "2001:db8::77")):
        with socket.socket(family, socket.SOCK_DGRAM) as probe:
            try:
                probe.connect((elsewhere, 9))
            except OSError:
                continue
            found.append((family, probe.getsockname()[0]))
    return found


class SharedMemory:
    """A segment that only its owner may attach; the owner needs no rights to remove it."""

    CREATE, EXCLUSIVE, REMOVE, CHANGE = 0o1000, 0o2000, 0, 1

    def __init__(self, key, secret, owner):
        self.number = LIBRARY.shmget(key, 4096, self.CREATE | self.EXCLUSIVE | 0o600)
        assert self.number >= 0, os.strerror(ctypes.get_errno())
        LIBRARY.shmat.restype = ctypes.c_void_p
        address = LIBRARY.shmat(self.number, None, 0)
        ctypes.memmove(address, secret.encode(), len(secret))
        LIBRARY.shmdt(ctypes.c_void_p(address))
        self.give_to(owner)

    def give_to(self, owner):
        record = ctypes.create_string_buffer(256)
        assert LIBRARY.shmctl(self.number, 2, record) == 0
        # After the key: the owner and the group.
        ctypes.memmove(ctypes.addressof(record) + 4, owner.to_bytes(4, "little") * 2, 8)
        assert LIBRARY.shmctl(self.number, self.CHANGE, record) == 0

    def close(self):
        LIBRARY.shmctl(self.number, self.REMOVE, None)


class Key:
    """A secret in the keyring of this process's session, which its children have too. `is_there` if the kernel has keyrings."""

    ADD, CONTROL, JOIN, UNLINK, SESSION = 248, 250, 1, 9, -3

    def __init__(self, name, secret):
        self.join_own()
        secret = secret.encode()
        self.number = LIBRARY.syscall(self.ADD, b"user", name.encode(), secret, len(secret), self.SESSION)
        self.is_there = self.number >= 0

    @classmethod
    @functools.cache
    def join_own(cls):
        """The keyring that was there belongs to others too."""
        LIBRARY.syscall(cls.CONTROL, cls.JOIN, None)

    def close(self):
        LIBRARY.syscall(self.CONTROL, self.UNLINK, self.number, self.SESSION)


class Terminal:
    """The terminal at which the caller is."""

    def __init__(self, owner):
        self.master, self.slave = pty.openpty()
        tty.setraw(self.slave)
        os.fchown(self.slave, owner, -1)

    @property
    def path(self):
        return os.ttyname(self.slave)

    def become_own(self):
        """In the process that is to be at the terminal, which begins a session."""
        fcntl.ioctl(self.slave, termios.TIOCSCTTY, 0)

    def typed(self):
        """What waits in its input."""
        readable, _, _ = select.select([self.slave], [], [], 0)
        return os.read(self.slave, 4096).decode() if readable else ""

    def close(self):
        os.close(self.master)
        os.close(self.slave)
