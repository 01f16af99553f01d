# Helpers that the scripts share. Sourced, never run.

step() { printf '==> %s\n' "$*" >&2; }
die() { printf '%s\n' "$*" >&2; exit 1; }

# show_help "$@": prints the comment at the head of the calling script when that is all it is asked for.
show_help() {
    case ${1:-} in
        -h|--help) sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit 0 ;;
    esac
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# configure_and_build PRESET [TARGET...]: configures once, then builds; the generator reruns CMake when needed.
configure_and_build() {
    local preset=$1
    shift
    if command -v ccache >/dev/null; then
        export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
        export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
    fi
    [ -f "$root/build/$preset/build.ninja" ] || (cd "$root" && cmake --preset "$preset")
    (cd "$root" && cmake --build --preset "$preset" ${*:+--target "$@"})
}

# use_wine_prefix FOLDER: the environment for Wine programs of that prefix: no debug output, no .NET or browser offers.
use_wine_prefix() {
    export WINEPREFIX=$1
    export WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES="mscoree,mshtml="
    export WINEARCH=win64
}

# end_wine FOLDER: ends what still runs in that prefix.
end_wine() {
    [ -d "$1" ] || return 0
    (use_wine_prefix "$1" && timeout 30 wineserver -k 2>/dev/null) || true
}

# follow_wine LIMIT OUTPUT ERRORS PROGRAM [ARGUMENT...]: runs a Windows program within LIMIT seconds and shows what it
# writes while it runs; both streams stay in the two files. On a machine with too much to do, Wine was seen to end without
# a word before the program's first line. Nothing has run then: it is tried once more.
follow_wine() {
    local limit=$1 output=$2 errors=$3 pid status attempt
    shift 3
    for attempt in 1 2; do
        status=0
        # Wine's lingering services would hold a pipe open; a file is followed only as long as the program runs.
        timeout --kill-after=5 "$limit" wine "$@" >"$output" 2>"$errors" </dev/null &
        pid=$!
        tail -n +1 -s 0.2 -f --pid=$pid "$output" || true
        wait "$pid" || status=$?
        if [ $status -eq 0 ] || [ $status -eq 124 ] || [ -s "$output" ] || [ -s "$errors" ]; then
            break
        fi
        echo "Wine has ended with $status before the program (attempt $attempt)" >&2
    done
    [ $status -ne 124 ] || echo "ended after $limit seconds" >&2
    return $status
}
