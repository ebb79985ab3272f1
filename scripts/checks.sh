# shellcheck shell=bash
# The program that checks the arguments and files of a run before and after it. Sourced after common.sh.

CAPTURE_CHECK=$BUILD/tools/capturecheck
CAPTURE_CHECK_SOURCES=("$ROOT/tools/capturecheck" "$ROOT"/pe/{checkedview,imagetables}.{cpp,h}
    "$ROOT/platform/core/text/compare.h")

make_check() {
    rm -f "$CAPTURE_CHECK.version"
    mkdir -p "${CAPTURE_CHECK%/*}"
    clean_environment g++ -std=c++20 -O1 -I "$ROOT" "$ROOT"/tools/capturecheck/*.cpp \
        "$ROOT"/pe/{checkedview,imagetables}.cpp -o "$CAPTURE_CHECK.new"
    mv "$CAPTURE_CHECK.new" "$CAPTURE_CHECK"
    check_version >"$CAPTURE_CHECK.version"
}

# check_ready: the program was built from the present sources.
check_ready() {
    check_there && [[ $(<"$CAPTURE_CHECK.version") == "$(check_version)" ]]
}

check_there() {
    [[ -x $CAPTURE_CHECK && -f $CAPTURE_CHECK.version ]]
}

check_version() {
    find "${CAPTURE_CHECK_SOURCES[@]}" "$ROOT/scripts/checks.sh" -type f -print0 | sort -z | xargs -0 cat | cksum
}
