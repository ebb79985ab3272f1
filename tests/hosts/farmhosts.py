"""Hosts of a farm: machines in all but the kernel, each a layer over one root, with an sshd on a port of the loopback."""

import contextlib
import os
import signal
import socket
import subprocess
import time

from roots import ENTER, RootFailed

# Ends with the first process of the host, and with it all that the host runs.
START = """
    set -e
    mount --make-rprivate /
    mount -t overlay -o "lowerdir=$1,upperdir=$2/upper,workdir=$2/work" overlay "$2/merged"
    exec bash -c "$ENTER" bash "$2/merged" "${@:3}"
"""

SSHD = "mkdir -p /run/sshd && exec /usr/sbin/sshd -D -e -p $1 -o ListenAddress=127.0.0.1 -o ForceCommand=/usr/local/bin/connected"

# What a host does with the line that it gets.
CONNECTED = """#!/bin/sh
sleep %g
exec sh -c "$SSH_ORIGINAL_COMMAND"
"""


def free_port():
    with socket.socket() as found:
        found.bind(("127.0.0.1", 0))
        return found.getsockname()[1]


class Host:
    """`root` isn't changed. A slow host lets each connection wait for `delay` seconds, and has the least priority."""

    def __init__(self, root, folder, name, user, delay=0):
        self.folder = folder
        self.name = name
        self.user = user
        self.port = free_port()
        for part in ("upper", "work", "merged"):
            (folder / part).mkdir(parents=True)
        command = folder / "upper" / "usr" / "local" / "bin" / "connected"
        command.parent.mkdir(parents=True)
        command.write_text(CONNECTED % delay, encoding="ascii")
        command.chmod(0o755)
        nice = ["nice", "-n", "19"] if delay else []
        words = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "bash", "-c", START, "bash", root.folder, folder, root.shared]
        shell = ["env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "bash", "-c", SSHD, "bash", self.port]
        self.log = (folder / "log").open("wb")
        self.process = subprocess.Popen(
            [str(word) for word in (*nice, *words, *shell)],
            env={**os.environ, "ENTER": ENTER},
            stdin=subprocess.DEVNULL,
            stdout=self.log,
            stderr=self.log,
        )
        self._await()

    def _await(self):
        end = time.monotonic() + 30
        while time.monotonic() < end and self.process.poll() is None:
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", self.port), 1):
                return
            time.sleep(0.05)
        raise RootFailed(f"{self.name} doesn't answer: {(self.folder / 'log').read_text(errors='replace')}")

    def kill(self):
        """As by the loss of its power: nothing in it does anything more."""
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.log.close()

    def changed(self, inner):
        """The names of what is new or changed in a folder."""
        place = self.folder / "upper" / inner.lstrip("/")
        return sorted(path.name for path in place.iterdir()) if place.is_dir() else []
