# shellcheck shell=bash
# The distribution's packages that the project needs, installed only when missing. Sourced after common.sh.

# shellcheck disable=SC2034 # setup.sh names what each level needs
{
    # g++ builds the filter between Wine's server and its request log, and the observer of crashes. The error dialog
    # shows its details in one of the fonts.
    WINE_PACKAGES=(wine wine64 g++ fonts-dejavu-core)

    # Every build is configured with its tests, which need googletest and mingw-w64-tools.
    BUILD_PACKAGES=(cmake ninja-build g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools googletest)

    # ./bench measures parts with libbenchmark, and compares our SHA-1 with that of libssl.
    TEST_PACKAGES=(git python3 python3-pytest clang-format shellcheck xvfb xdotool imagemagick
        libbenchmark-dev libssl-dev)

    # The compiler of the fuzzers and its runtime library.
    FUZZ_PACKAGES=(clang libclang-rt-14-dev)

    # What scripts/tidy.sh checks the sources with.
    TIDY_PACKAGES=(clang-tidy)

    # What makes the installers of the examples.
    EXAMPLE_PACKAGES=(nsis wixl python3)
}

# missing_packages PACKAGE...: prints those that are not fully installed, one a line.
missing_packages() {
    local installed name
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null || true)
    for name in "$@"; do
        grep -qxF "ii $name" <<<"$installed" || printf '%s\n' "$name"
    done
}

# install_packages PACKAGE...: installs those that are missing, as root or through sudo.
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

# run_apt PACKAGE...: first completes an interrupted installation; waits for the locks of other installers.
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
