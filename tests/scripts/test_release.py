"""./release: it makes a zip and a Debian package only of a commit, and only if two clean builds of it are the same; with each is
the bill of its materials. Tested with the small project; ./release compares the builds of the real one each time."""

import hashlib
import json
import os
import shutil
import subprocess
import time
import zipfile

import pytest
import spdxrules
from conftest import ROOT, new_tree, run

LAID_OUT = ["README.md", "LICENSE", "docs", "examples", "packaging", "release", ".gitignore"]
BUILD_FILES = [*("Keyreap%s.cmake" % part for part in ("", "Capture", "Config", "Kit")), "typelibrary.cmake", "oaidl.idl"]
CHANGELOG = """keyreap (1.2.3) unstable; urgency=medium

  * A change.

 -- A tester <tester@localhost.invalid>  Sun, 22 Nov 2026 08:00:00 +0000
"""

RELEASED = ["keyreap-1.2.3.zip", "keyreap_1.2.3_amd64.deb"]
BILLS = [name + ".spdx.json" for name in RELEASED]


def git(tree, *words, stdout=subprocess.DEVNULL):
    identity = {name % who: "tester" for name in ("GIT_%s_NAME", "GIT_%s_EMAIL") for who in ("AUTHOR", "COMMITTER")}
    command = ["git", "-c", "safe.directory=*", "-C", tree.folder, *words]
    return subprocess.run(command, check=True, env=dict(os.environ, **identity), stdout=stdout)


def shorten_tools(folder):
    """Native programs that build at once, since a release builds them twice."""
    for place in ("hostlogger", "pe", "platform", "regmodel", "tools/box", "tools/capturecheck", "tools/observer"):
        for source in (folder / place).rglob("*.cpp"):
            is_program = source.stem in ("capturecheck", "observer", "requestfilter", "sessionbox")
            source.write_text("int main() {}\n" if is_program else "")


@pytest.fixture(scope="module")
def committed_tree():
    """A tree that is a repository with one commit."""
    tree = new_tree()
    for name in LAID_OUT + ["cmake/" + name for name in BUILD_FILES]:
        copy = shutil.copytree if (ROOT / name).is_dir() else shutil.copy
        copy(ROOT / name, tree.folder / name)
    (tree.folder / "packaging" / "changelog").write_text(CHANGELOG)
    shorten_tools(tree.folder)
    git(tree, "init", "-q")
    git(tree, "add", ".")
    git(tree, "commit", "-qm", "all")
    yield tree
    shutil.rmtree(tree.folder)


def release(tree, version="1.2.3"):
    return run(tree.folder / "release", version)


def sums(text):
    return {name: digest for digest, name in (line.split("  ", 1) for line in text.splitlines())}


@pytest.fixture(scope="module")
def made(committed_tree):
    """The folder of a release."""
    result = release(committed_tree)
    assert result.returncode == 0, result.stderr
    folder = committed_tree.build / "release"
    assert result.stdout.splitlines() == [str(folder / name) for name in RELEASED]
    return folder


def test_a_release_is_a_zip_and_a_package_with_their_bills_and_checksums(made):
    assert sorted(os.listdir(made)) == sorted(RELEASED + BILLS + ["SHA256SUMS"])
    assert sorted(sums((made / "SHA256SUMS").read_text())) == sorted(RELEASED + BILLS)
    result = run("sha256sum", "--check", "--strict", "SHA256SUMS", cwd=made)
    assert result.returncode == 0, result.stderr


def files_of(released, folder):
    """The bytes of each file in a zip or in a Debian package."""
    if released.suffix == ".zip":
        with zipfile.ZipFile(released) as archive:
            return {"./" + name: archive.read(name) for name in archive.namelist()}
    subprocess.run(["dpkg-deb", "-x", released, folder], check=True)
    files = [file for file in folder.rglob("*") if file.is_file() and not file.is_symlink()]
    return {"./" + file.relative_to(folder).as_posix(): file.read_bytes() for file in files}


@pytest.mark.parametrize("name", RELEASED)
def test_a_bill_lists_the_files_with_their_checksums(made, tmp_path, name):
    document = json.loads((made / (name + ".spdx.json")).read_text(encoding="utf-8"))
    spdxrules.check(document)
    listed = {file["fileName"]: file["checksums"] for file in document["files"]}
    assert listed == {
        file: [spdxrules.checksum("SHA1", data), spdxrules.checksum("SHA256", data)]
        for file, data in files_of(made / name, tmp_path).items()
    }
    (product,) = [package for package in document["packages"] if package["name"] == "keyreap"]
    assert (product["versionInfo"], product["packageFileName"]) == ("1.2.3", name)
    assert product["checksums"][1]["checksumValue"] == hashlib.sha256((made / name).read_bytes()).hexdigest()


@pytest.mark.parametrize("name", BILLS)
def test_a_bill_has_the_time_of_the_commit(committed_tree, made, name):
    seconds = git(committed_tree, "log", "-1", "--format=%ct", stdout=subprocess.PIPE).stdout
    created = json.loads((made / name).read_text(encoding="utf-8"))["creationInfo"]["created"]
    assert created == time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(int(seconds)))


@pytest.mark.parametrize("name", BILLS)
def test_every_program_has_its_run_time_in_the_bill(made, name):
    document = json.loads((made / name).read_text(encoding="utf-8"))
    names = {file["SPDXID"]: file["fileName"] for file in document["files"]}
    programs = {identifier for identifier, name in names.items() if name.endswith(".exe") or "/tools/" in name}
    linked = {first for first, _ in spdxrules.links(document, "STATIC_LINK")}
    assert programs and programs <= linked


def test_the_bill_of_the_package_lists_what_it_depends_on(made):
    document = json.loads((made / BILLS[1]).read_text(encoding="utf-8"))
    names = {package["SPDXID"]: package["name"] for package in document["packages"]}
    assert {"wine", "wine64"} <= {names[first] for first, _ in spdxrules.links(document, "RUNTIME_DEPENDENCY_OF")}


def test_the_zip_has_the_checksums_of_its_files(made):
    with zipfile.ZipFile(made / RELEASED[0]) as archive:
        files = {name.removeprefix("Keyreap/"): hashlib.sha256(archive.read(name)).hexdigest() for name in archive.namelist()}
        listed = sums(archive.read("Keyreap/SHA256SUMS").decode())
    assert listed == {name: digest for name, digest in files.items() if name != "SHA256SUMS"}
    assert {"README.md", "LICENSE", "cmake/KeyreapConfig.cmake", "bin/x64/Keyreap.exe", "bin/x86/Keyreap.exe"} <= set(files)
    assert {"selfcheck/selfcheck.cmd", "selfcheck/selfcheck.exe", "selfcheck/tests/x86/suite_good.exe"} <= set(files)


def test_the_package_has_the_program_that_the_zip_has(made, tmp_path):
    subprocess.run(["dpkg-deb", "-x", made / RELEASED[1], tmp_path], check=True)
    with zipfile.ZipFile(made / RELEASED[0]) as archive:
        for program in ("bin/x64/Keyreap.exe", "bin/x86/Keyreap.exe"):
            assert (tmp_path / "usr/lib/keyreap/stage" / program).read_bytes() == archive.read("Keyreap/" + program)


def test_a_version_that_the_project_does_not_have_is_refused(committed_tree):
    result = release(committed_tree, "1.2.4")
    assert (result.returncode, result.stdout) == (125, "")
    assert "says version 1.2.3, not 1.2.4" in result.stderr


def test_what_is_not_committed_is_refused(committed_tree):
    file = committed_tree.folder / "forgotten.cpp"
    file.write_text("")
    result = release(committed_tree)
    file.unlink()
    assert (result.returncode, result.stdout) == (125, "")
    assert "not committed" in result.stderr


def release_of_change(tree, old, new):
    """Tries to make a release of a commit that changes the program; nothing is released."""
    text = tree.source.read_text()
    tree.edit(old, new)
    git(tree, "commit", "-qam", "a change")
    shutil.rmtree(tree.build / "release", ignore_errors=True)
    result = release(tree)
    git(tree, "reset", "-q", "--hard", "HEAD~1")
    assert tree.source.read_text() == text
    assert (result.returncode, result.stdout) == (125, "")
    assert list((tree.build / "release").iterdir()) == []
    return result.stderr


def test_builds_that_differ_are_no_release(committed_tree):
    assert "two builds of one commit differ" in release_of_change(committed_tree, 'L"wait"', 'L"" __TIME__')


def test_a_part_of_unknown_origin_is_no_release(committed_tree, tmp_path):
    header = tmp_path / "foreign.h"
    header.write_text("")
    said = release_of_change(committed_tree, "#include <string>", '#include <string>\n#include "%s"' % header)
    assert "Keyreap.exe: %s is in it, and is not a file of any package" % header in said
    assert "no release without a bill" in said


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_the_program_names_no_folder_of_this_machine(bitness):
    folder = ROOT / "build" / "stage" / "bin" / bitness
    assert b"platform\\core\\text\\text.cpp" in (folder / "Keyreap.pdb").read_bytes()
    for name in ("Keyreap.exe", "Keyreap.pdb"):
        data = (folder / name).read_bytes()
        assert os.fsencode(ROOT) not in data
        assert os.fsencode(str(ROOT).replace("/", "\\")) not in data
