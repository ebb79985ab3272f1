"""What a capture needs is downloaded only as the distribution signed it. Tried with a repository in a folder, which isn't signed."""

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
    """The 32-bit package of Wine with one module in it."""
    modules = folder / "tree/usr/lib/i386-linux-gnu/wine/i386-windows"
    modules.mkdir(parents=True)
    (modules / "some.dll").write_text("a module")
    control = "Package: libwine\nVersion: %s\nArchitecture: i386\nMaintainer: nobody\nDescription: none\n" % version
    (folder / "tree/DEBIAN").mkdir()
    (folder / "tree/DEBIAN/control").write_text(control)
    subprocess.run(["dpkg-deb", "--build", "tree", "libwine.deb"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
    data = (folder / "libwine.deb").read_bytes()
    return control + "Filename: ./libwine.deb\nSize: %d\nSHA256: %s\n" % (len(data), hashlib.sha256(data).hexdigest())


@pytest.fixture
def fetch(tmp_path):
    """Fetches Wine's modules from an unsigned repository; `options` are those of its line in the list of sources."""
    version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "wine64"], check=True, capture_output=True, text=True).stdout
    repository = tmp_path / "repository"
    repository.mkdir()
    listed = make_package(repository, version)
    (repository / "Packages").write_text(listed)
    line = " %s %d Packages\n" % (hashlib.sha256(listed.encode()).hexdigest(), len(listed.encode()))
    (repository / "Release").write_text("Date: Thu, 01 Jan 2026 00:00:00 UTC\nSHA256:\n" + line)

    def run(options):
        (tmp_path / "sources.list").write_text("deb [%s] file:%s ./\n" % (options, repository))
        (tmp_path / "apt.conf").write_text(CARELESS % (tmp_path / "sources.list"))
        (tmp_path / "wine").mkdir()
        environment = dict(os.environ, APT_CONFIG=str(tmp_path / "apt.conf"))
        return bash(FETCH, ROOT, tmp_path / "wine", env=environment), tmp_path / "wine/modules"

    return run


def test_modules_that_are_not_signed_are_refused(fetch):
    result, modules = fetch("arch=i386")
    assert result.returncode != 0
    assert "is not signed" in result.stderr
    assert not modules.exists()


def test_modules_of_a_repository_that_the_machine_trusts_are_taken(fetch):
    result, modules = fetch("arch=i386 trusted=yes")
    assert result.returncode == 0, result.stdout + result.stderr
    assert list(modules.rglob("some.dll"))
