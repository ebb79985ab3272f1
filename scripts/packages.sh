# shellcheck shell=bash
# The distribution's packages that the project needs, installed only when missing. Sourced after common.sh.

# shellcheck disable=SC2034 # setup.sh names what each level needs
{
    # The error dialog shows its details in one of the fonts. Bubblewrap makes the boxes of the sessions.
    WINE_PACKAGES=(wine wine64 fonts-dejavu-core bubblewrap)

    # What builds the native programs (tools.sh).
    TOOL_PACKAGES=(g++)

    # Every build is configured with its tests, which need googletest and mingw-w64-tools. Python makes the symbol files.
    BUILD_PACKAGES=(cmake ninja-build g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools googletest python3)

    # Libraries of keykit, which are headers alone.
    HEADER_PACKAGES=(libcli11-dev nlohmann-json3-dev)

    # What builds keykit, with TOOL_PACKAGES.
    KEYKIT_PACKAGES=(cmake ninja-build "${HEADER_PACKAGES[@]}")

    # ./bench measures parts with libbenchmark, and compares our SHA-1 with that of libssl. LLVM's tools read symbol files, and
    # its compiler and linker make the second build for Windows.
    TEST_PACKAGES=(git python3 python3-pefile python3-pytest clang-format shellcheck xvfb xdotool imagemagick
        libbenchmark-dev libssl-dev lintian clang lld llvm man-db mmdebstrap msitools
        python3-jsonschema python3-lxml libwin-hivex-perl parallel openssh-client)

    # The browser in which ./test looks at the page of keykit.
    BROWSER_PACKAGES=(chromium chromium-driver python3-selenium)

    # The compiler of the fuzzers and its runtime library.
    FUZZ_PACKAGES=(clang libclang-rt-dev)

    # What scripts/tidy.sh checks the sources with.
    TIDY_PACKAGES=(clang-tidy)

    # What makes the installers of the examples.
    EXAMPLE_PACKAGES=(nsis wixl)
}

# Packages come signed, whatever the machine's settings allow. (KNOWN_MODULES in wine.sh is vouched for by its content.)
SIGNED_ONLY=(-o Acquire::AllowInsecureRepositories=false -o Acquire::AllowWeakRepositories=false
    -o Acquire::AllowDowngradeToInsecureRepositories=false -o APT::Get::AllowUnauthenticated=false)

# What a compilation depends on beside its sources: `g++` names the packages of the version that it stands for.
native_toolchain() {
    local major
    major=$(/usr/bin/g++ -dumpversion) || return 0
    versions_of "g++-$major" "libstdc++-$major-dev" libc6-dev
}

cross_toolchain() {
    versions_of g++-mingw-w64-{x86-64,i686}-posix binutils-mingw-w64-{x86-64,i686} mingw-w64-{common,tools,x86-64-dev,i686-dev} \
        googletest
}

wine_packages() {
    versions_of wine wine64 libwine:amd64
}

# versions_of PACKAGE...: prints the names and versions of those that are installed.
versions_of() {
    { dpkg-query -W -f '${db:Status-Abbrev}${Package} ${Version}\n' "$@" 2>/dev/null || true; } | grep '^ii' | LC_ALL=C sort
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
    command -v dpkg-query >/dev/null || fail "this needs Debian 12 or 13 (dpkg-query is not there)"
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} > 0)) || return 0
    [[ ! -f $ROOT/prebuilt ]] || fail "packages are missing; as root: apt-get install ${missing[*]}"
    ((EUID == 0)) || command -v sudo >/dev/null ||
        fail "packages are missing and there is no sudo; as root: apt-get install --no-install-recommends ${missing[*]}"
    printf 'keyreap: installing %s\n' "${missing[@]}" >&2
    step packages "installing packages, which takes a minute or two" run_apt "${missing[@]}"
}

# run_apt PACKAGE...: first completes an interrupted installation; waits for the locks of other installers.
run_apt() {
    as_root dpkg --configure -a
    as_root apt-get -q "${SIGNED_ONLY[@]}" update || echo "the lists are not all up to date; going on with what is there"
    as_root apt-get -q -y "${SIGNED_ONLY[@]}" -o DPkg::Lock::Timeout=600 install --no-install-recommends "$@"
}

as_root() {
    if ((EUID == 0)); then
        DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo DEBIAN_FRONTEND=noninteractive "$@"
    fi
}
