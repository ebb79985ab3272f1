"""Where the project gets things from: no script fetches anything but at the places that are listed here, each with the reason."""

import re
from pathlib import Path

import pytest
from project import COMMANDS, ROOT, text_of, tracked

COMMANDS_THAT_FETCH = (
    "curl wget aria2c lynx ftp sftp scp rsync svn pip pip3 pipx npm npx yarn pnpm gem cargo cpan conan vcpkg docker podman "
    "apt-get aptitude dget mmdebstrap debootstrap urlopen urlretrieve urllib.request http.client ftplib requests.get"
).split()
FETCHERS = re.compile(
    r"(?<![\w./-])(%s)(?![\w/-])" % "|".join(map(re.escape, COMMANDS_THAT_FETCH))
    + r"|\bapt(?= (?:install|update|download|source)\b)|git\b.*[\s\"'](?:clone|fetch|pull|submodule)\b"
    + r"|\bapt-helper\b|\bFetchContent|\bExternalProject|\bfile\(\s*DOWNLOAD\b|/dev/(?:tcp|udp)/"
)

# What each file fetches with, and why it may.
PLACES = {
    "release": ({"git"}, "a clone of the checkout that it is in"),
    "scripts/packages.sh": ({"apt-get", "mmdebstrap"}, "signed packages of the distribution; mmdebstrap is one"),
    "scripts/wine.sh": ({"apt-get", "apt-helper"}, "a package of the distribution, signed or with a known content"),
    "scripts/innosetup.sh": ({"npm"}, "a package for tests alone, whose content is pinned"),
    "tests/hosts/roots.py": ({"apt-get", "mmdebstrap"}, "roots of the distribution, for tests alone"),
    "tests/hosts/test_hosts.py": ({"apt-get", "git"}, "packages of the distribution in such a root, and a clone of the checkout"),
}

# A test that puts a trap in the place of a command.
TRAPS = {"tests/scripts/test_setup.py": {"apt-get"}}

SCRIPTS = ("*.sh", "*.py", "*.cmake", "*CMakeLists.txt", "CMakePresets.json", *COMMANDS)


def fetchers_in(text):
    """The words of a script that fetch something; comments are left out."""
    lines = (re.sub(r"(^|\s)#.*", "", line) for line in text.splitlines())
    return {"git" if match[0].startswith("git") else match[0] for line in lines for match in FETCHERS.finditer(line)}


def test_nothing_is_fetched_but_at_the_listed_places():
    own = Path(__file__).relative_to(ROOT).as_posix()
    found = {name: fetchers_in(text_of(name)) for name in tracked(*SCRIPTS) if name != own}
    expected = {name: words for name, (words, _) in PLACES.items()} | TRAPS
    assert {name: words for name, words in found.items() if words} == expected


@pytest.mark.parametrize(
    "text, expected",
    [
        ("curl -fsSO x", {"curl"}),
        ("  true && pip3 install x  # wget", {"pip3"}),
        ("apt install x", {"apt"}),
        ("/usr/lib/apt/apt-helper download-file x", {"apt-helper"}),
        ("/var/lib/apt/lists # apt-get", set()),
        ('git -C "$x" clone y', {"git"}),
        ("include(FetchContent)", {"FetchContent"}),
        ("from urllib.request import urlopen", {"urllib.request", "urlopen"}),
        ("exec 3<>/dev/tcp/host/80", {"/dev/tcp/"}),
    ],
)
def test_what_fetches_is_recognised(text, expected):
    assert fetchers_in(text) == expected


def test_a_package_of_another_registry_is_pinned_by_its_content():
    text = text_of("scripts/innosetup.sh")
    assert re.search(r"^INNO_HASH=[0-9a-f]{128}$", text, re.M)
    fetched, checked, unpacked = (text.index(word) for word in ("npm pack ", "sha512sum --check ", "tar -xzf "))
    assert fetched < checked < unpacked


def test_a_package_of_the_distribution_without_a_signed_list_is_pinned_by_its_content():
    text = text_of("scripts/wine.sh")
    hashes, calls = re.findall(r"^    \[[^]]+\]=(.*)$", text, re.M), re.findall(r"apt-helper .*", text)
    assert hashes and all(re.fullmatch("[0-9a-f]{64}", known) for known in hashes)
    assert calls and all('"SHA256:$hash"' in call for call in calls)


def test_packages_of_the_distribution_are_fetched_only_signed():
    for name in ("scripts/packages.sh", "scripts/wine.sh"):
        calls = re.findall(r"apt-get -q .*(?:update|install|download)\b.*", text_of(name))
        assert calls and all("SIGNED_ONLY[@]" in call or "${options[@]}" in call for call in calls)
    assert 'options=("${SIGNED_ONLY[@]}" ' in text_of("scripts/wine.sh")
