# shellcheck shell=bash
# The builds and the staged program. Sourced after common.sh.

STAGE=$BUILD/stage

project_version() {
    sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$ROOT/CMakeLists.txt"
}

# What a run needs of each build.
PROGRAM_TARGETS=(Keyreap thermometer explain startrecorder)

# program_there: the program, its sample server and its tools are staged.
program_there() {
    local bitness tool
    for bitness in x64 x86; do
        [[ -f $STAGE/bin/$bitness/Keyreap.exe && -f $STAGE/samples/$bitness/thermometer.dll ]] || return
        for tool in explain startrecorder; do [[ -f $STAGE/tools/$bitness/$tool.exe ]] || return; done
    done
}

# program_sources: the files and folders that the program and its sample server are built from, each ended by a NUL.
# keykit's own are none of them.
program_sources() {
    local list
    printf '%s\0' "$ROOT"/CMakeLists.txt "$ROOT"/CMakePresets.json "$ROOT"/cmake
    for list in "$ROOT"/*/CMakeLists.txt; do
        [[ $list == "$ROOT"/@(tests|examples|benchmarks|kit)/* ]] || printf '%s\0' "${list%/*}"
    done
    for list in server thermometer; do
        [[ ! -d $ROOT/examples/$list ]] || printf '%s\0' "$ROOT/examples/$list"
    done
}

# check_owner [COMMAND]: fails unless the caller may build. COMMAND is what makes it, without a word `keyreap`.
check_owner() {
    local command="$ROOT/${1:-keyreap} once"
    [[ $USER_DATA != "$BUILD" ]] || return 0
    [[ -e $BUILD ]] || fail "nothing is built in $ROOT yet; $(stat -c %U "$ROOT"), who owns it, has to run $command"
    fail "what is built in $BUILD is out of date; $(stat -c %U "$BUILD"), who built it, has to run $command"
}

# built_by_owner: another user's build is up to date.
built_by_owner() {
    program_there && made_by_owner run test examples bench package explain
}

# made_by_owner LEVEL STAMP...: another user has made what the level needs, with the set-up of one of these stamps.
made_by_owner() {
    local stamp
    [[ $USER_DATA != "$BUILD" ]] || return
    for stamp in "${@:2}" "$1"; do
        stamp=$BUILD/stamps/$stamp
        [[ ! -f $stamp ]] || ! nothing_newer "$1" "$stamp" || return 0
    done
    return 1
}

make_program() {
    if [[ -f $ROOT/prebuilt ]]; then
        program_there || fail "the installation in $ROOT is not complete"
        return
    fi
    built_by_owner && return
    check_owner
    build_step x64 "a minute or two" "${PROGRAM_TARGETS[@]}"
    build_step x86 "a minute or two" "${PROGRAM_TARGETS[@]}"
    step stage "staging the program" stage_program
}

# keykit_sources: what keykit is built from, each ended by a NUL.
keykit_sources() {
    local folder
    for folder in CMakeLists.txt CMakePresets.json cmake kit regmodel regfile pe platform; do
        [[ ! -e $ROOT/$folder ]] || printf '%s\0' "$ROOT/$folder"
    done
}

# make_keykit: the program of this machine. A changed one replaces the old one by a rename.
make_keykit() {
    if [[ -f $ROOT/prebuilt ]]; then
        tool_there keykit || fail "the installation in $ROOT is not complete: keykit"
        return
    fi
    check_owner
    build_step keykit "a minute or two" keykit
    mkdir -p "$TOOLS"
    cmp -s "$BUILD/keykit/kit/keykit" "$TOOLS/keykit" && return
    cp "$BUILD/keykit/kit/keykit" "$TOOLS/keykit.new"
    mv "$TOOLS/keykit.new" "$TOOLS/keykit"
}

# make_windows_keykit: the one for Windows, as a package has it.
make_windows_keykit() {
    build_step x64 "a minute or two" keykit
    step stage-keykit "staging keykit" stage_component keykit x64
    make_live
    make_explain
}

# make_live: what keykit starts in a session, in both bitnesses.
make_live() {
    if [[ -f $ROOT/prebuilt ]]; then
        live_there || fail "the installation in $ROOT is not complete: KeyKitLive.exe"
        return
    fi
    check_owner
    build_step x64 "a minute or two" KeyKitLive
    build_step x86 "a minute or two" KeyKitLive
    step stage-keykitlive "staging KeyKitLive" stage_component keykitlive x64 x86
}

# make_explain: what `keykit explain` starts in a session, in both bitnesses.
make_explain() {
    if [[ -f $ROOT/prebuilt ]]; then
        explain_there || fail "the installation in $ROOT is not complete: KeyKitExplain.exe"
        return
    fi
    explain_there && made_by_owner explain test package && return
    check_owner "keykit explain"
    build_step x64 "a minute or two" KeyKitExplain
    build_step x86 "a minute or two" KeyKitExplain
    step stage-keykitexplain "staging KeyKitExplain" stage_component keykitexplain x64 x86
}

explain_there() {
    [[ -f $STAGE/tools/x64/KeyKitExplain.exe && -f $STAGE/tools/x86/KeyKitExplain.exe ]]
}

live_there() {
    [[ -f $STAGE/bin/x64/KeyKitLive.exe && -f $STAGE/bin/x86/KeyKitLive.exe ]]
}

# No ordinary build contains the programs that ./bench measures parts with.
make_bench() {
    check_owner
    step build-bench-x64 "building what measures x64" build_preset x64 bench
    step build-bench-native "building what measures native" build_preset native bench
}

make_fuzzers() {
    check_owner
    build_step fuzz "some minutes" fuzzers
}

# The unit tests are also built with a second compiler.
make_everything() {
    local preset
    check_owner
    for preset in x64 x86 native native-sanitized; do
        build_step "$preset" "3 to 6 minutes"
    done
    build_step clang-x64 "3 minutes" unit_tests
    step stage "staging the program" stage_program
    step stage-keykit "staging keykit" stage_component keykit x64
    step stage-keykitlive "staging KeyKitLive" stage_component keykitlive x64 x86
    step stage-keykitexplain "staging KeyKitExplain" stage_component keykitexplain x64 x86
}

# make_compilers: all that the second compiler builds for Windows, staged in a folder of its own.
make_compilers() {
    local preset
    check_owner
    for preset in clang-x64 clang-x86; do
        build_step "$preset" "3 to 6 minutes"
    done
    step stage-clang "staging the second compiler's program" install_builds "$BUILD/clang/stage" clang-x64 clang-x86
}

# build_step PRESET TIME [TARGET...]: says how long the build takes on two cores if nothing of it is there yet.
build_step() {
    local text="building $1"
    [[ -f $BUILD/$1/build.ninja ]] || text+=", which takes $2"
    step "build-$1" "$text" build_preset "$1" "${@:3}"
}

# build_preset PRESET [TARGET...]: all of it without a target.
build_preset() {
    local preset=$1 folder=$BUILD/$1
    shift
    cd "$ROOT" || return
    same_toolchain "$preset" || rm -rf "$folder"
    configured "$folder" || configure "$preset" || { rm -rf "$folder" && configure "$preset"; }
    clean_environment ninja -C "$folder" "$@"
}

# configured FOLDER: it was configured to the end, and for this source folder.
configured() {
    [[ -f $1/build.ninja ]] && grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$ROOT" "$1/CMakeCache.txt"
}

configure() {
    mkdir -p "$BUILD/$1"
    toolchain_of "$1" >"$BUILD/$1/toolchain"
    clean_environment cmake --preset "$1"
}

# same_toolchain PRESET: what was built so far is of the toolchain that is installed. Ninja compares only times, and an
# installed package's files have those of the package.
same_toolchain() {
    [[ -f $BUILD/$1/toolchain && $(<"$BUILD/$1/toolchain") == "$(toolchain_of "$1")" ]]
}

toolchain_of() {
    case $1 in
    clang-*) cross_toolchain && versions_of clang "clang-[0-9]*" lld "lld-[0-9]*" ;;
    *x64 | *x86) cross_toolchain ;;
    fuzz) versions_of clang "clang-[0-9]*" "libstdc++-*-dev" libc6-dev googletest ;;
    keykit) native_toolchain && versions_of "${HEADER_PACKAGES[@]}" ;;
    *) native_toolchain && versions_of googletest ;;
    esac
}

# install_builds FOLDER PRESET...: lays these builds out in a new folder.
install_builds() {
    local preset
    rm -rf "$1"
    for preset in "${@:2}"; do clean_environment cmake --install "$BUILD/$preset" --prefix "$1"; done
}

# stage_program: lays the program out as it is shipped. An unchanged file stays; a changed one is replaced by a rename,
# so that a run that uses the old file keeps it.
stage_program() {
    install_builds "$BUILD/stage.new" x64 x86
    move_staged
}

# stage_component NAME PRESET...: the same for a part of these builds that isn't always built.
stage_component() {
    local preset
    rm -rf "$BUILD/stage.new"
    for preset in "${@:2}"; do
        clean_environment cmake --install "$BUILD/$preset" --prefix "$BUILD/stage.new" --component "$1"
    done
    move_staged
}

move_staged() {
    local new=$BUILD/stage.new file
    (cd / && find "$new" -type f -printf '%P\0') | while IFS= read -r -d '' file; do
        mkdir -p "$(dirname -- "$STAGE/$file")"
        cmp -s "$new/$file" "$STAGE/$file" || mv -f "$new/$file" "$STAGE/$file"
    done
    rm -rf "$new"
}
