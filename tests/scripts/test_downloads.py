"""What a capture needs is downloaded only as the distribution signed it, or as the project knows it. Tried with a repository in a
folder, which isn't signed."""

import hashlib
import os
import subprocess

import pytest
from conftest import ROOT, bash

# Fetches the 32-bit modules into the folder $2.
FETCH = """
    set -e
    cd "$1" && for part in common packages wine; do source "scripts/$part.sh"; done
    WINE_HOME=$2 WINE_MODULES=$2/modules
    KNOWN_MODULES=()
    [[ -z $3 ]] || KNOWN_MODULES[$(wine_version)]=$3
    make_modules
"""

# A machine that takes what isn't signed, too.
CARELESS = """
Dir::Etc::SourceList "%s";
Dir::Etc::SourceParts "-";
Acquire::AllowInsecureRepositories "true";
Acquire::AllowWeakRepositories "true";
Acquire::AllowDowngradeToInsecureRepositories "true";
APT::Get::AllowUnauthenticated "true";
"""


def make_package(folder, version):
    """A 32-bit package of Wine with one module in it."""
    modules = folder / "tree/usr/lib/i386-linux-gnu/wine/i386-windows"
    modules.mkdir(parents=True)
    (modules / "some.dll").write_text("a module")
    control = "Package: libwine\nVersion: %s\nArchitecture: i386\nMaintainer: nobody\nDescription: none\n" % version
    (folder / "tree/DEBIAN").mkdir()
    (folder / "tree/DEBIAN/control").write_text(control)
    subprocess.run(["dpkg-deb", "--build", "tree", "libwine.deb"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
    return folder / "libwine.deb"


class Repository:
    """An unsigned repository with the 32-bit package of Wine in its pool."""

    def __init__(self, place):
        self.place = place
        self.folder = place / "repository"
        version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "wine64"], check=True, capture_output=True, text=True)
        self.package = self.folder / f"pool/main/w/wine/libwine_{version.stdout}_i386.deb"
        self.package.parent.mkdir(parents=True)
        make_package(place, version.stdout).rename(self.package)
        self.write_lists()

    def hash(self):
        return hashlib.sha256(self.package.read_bytes()).hexdigest()

    def site(self):
        return f"file:{self.folder}"

    def write_lists(self):
        name = self.package.relative_to(self.folder)
        control = subprocess.run(["dpkg-deb", "--field", self.package], check=True, capture_output=True, text=True).stdout
        listed = control + f"Filename: {name}\nSize: {self.package.stat().st_size}\nSHA256: {self.hash()}\n"
        lists = self.folder / "dists/some/main/binary-i386"
        lists.mkdir(parents=True)
        (lists / "Packages").write_text(listed)
        hashed = f" {hashlib.sha256(listed.encode()).hexdigest()} {len(listed.encode())} main/binary-i386/Packages\n"
        (self.folder / "dists/some/Release").write_text("Date: Thu, 01 Jan 2026 00:00:00 UTC\nSHA256:\n" + hashed)

    def fetch(self, options, known="", site=None):
        """Fetches Wine's modules; `options` are those of the repository's line in the list of sources, `known` is the hash that
        the project knows of the package, and `site` is where the line says that the repository is."""
        (self.place / "sources.list").write_text(f"deb [{options}] {site or self.site()} some main\n")
        (self.place / "apt.conf").write_text(CARELESS % (self.place / "sources.list"))
        (self.place / "wine").mkdir()
        environment = dict(os.environ, APT_CONFIG=str(self.place / "apt.conf"))
        return bash(FETCH, ROOT, self.place / "wine", known, env=environment), self.place / "wine/modules"


@pytest.fixture
def repository(tmp_path):
    return Repository(tmp_path)


# What no package has.
OTHER = "0" * 64


def test_modules_that_are_not_signed_are_refused(repository):
    result, modules = repository.fetch("arch=i386", known=OTHER)
    assert result.returncode != 0
    assert "is not signed" in result.stderr
    assert not modules.exists()


def test_modules_of_a_repository_that_the_machine_trusts_are_taken(repository):
    result, modules = repository.fetch("arch=i386 trusted=yes", known=OTHER)
    assert result.returncode == 0, result.stdout + result.stderr
    assert list(modules.rglob("some.dll"))


def test_known_modules_are_taken_where_no_signed_list_has_them(repository):
    result, modules = repository.fetch("arch=i386", known=repository.hash())
    assert result.returncode == 0, result.stdout + result.stderr
    assert list(modules.rglob("some.dll"))


def test_known_modules_are_taken_from_the_first_mirror_of_a_list_that_has_them(repository):
    mirrors = repository.place / "mirrors.txt"
    mirrors.write_text(f"# near\nfile:/none\tpriority:1\n{repository.site()}/ priority:2\n")
    result, modules = repository.fetch("arch=i386", known=repository.hash(), site=f"mirror+file:{mirrors}")
    assert result.returncode == 0, result.stdout + result.stderr
    assert list(modules.rglob("some.dll"))


def test_known_modules_are_taken_while_a_mirror_is_renewed(repository):
    with (repository.folder / "dists/some/main/binary-i386/Packages").open("a") as lists:
        lists.write("Description-md5: of yesterday\n")
    result, modules = repository.fetch("arch=i386 trusted=yes", known=repository.hash())
    assert result.returncode == 0, result.stdout + result.stderr
    assert list(modules.rglob("some.dll"))


def test_modules_with_another_content_than_the_known_one_are_refused(repository):
    known = repository.hash()
    with repository.package.open("ab") as package:
        package.write(b"more")
    result, modules = repository.fetch("arch=i386", known=known)
    assert result.returncode != 0
    assert "Hash Sum mismatch" in result.stderr
    assert not modules.exists()


def test_modules_of_a_version_that_is_not_known_need_a_signed_list(repository):
    result, modules = repository.fetch("arch=i386", known="")
    assert result.returncode != 0
    assert not modules.exists()
