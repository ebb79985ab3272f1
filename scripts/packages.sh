# shellcheck shell=bash
# The distribution's packages that the project needs, installed only when missing. Sourced after common.sh.

# shellcheck disable=SC2034 # setup.sh names what each level needs
{
    # g++ builds the filter between Wine's server and its request log, and the observer of crashes; the fonts have that of
    # the error dialog's details.
    WINE_PACKAGES=(wine wine64 g++ fonts-dejavu-core)

    # googletest and mingw-w64-tools belong to the one configuration of each build.
    BUILD_PACKAGES=(cmake ninja-build g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools googletest)

    # The last two: what ./bench measures parts with, and whose SHA-1 it compares ours with.
    TEST_PACKAGES=(git python3 python3-pytest clang-format shellcheck xvfb xdotool imagemagick
        libbenchmark-dev libssl-dev)

    # The compiler of the fuzzers and its run time.
    FUZZ_PACKAGES=(clang libclang-rt-14-dev)

    # What makes the installers of the examples.
    EXAMPLE_PACKAGES=(nsis wixl python3)
}

# missing_packages PACKAGE...: those that are not fully installed, one a line.
missing_packages() {
    local installed name
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null || true)
    for name in "$@"; do
        grep -qxF "ii $name" <<<"$installed" || printf '%s\n' "$name"
    done
}

# install_packages PACKAGE...: installs what is missing of them, as root or through sudo.
install_packages() {
    local missing
    command -v dpkg-query >/dev/null || fail "this needs Debian 12 (dpkg-query is not there)"
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} > 0)) || return 0
    ((EUID == 0)) || command -v sudo >/dev/null ||
        fail "packages are missing and there is no sudo; as root: apt-get install --no-install-recommends ${missing[*]}"
    printf 'keyreap: installing %s\n' "${missing[@]}" >&2
    step packages "installing packages" run_apt "${missing[@]}"
}

# run_apt PACKAGE...: an installation that was broken off is ended first; locks of others are waited for.
run_apt() {
    as_root dpkg --configure -a
    as_root apt-get -q update || echo "the lists are not all up to date; going on with what is there"
    as_root apt-get -q -y -o DPkg::Lock::Timeout=600 install --no-install-recommends "$@"
}

as_root() {
    if ((EUID == 0)); then
        DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo DEBIAN_FRONTEND=noninteractive "$@"
    fi
}
