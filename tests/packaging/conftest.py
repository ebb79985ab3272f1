"""What the tests of the Debian package share: the package of this tree, its files, and those of the project."""

import subprocess
import tarfile
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def run(*command, **options):
    """Runs a command to its end and returns its status and output."""
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)


def output_of(*command):
    result = run(*command)
    assert result.returncode == 0, result.stderr
    return result.stdout


def tracked(*patterns):
    """The project's files, as paths below its folder."""
    names = output_of("git", "-c", "safe.directory=*", "-C", ROOT, "ls-files", "-z", "--", *patterns).split("\0")
    return [name for name in names if name]


class Package:
    """The package, and its files in a folder as `dpkg-deb -x` leaves them there."""

    def __init__(self, folder):
        self.deb = folder / "keyreap.deb"
        self.tree = folder / "an unpacked one"
        self.control = folder / "control"
        output_of(ROOT / "scripts" / "deb.sh", self.deb)
        output_of("dpkg-deb", "-x", self.deb, self.tree)
        output_of("dpkg-deb", "-e", self.deb, self.control)

    def members(self):
        """The entries of the archive of files, as tarfile has them."""
        with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", self.deb], stdout=subprocess.PIPE) as archive:
            with tarfile.open(fileobj=archive.stdout, mode="r|") as files:
                return list(files)

    def files(self):
        """The paths of all files below the folder of the package; folders and links are left out."""
        return [file for file in sorted(self.tree.rglob("*")) if file.is_file() and not file.is_symlink()]

    def field(self, name):
        return output_of("dpkg-deb", "-f", self.deb, name).strip()


@pytest.fixture(scope="session")
def package(tmp_path_factory):
    return Package(tmp_path_factory.mktemp("package"))
