#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: examples/farm/capture-farm.sh [--resume] [--batch N] HOSTS-FILE SERVERS-FOLDER OUT-FOLDER [-- OPTION...]
# Captures the servers in and below SERVERS-FOLDER on the machines of HOSTS-FILE, which has a line for each as GNU Parallel
# reads them: [JOBS/][USER@]HOST[:PORT]. OUT-FOLDER then has the captures of `keykit capture SERVERS-FOLDER --out OUT-FOLDER
# OPTION...`, with the same names.
#   --resume    goes on with a run that was interrupted; what failed is captured again
#   --batch N   how many folders make a job
# The exit status is that of keykit capture: 0, 1 if a server failed, 2 if a word is wrong or there is no server, 125 if no
# host could do a job. docs/farm.md describes it.
set -euo pipefail
shopt -s nullglob
SELF=$(readlink -f -- "${BASH_SOURCE[0]}")

# A job costs a connection and a start of keykit. What a host hasn't finished when it dies is done again.
LEAST_BATCH=4 MOST_BATCH=16
LEAST_TRIES=3 MOST_TRIES=10

# After these times without an answer a host counts as dead.
SSH_OPTIONS=(-o BatchMode=yes -o ConnectTimeout=10 -o ServerAliveInterval=5 -o ServerAliveCountMax=2)

# What a host runs: it unpacks its input, and starts the script in it. Every login shell reads this line alike.
# shellcheck disable=SC2016 # the host expands it
ON_HOST='exec sh -c '\''t=$(mktemp -d) || exit 125; trap "rm -rf $t" EXIT; trap "exit 125" HUP INT TERM PIPE; \
tar -x --no-same-owner -C "$t" && bash "$t/run" --on-host "$t"'\'

say() {
    printf 'capture-farm: %s\n' "$1" >&2
}

# fail STATUS TEXT
fail() {
    say "$2"
    exit "$1"
}

# On a host

# run_on_host WORK: captures the folders in WORK/servers as if they were where the sender has them, and writes what came of
# it to the standard output. WORK/words has the path there, and the words of keykit.
run_on_host() {
    local work=$1 words view status=0
    command -v keykit >/dev/null || fail 125 "keykit is not installed"
    mkdir "$work/out"
    : >"$work/summary.json"
    mapfile -d '' -t words <"$work/words"
    mapfile -d '' -t view < <(view_words "$work/servers" "${words[0]}")
    bwrap --args 3 -- env -C "$work/out" "${words[@]:1}" --json ../summary.json "${words[0]}" \
        3< <(printf '%s\0' "${view[@]}") </dev/null >"$work/lines" 2>&1 || status=$?
    # A run that ends with one of these has looked at every server, but bwrap itself can end with 1, too.
    if [[ $status != [012] || $status != 2 && ! -s $work/summary.json ]]; then
        cat "$work/lines" >&2
        exit 125
    fi
    printf '%s\n' "$status" >"$work/status"
    tar -c -C "$work" out summary.json lines status
}

# view_words FOLDER PATH: prints the words of bwrap(1) for a view of this machine that has FOLDER at PATH. If there is no such
# path, the nearest folder above it is replaced by one that has the same entries and can have another one.
view_words() {
    local around=$2 entry
    until [[ -d $around ]]; do around=${around%/*} around=${around:-/}; done
    [[ $around == / ]] || printf '%s\0' --dev-bind / /
    if [[ $around != "$2" ]]; then
        printf '%s\0' --tmpfs "$around"
        shopt -s dotglob
        for entry in "${around%/}"/*; do
            if [[ -L $entry ]]; then
                printf '%s\0' --symlink "$(readlink -- "$entry")" "$entry"
            else
                printf '%s\0' --dev-bind-try "$entry" "$entry"
            fi
        done
    fi
    ((EUID != 0)) || printf '%s\0' --cap-add ALL
    printf '%s\0' --bind "$1" "$2" --die-with-parent
}

# A job

# at_host OPTION... HOST -- COMMAND...: GNU Parallel starts this in the place of ssh. The job runs here and knows its host, so
# that it can send an archive: what GNU Parallel sends itself needs rsync on the host.
at_host() {
    CAPTURE_FARM_HOST=
    while (($# > 0)) && [[ $1 != -- ]]; do CAPTURE_FARM_HOST+=$(printf '%q ' "$1") && shift; done
    export CAPTURE_FARM_HOST
    exec /bin/bash -c "${*:2}"
}

# run_job NUMBER: sends the job's folders, and takes the captures when all of them are here.
run_job() {
    local state=$CAPTURE_FARM_STATE host name
    local part=$state/parts/$1
    eval "host=(${CAPTURE_FARM_HOST-})"
    name=${host[*]: -1}
    name=${name:-this machine}
    rm -rf "$part" && mkdir "$part"
    send "$1" | over_ssh "${host[@]}" 2>"$part.errors" | tar -x --no-same-owner -C "$part" 2>/dev/null || true
    if [[ ! -s $part/status ]]; then
        printf 'job %s was not done here\n' "$1" >>"$part.errors"
        with_name "$name" <"$part.errors" | tee -a "$state/undone" >&2
        rm -rf "$part" "$part.errors"
        exit 125
    fi
    with_name "$name" <"$part/lines" >&2
    publish "$part/out" "$state/.."
    mv -T "$part/summary.json" "$state/summaries/$1.json"
    mv -T "$part/status" "$state/done/$1"
    rm -rf "$part" "$part.errors"
}

# with_name NAME: copies lines, with the host's name.
with_name() {
    local line
    while IFS= read -r line; do printf '%s: %s\n' "$1" "$line"; done
}

# send NUMBER: prints an archive of the job's folders, of this script and of its words.
send() {
    local state=$CAPTURE_FARM_STATE
    tar -c --mode=u+rwX --no-recursion --transform='flags=r;s,^\.,servers,' -C "$state/sent" run words \
        -C "$(<"$state/folder")" --null --files-from="$state/jobs/$1"
}

# over_ssh OPTION... HOST: without words it is this machine.
over_ssh() {
    local ssh
    read -ra ssh <<<"$CAPTURE_FARM_SSH"
    if (($# > 0)); then "${ssh[@]}" "${SSH_OPTIONS[@]}" "$@" "$ON_HOST"; else sh -c "$ON_HOST"; fi
}

# publish FROM TO: moves each capture to its place, which has it whole or not at all.
publish() {
    local file
    while IFS= read -r -d '' file; do
        mkdir -p "$2/${file%/*}"
        mv -fT -- "$1/$file" "$2/$file"
    done < <(cd "$1" && find . -type f -name '*.reg' -print0)
}

# A run

# make_state HOSTS: makes what the jobs need, in the folder for the captures:
#   list, folder   the servers' files, and where they are    jobs/N         the files of job N
#   sent/          what every host gets                      done/N         the job's status, when it is done
#   hosts          the hosts                                 summaries/N    what keykit says of the job
#   log            GNU Parallel's job log                    parts/         what is on its way
#   undone         what a host didn't do, and why
make_state() {
    rm -rf "$STATE"
    mkdir "$STATE" "$STATE"/{jobs,sent,done,summaries,parts}
    printf '%s' "$SERVERS" >"$STATE/folder"
    cp "$SELF" "$STATE/sent/run"
    list_words >"$STATE/sent/words"
    make_jobs "$1"
    list_files >"$STATE/list"
}

# list_files: prints the files with their sizes and times.
list_files() {
    find "$SERVERS" ! -type d -printf '%P %s %T@\0' | sort -z
}

# list_words: prints the folder's path and the words of keykit, with the caller's variables for the box.
list_words() {
    local name
    printf '%s\0' "$SERVERS"
    for name in $(compgen -e KEYREAP_BOX_) ${KEYREAP_SANDBOX+KEYREAP_SANDBOX}; do printf '%s\0' "$name=${!name}"; done
    printf '%s\0' keykit capture "${OPTIONS[@]}"
}

# make_jobs HOSTS: the files of one folder are in one job, since a server needs the libraries beside it.
make_jobs() {
    local -A job_of=()
    local file files folders=0
    mapfile -d '' -t files < <(cd "$SERVERS" && find . ! -type d -print0 | sort -z)
    for file in "${files[@]}"; do job_of[${file%/*}]=''; done
    ((${#files[@]} > 0)) || fail 2 "$SERVERS has no file"
    [[ -n $BATCH ]] || BATCH=$(between "$LEAST_BATCH" $((${#job_of[@]} / (4 * $1))) "$MOST_BATCH")
    for file in "${files[@]}"; do
        [[ -n ${job_of[${file%/*}]} ]] || job_of[${file%/*}]=$((folders++ / BATCH + 1))
        printf '%s\0' "$file" >>"$STATE/jobs/${job_of[${file%/*}]}"
    done
}

# between LEAST NUMBER MOST
between() {
    printf '%s' $(($2 < $1 ? $1 : $2 > $3 ? $3 : $2))
}

# take_up_state: fails unless the run in the folder was one for the same files and words.
take_up_state() {
    local job
    [[ -s $STATE/list && -s $STATE/log ]] || fail 2 "--resume: there is no run in $OUT to go on with"
    if ! cmp -s "$STATE/list" <(list_files) || ! cmp -s "$STATE/sent/words" <(list_words); then
        fail 2 "--resume: the run in $OUT was one for other servers or other options"
    fi
    rm -rf "$STATE"/undone "$STATE"/parts/*
    for job in "$STATE"/done/*; do [[ $(<"$job") != 1 ]] || rm "$job"; done
    # GNU Parallel does again what isn't in its log.
    awk -F '\t' 'NR == FNR { done[$1]; next } FNR == 1 || $1 in done' \
        <(cd "$STATE/done" && printf '%s\n' . *) "$STATE/log" >"$STATE/log.new"
    mv "$STATE/log.new" "$STATE/log"
}

# hosts_in FILE: prints the lines of the hosts, with the number of jobs at once.
hosts_in() {
    sed -E -e '/^[[:space:]]*(#|$)/d' -e '\:^[0-9]+/:!s:^:1/:' "$1"
}

# run_jobs HOSTS: a job that fails is done by a host on which it hasn't failed. The numbers of jobs are those in the log.
run_jobs() {
    local bar=() tries signal
    tries=$(between "$LEAST_TRIES" "$1" "$MOST_TRIES")
    [[ ! -t 2 ]] || bar=(--bar)
    export CAPTURE_FARM_STATE=$STATE CAPTURE_FARM_SSH=${PARALLEL_SSH:-ssh} SHELL=/bin/bash PARALLEL_SHELL=/bin/bash
    parallel --will-cite --plain "${bar[@]}" --ssh "$(printf '%q --at-host' "$SELF")" --sshloginfile "$STATE/hosts" \
        --jobs 100% --retries "$tries" --joblog "$STATE/log" --resume-failed "$(printf '%q --run-job' "$SELF")" \
        < <(cd "$STATE/jobs" && printf '%s\n' * | sort -n) &
    # shellcheck disable=SC2064 # the name is meant now
    for signal in INT TERM HUP; do trap "end_jobs $! $signal" "$signal"; done
    # Its status is the number of jobs that failed, which is counted from what they left.
    wait "$!" || true
}

# end_jobs PROCESS SIGNAL: the first signal lets GNU Parallel begin no other job, and the second one ends those that run. What a
# job has started has the lock until its end.
end_jobs() {
    trap '' INT TERM HUP
    kill "$1" 2>/dev/null || true
    sleep 0.2
    kill "$1" 2>/dev/null || true
    wait "$1" || true
    exec 9>&-
    flock -w 60 "$OUT/.capture-farm.lock" true || true
    trap - "$2"
    kill -s "$2" "$$"
}

# report: says what went wrong with hosts, and ends with the status of the whole run.
report() {
    local jobs=("$STATE"/jobs/*) done=("$STATE"/done/*) versions count host
    [[ ! -s $STATE/undone ]] || sed -n 's/: job [0-9]* was not done here$//p' "$STATE/undone" | sort | uniq -c |
        while read -r count host; do
            say "$host couldn't do $count jobs; the reasons are in $STATE/undone"
        done
    versions=$(cat "$STATE"/summaries/* /dev/null | sed -n 's/^  "version": //p' | sort -u)
    [[ $versions != *$'\n'* ]] || say "the hosts have different programs or Wines:"$'\n'"$versions"
    ((${#done[@]} == ${#jobs[@]})) ||
        fail 125 "$((${#jobs[@]} - ${#done[@]})) of ${#jobs[@]} jobs were not done; --resume goes on with them"
    ! grep -qx 1 "${done[@]}" || exit 1
    grep -qx 0 "${done[@]}" || exit 2
}

# main WORD...
main() {
    local resumes=no word hosts
    BATCH=
    while [[ ${1-} == --?* ]]; do
        case $1 in
        --resume) resumes=yes && shift ;;
        --batch)
            [[ ${2-} =~ ^[1-9][0-9]{0,4}$ ]] || fail 2 "--batch is '${2-}', and has to be a number from 1 to 99999"
            BATCH=$2 && shift 2
            ;;
        *) fail 2 "there is no $1" ;;
        esac
    done
    if (($# < 3)) || [[ ${4:---} != -- ]]; then
        fail 2 "usage: capture-farm.sh [--resume] [--batch N] HOSTS-FILE SERVERS-FOLDER OUT-FOLDER [-- OPTION...]"
    fi
    [[ -f $1 && -r $1 ]] || fail 2 "$1: the hosts can't be read"
    [[ -d $2 && -r $2 ]] || fail 2 "$2: it is no folder that can be read"
    SERVERS=$(realpath -- "$2") OPTIONS=("${@:5}")
    for word in "${OPTIONS[@]}"; do
        [[ $word != --@(out|json|resume)?(=*) ]] || fail 2 "$word is no option for hosts"
    done
    hosts=$(hosts_in "$1" | wc -l)
    ((hosts > 0)) || fail 2 "$1: there is no host in it"
    command -v parallel >/dev/null || fail 125 "GNU Parallel is not installed; Debian has it as the package parallel"
    mkdir -p -- "$3"
    OUT=$(realpath -- "$3") STATE=$(realpath -- "$3")/.capture-farm
    exec 9>"$OUT/.capture-farm.lock"
    flock -n 9 || fail 2 "$OUT: another run is at work there"
    if [[ $resumes == yes ]]; then take_up_state; else make_state "$hosts"; fi
    hosts_in "$1" >"$STATE/hosts"
    run_jobs "$hosts"
    report
}

case ${1-} in
--on-host) run_on_host "$2" ;;
--at-host) at_host "${@:2}" ;;
--run-job) run_job "$2" ;;
*) main "$@" ;;
esac
