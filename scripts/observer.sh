# shellcheck shell=bash
# The program that watches a session's command for a crash (tools/observer). Sourced after common.sh and wine.sh.

OBSERVER=$WINE_HOME/observer
OBSERVER_SOURCES=$ROOT/tools/observer

make_observer() {
    rm -f "$OBSERVER.version"
    clean_environment g++ -std=c++20 -O2 -I "$ROOT" "$OBSERVER_SOURCES"/*.cpp -o "$OBSERVER.new"
    mv "$OBSERVER.new" "$OBSERVER"
    observer_version >"$OBSERVER.version"
}

# observer_ready: the observer was built from the present sources.
observer_ready() {
    observer_there && [[ $(<"$OBSERVER.version") == "$(observer_version)" ]]
}

observer_there() {
    [[ -x $OBSERVER && -f $OBSERVER.version ]]
}

observer_version() {
    cat "$OBSERVER_SOURCES"/* "$ROOT/platform/core/text/compare.h" "$ROOT/scripts/observer.sh" | cksum
}
