# shellcheck shell=bash
# The builds and the staged program. Sourced after common.sh.

STAGE=$BUILD/stage
EXPLAIN=tools/explain/explain.exe

project_version() {
    sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$ROOT/CMakeLists.txt"
}

# program_there: the program and its sample server are staged, and the build has the program that finds out why a file
# can't be registered (reasons.sh).
program_there() {
    local bitness
    for bitness in x64 x86; do
        [[ -f $STAGE/bin/$bitness/Keyreap.exe && -f $STAGE/samples/$bitness/thermometer.dll ]] || return
        [[ -f $BUILD/$bitness/$EXPLAIN ]] || return
    done
}

# program_sources: the files and folders that the program and its sample server are built from, each ended by a NUL.
program_sources() {
    local list
    printf '%s\0' "$ROOT"/CMakeLists.txt "$ROOT"/CMakePresets.json "$ROOT"/cmake
    for list in "$ROOT"/*/CMakeLists.txt; do
        [[ $list == "$ROOT"/@(tests|examples|benchmarks)/* ]] || printf '%s\0' "${list%/*}"
    done
    for list in server thermometer; do
        [[ ! -d $ROOT/examples/$list ]] || printf '%s\0' "$ROOT/examples/$list"
    done
}

make_program() {
    step build-x64 "building x64" build_preset x64 Keyreap thermometer explain
    step build-x86 "building x86" build_preset x86 Keyreap thermometer explain
    step stage "staging the program" stage_program
}

# No ordinary build contains the programs that ./bench measures parts with.
make_bench() {
    step build-bench-x64 "building what measures x64" build_preset x64 bench
    step build-bench-native "building what measures native" build_preset native bench
}

make_fuzzers() {
    step build-fuzz "building the fuzzers" build_preset fuzz fuzzers
}

make_everything() {
    local preset
    for preset in x64 x86 native native-sanitized; do
        step "build-$preset" "building $preset" build_preset "$preset"
    done
    step stage "staging the program" stage_program
}

# build_preset PRESET [TARGET...]: all of it without a target.
build_preset() {
    local preset=$1 folder=$BUILD/$1
    shift
    cd "$ROOT" || return
    configured "$folder" || configure "$preset" || { rm -rf "$folder" && configure "$preset"; }
    clean_environment ninja -C "$folder" "$@"
}

# configured FOLDER: it was configured to the end, and for this source folder.
configured() {
    [[ -f $1/build.ninja ]] && grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$ROOT" "$1/CMakeCache.txt"
}

configure() {
    clean_environment cmake --preset "$1"
}

# stage_program: lays the program out as it is shipped. An unchanged file stays; a changed one is replaced by a rename,
# so that a run that uses the old file keeps it.
stage_program() {
    local new=$BUILD/stage.new file
    rm -rf "$new"
    clean_environment cmake --install "$BUILD/x64" --prefix "$new"
    clean_environment cmake --install "$BUILD/x86" --prefix "$new"
    find "$new" -type f -printf '%P\0' | while IFS= read -r -d '' file; do
        mkdir -p "$(dirname -- "$STAGE/$file")"
        cmp -s "$new/$file" "$STAGE/$file" || mv -f "$new/$file" "$STAGE/$file"
    done
    rm -rf "$new"
}
