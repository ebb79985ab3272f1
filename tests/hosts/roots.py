"""Minimal roots of Debian's releases, made with mmdebstrap from the package sources of this machine."""

import contextlib
import fcntl
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

RELEASES = {"bookworm": "Debian 12", "trixie": "Debian 13"}

# The plain user of a root.
USER = "builder"


class RootFailed(AssertionError):
    """A root could not be made, or a command in it failed."""


def output_of(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True, stdin=subprocess.DEVNULL).stdout


def own_release():
    """The code name of the machine's release."""
    lines = Path("/etc/os-release").read_text(encoding="utf-8").splitlines()
    return dict(line.split("=", 1) for line in lines if "=" in line)["VERSION_CODENAME"]


def other_release():
    return next(release for release in RELEASES if release != own_release())


# A line for each list of packages: where it is from, for which release, and which part of it.
TARGETS = ["apt-get", "indextargets", "--format", "$(ORIGIN)|$(SITE)|$(CODENAME)|$(COMPONENT)", "Created-By: Packages"]


def own_sources():
    lines = output_of(*TARGETS).splitlines()
    if not lines:
        output_of("apt-get", "-q", "update")
        lines = output_of(*TARGETS).splitlines()
    fields = [line.split("|") for line in lines]
    return sorted({tuple(rest) for origin, *rest in fields if origin == "Debian"})


def sources_of(release, with_updates=True):
    """The distribution's own among the machine's package sources, one a line, with the other release's name."""
    own = own_release()
    return "".join(
        f"deb {site} {codename.replace(own, release)} {component}\n"
        for site, codename, component in own_sources()
        if (codename.startswith(own) if with_updates else codename == own)
    )


def remove(folder):
    subprocess.run(["rm", "-rf", "--one-file-system", folder], check=True)


def remove_abandoned():
    """What runs that were killed have left. A run holds the lock of its folder."""
    for lock in (ROOT / "build").glob("hosts.*/lock"):
        with lock.open() as held:
            try:
                fcntl.flock(held, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                continue
            remove(lock.parent)


@contextlib.contextmanager
def place_for_roots():
    """A folder for roots, with a folder `shared` for what they share."""
    remove_abandoned()
    folder = Path(tempfile.mkdtemp(prefix="hosts.", dir=ROOT / "build"))
    folder.chmod(0o755)
    with (folder / "lock").open("w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        (folder / "shared").mkdir()
        try:
            yield folder
        finally:
            remove(folder)


def acquire_settings():
    """How the machine fetches packages: proxies, dates."""
    return "".join(line + "\n" for line in output_of("apt-config", "dump").splitlines() if line.startswith("Acquire::"))


# Runs a command with the folder $1 as its root, in namespaces of its own: what it mounts and starts ends with it. Unlike
# with chroot(1) an ordinary user may make further namespaces, as on a machine. $2 is a folder that appears as /mnt.
ENTER = """
    set -e
    mount --make-rprivate / && mount --bind "$1" "$1" && cd "$1"
    mount -t proc proc proc && mount --rbind /dev dev && mount --rbind /sys sys && mount -t tmpfs tmpfs run
    mount --bind "$2" mnt && mount -o remount,bind,ro mnt
    pivot_root . . && umount -l . && cd / && shift 2 && exec "$@"
"""

AS_USER = ["setpriv", "--reuid", USER, "--regid", USER, "--init-groups", "--no-new-privs", "--"]


class Root:
    """A root in a folder that doesn't exist yet; `shared` appears in it as /mnt. `foreign` is an architecture whose packages
    it can have, too; it has no updates then, since a mirror's lists of them may differ between architectures."""

    def __init__(self, release, folder, shared, *packages, foreign=None):
        self.release = release
        self.folder = folder
        self.shared = shared
        self.name = RELEASES[release]
        self._make(["ca-certificates", "passwd", *packages], foreign)

    def _make(self, packages, foreign):
        if os.geteuid() != 0:
            raise RootFailed("making a root needs the rights of root: run ./test as root")
        settings = self.folder.with_name(self.folder.name + ".apt")
        settings.write_text(acquire_settings(), encoding="utf-8")
        words = ["mmdebstrap", "--quiet", "--variant=minbase", f"--aptopt={settings}", "--include=" + ",".join(packages)]
        own = output_of("dpkg", "--print-architecture").strip()
        words += [f"--architectures={own},{foreign}"] if foreign else []
        sources = sources_of(self.release, with_updates=not foreign)
        made = subprocess.run([*words, self.release, self.folder, "-"], input=sources, capture_output=True, text=True)
        settings.unlink()
        if made.returncode != 0:
            raise RootFailed(f"a root of {self.name} can't be made: {made.stderr}")
        shutil.copy("/etc/resolv.conf", self.folder / "etc" / "resolv.conf")
        self.succeed("useradd", "-m", USER)

    def run(self, *words, user=False, folder="/root", **variables):
        """Runs a command without a display and without the caller's variables; returns its status and output."""
        home = f"/home/{USER}" if user else "/root"
        values = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": home, "DEBIAN_FRONTEND": "noninteractive", **variables}
        environment = [f"{name}={value}" for name, value in values.items()]
        inner = ["env", "-i", "-C", folder, *environment, *(AS_USER if user else []), *words]
        space = ["unshare", "--mount", "--pid", "--fork", "--kill-child"]
        command = [*space, "bash", "-c", ENTER, "bash", self.folder, self.shared, *inner]
        return subprocess.run(
            [str(word) for word in command], capture_output=True, text=True, stdin=subprocess.DEVNULL, errors="replace"
        )

    def succeed(self, *words, **options):
        """Runs a command that has to end with 0; returns its standard output."""
        result = self.run(*words, **options)
        if result.returncode != 0:
            raise RootFailed(f"{self.name}: {words} ended with {result.returncode}:\n{result.stdout}{result.stderr}")
        return result.stdout

    def path(self, inner):
        """Where a file of the root is on this machine."""
        return self.folder / inner.lstrip("/")

    def megabytes(self, *inner):
        """How much disk folders of the root take."""
        return int(output_of("du", "-scm", *(str(self.path(path)) for path in inner)).split()[-2])

    def remove(self):
        remove(self.folder)
