# shellcheck shell=bash
# The suites of tests: which there are, how each kind is run, and what its output counts. Sourced after
# common.sh, build.sh, checks.sh and paths.sh. A suite is one line: NAME, KIND, FILE and WHOLE, parted by tabs. The kinds:
#   windows   a program of the build x64 or x86, run in a Wine session of its own
#   requests  the same in a session with the request log
#   native    a program of the builds for this machine
#   pytest    a file tests/FOLDER/test_NAME.py
# WHOLE is the word of the run that a suite goes through all its cases in. In every other run it takes each
# SAMPLE_STEP-th of them, if it has so many that it asks KEYREAP_SAMPLE for the step. No such word is `-`.

SAMPLE_STEP=10
WINDOWS_PRESETS=(x64 x86)
NATIVE_PRESETS=(native native-sanitized)

SAMPLES=$BUILD/samples

# all_suites: prints every suite, the programs first.
all_suites() {
    local preset file name
    for preset in "${WINDOWS_PRESETS[@]}" "${NATIVE_PRESETS[@]}"; do program_suites "$preset"; done
    for file in "$ROOT"/tests/*/test_*.py; do
        [[ -f $file ]] || continue
        name=$(pytest_name "$file")
        suite_line "$name" pytest "$file" "${name%%/*}"
    done
}

# program_suites PRESET: a line of tests.txt is a program, its kind and its word.
program_suites() {
    local file kind whole
    while IFS=$'\t' read -r file kind whole; do
        [[ -z $file ]] || suite_line "$1/$(basename -- "$file" .exe)" "$kind" "$file" "$whole"
    done <"$BUILD/$1/tests.txt"
}

# suite_line NAME KIND FILE WHOLE
suite_line() {
    printf '%s\t%s\t%s\t%s\n' "$@"
}

# pytest_name FILE: tests/scripts/test_paths.py is scripts/paths.
pytest_name() {
    local name=${1#"$ROOT/tests/"}
    name=${name/test_/}
    printf '%s' "${name%.py}"
}

# suite_chosen NAME WHOLE WORD...: a word is a suite's whole name, the part before or behind the slash, or the
# word of its whole run; without words every suite is chosen.
suite_chosen() {
    local name=$1 whole=$2
    shift 2
    (($# == 0)) || is_among "$name" "$@" || is_among "${name%%/*}" "$@" || is_among "${name##*/}" "$@" ||
        is_among "$whole" "$@"
}

# is_among TEXT WORD...
is_among() {
    local word
    for word in "${@:2}"; do [[ $word != "$1" ]] || return 0; done
    return 1
}

# suite_step WHOLE WORD...: 1 where the words ask for the suite's whole run.
suite_step() {
    if is_among "$@"; then echo 1; else echo "$SAMPLE_STEP"; fi
}

# suite_limit KIND STEP: the watchdog's seconds, more for a whole run. KEYREAP_SUITE_LIMIT sets another limit for
# all, for a slow machine.
suite_limit() {
    local limit=600
    [[ $1 != pytest ]] || limit=1200
    [[ $2 != 1 ]] || limit=$((limit * 6))
    printf '%s' "${KEYREAP_SUITE_LIMIT:-$limit}"
}

# suite_command KIND FILE SHARE: fills the array COMMAND.
suite_command() {
    local session=("$ROOT/scripts/wine-session.sh" --ready --no-display --checked-heaps --share "$3")
    case $1 in
    windows) COMMAND=("${session[@]}" "$WINE" "$2" --gtest_color=no) ;;
    requests) COMMAND=("${session[@]}" --requests "$WINE" "$2" --gtest_color=no) ;;
    native) COMMAND=("$2" --gtest_color=no) ;;
    pytest) COMMAND=(/usr/bin/python3 -B -s -m pytest -q -p no:cacheprovider -c /dev/null --rootdir "$ROOT" "$2") ;;
    esac
}

# suite_environment SHARE STEP REPORT: what a suite may want to know, as variables. What it writes into the file
# REPORT is shown behind its line.
suite_environment() {
    export KEYREAP_SHARE=$1 KEYREAP_SHARE_UNC='\\server\share' KEYREAP_SAMPLE=$2 KEYREAP_REPORT=$3
    KEYREAP_STAGE=$(windows_path "$STAGE/bin")
    KEYREAP_SAMPLES=$(windows_path "$SAMPLES")
    KEYREAP_GOLDEN=$(windows_path "$ROOT/tests/endtoend/golden")
    KEYREAP_SHARE_LOCAL=$(windows_path "$1")
    export KEYREAP_STAGE KEYREAP_SAMPLES KEYREAP_GOLDEN KEYREAP_SHARE_LOCAL
}

# run_suite KIND FILE STEP LOG: its status; all output goes to LOG, and its report, if it has one, to a file beside
# that which ends in .report. A signal ends the suite before it ends this shell.
# (What a shell starts in the background would not see an interrupt at all, nor would the tests in it.)
run_suite() {
    local share limit status=0
    limit=$(suite_limit "$1" "$3")
    share=$(mktemp -d "$BUILD/share.XXXXXX")
    suite_environment "$share" "$3" "${4%.log}.report"
    suite_command "$1" "$2" "$share"
    env --default-signal=INT,QUIT timeout -k 20 "$limit" "${COMMAND[@]}" >"$4" 2>&1 </dev/null &
    # shellcheck disable=SC2064 # the process is meant that runs now
    trap "kill $! 2>/dev/null" INT TERM
    await_end "$!" 2>/dev/null || status=$?
    trap - INT TERM
    rm -rf "$share"
    ((status != 124)) || echo "ended by the watchdog after $limit s" >>"$4"
    return "$status"
}

# await_end PID: returns its status when it has ended, however many signals are answered meanwhile.
await_end() {
    local status
    while true; do
        status=0
        wait "$1" || status=$?
        kill -0 "$1" 2>/dev/null || return "$status"
    done
}

# count_suite KIND STATUS LOG: prints the numbers of passed and failed tests. A suite that crashed, was ended by
# the watchdog, skipped a test or had none has failed too.
count_suite() {
    case $1 in
    pytest) count_pytest "$2" "$3" ;;
    *) count_googletest "$2" "$3" ;;
    esac
}

count_googletest() {
    tr -d '\r' <"$2" | awk -v status="$1" '
        /^\[       OK \] / { passed++ }
        /^\[  FAILED  \] .*\([0-9]+ ms\)$/ || /^\[  SKIPPED \] .*\([0-9]+ ms\)$/ { failed++ }
        /^\[==========\] .* ran\./ { ended = 1 }
        END {
            if (!ended || passed + failed == 0 || (status != 0 && failed == 0)) failed++
            print passed + 0, failed + 0
        }'
}

count_pytest() {
    tail -n 1 "$2" | awk -v status="$1" '
        {
            for (i = 2; i <= NF; i++) {
                if ($i ~ /^passed/) passed = $(i - 1)
                else if ($i ~ /^(failed|errors?|skipped|xfailed|xpassed)/) failed += $(i - 1)
            }
        }
        END {
            if (passed + failed == 0 || (status != 0 && failed == 0)) failed++
            print passed + 0, failed + 0
        }'
}
