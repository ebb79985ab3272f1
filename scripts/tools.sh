# shellcheck shell=bash
# The native programs that a run needs, each built from a few sources. Sourced after common.sh and packages.sh.
#   requestfilter   between Wine's server and its request log (requests.sh)
#   observer        watches a session's command for a crash (wine-session.sh)
#   capturecheck    checks the arguments and files of a run before and after it (words.sh)
#   sessionbox      keeps a session apart from the rest of the machine (box.sh)
# They are linked statically, so that what one release of the distribution built also runs on an older one.

# keykit, which no run needs, is built by CMake (build.sh).

TOOLS=$BUILD/tools
NATIVE_TOOLS=(requestfilter observer capturecheck sessionbox)

# tool_sources NAME: prints the sources that the program is built from.
tool_sources() {
    case $1 in
    requestfilter)
        printf '%s\n' "$ROOT"/hostlogger/filter/*.cpp \
            "$ROOT"/hostlogger/{askedkey,exchangepairing,keylookup,requestline,requeststatus,requestsummary,requesttracker}.cpp \
            "$ROOT"/hostlogger/{serverprocess,systemstart}.cpp "$ROOT/platform/core/text/compare.cpp"
        ;;
    observer) printf '%s\n' "$ROOT"/tools/observer/*.cpp ;;
    sessionbox) printf '%s\n' "$ROOT"/tools/box/*.cpp ;;
    capturecheck)
        printf '%s\n' "$ROOT"/tools/capturecheck/*.cpp \
            "$ROOT"/pe/{checkedview,imageheaders,imagetables,resourcetree}.cpp \
            "$ROOT/regmodel/straynames.cpp" "$ROOT/platform/core/text/compare.cpp"
        ;;
    esac
}

# tool_folders NAME: prints where these sources and their headers are.
tool_folders() {
    case $1 in
    requestfilter) printf '%s\n' "$ROOT"/{hostlogger,etl,platform/core/text,platform/os} ;;
    observer) printf '%s\n' "$ROOT"/{tools/observer,platform/core/text} ;;
    sessionbox) printf '%s\n' "$ROOT/tools/box" ;;
    capturecheck)
        printf '%s\n' "$ROOT"/{tools/capturecheck,platform/core/text} \
            "$ROOT"/pe/{checkedview,imageheaders,imagetables,resourcetree}.{cpp,h} "$ROOT"/regmodel/straynames.{cpp,h}
        ;;
    esac
}

# make_tools: those that are missing or out of date.
make_tools() {
    local name
    for name in "${NATIVE_TOOLS[@]}"; do
        if [[ -f $ROOT/prebuilt ]]; then
            tool_there "$name" || fail "the installation in $ROOT is not complete: $name"
        elif ! tool_ready "$name"; then
            check_owner
            step "$name" "building $name" make_tool "$name"
        fi
    done
}

# make_tool NAME: the folder NAME.parts has the objects, with a list of headers for each, and the linker's map. The bill of
# materials of a release is made of them (scripts/materials).
make_tool() {
    local file=$TOOLS/$1 sources source name objects=()
    local compiler=(clean_environment g++ -std=c++20 -O2 -static-pie)
    mapfile -t sources < <(tool_sources "$1")
    rm -rf "$file.version" "$file.parts"
    mkdir -p "$file.parts"
    for source in "${sources[@]}"; do
        name=${source#"$ROOT/"}
        objects+=("$file.parts/${name//\//-}.o")
        "${compiler[@]}" -I "$ROOT" -MD -c "$source" -o "${objects[-1]}"
    done
    "${compiler[@]}" "${objects[@]}" -o "$file.new" -Xlinker -Map="$file.parts/link.map"
    mv "$file.new" "$file"
    tool_version "$1" >"$file.version"
}

# tool_ready NAME: it was built from the current sources.
tool_ready() {
    tool_there "$1" && [[ -f $TOOLS/$1.version && $(<"$TOOLS/$1.version") == "$(tool_version "$1")" ]]
}

tool_there() {
    [[ -x $TOOLS/$1 ]]
}

tools_there() {
    local name
    for name in "${NATIVE_TOOLS[@]}"; do tool_there "$name" || return; done
}

tool_version() {
    local folders
    mapfile -t folders < <(tool_folders "$1")
    {
        native_toolchain
        (cd / && find "${folders[@]}" "$ROOT/scripts/tools.sh" -type f -print0) | sort -z | xargs -0 cat
    } | cksum
}
