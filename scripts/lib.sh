# Helpers that the scripts share. Sourced, never run.

step() { printf '==> %s\n' "$*" >&2; }
die() { printf '%s\n' "$*" >&2; exit 1; }

# show_help "$@": on --help, prints the comment at the head of the calling script and exits.
show_help() {
    case ${1:-} in
        -h|--help) sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; exit 0 ;;
    esac
}

# usage_error TEXT: ends the script because its arguments are wrong.
usage_error() { printf '%s: %s (see --help)\n' "${0##*/}" "$*" >&2; exit 2; }

# needs_value "$@", needs_number "$@": the option $1 has a value, or a number.
needs_value() { [ $# -ge 2 ] || usage_error "$1 needs a value"; }
needs_number() { [[ "${2:-}" =~ ^[0-9]+$ ]] || usage_error "$1 needs a number"; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# use_ccache: compiles through ccache when it is installed.
use_ccache() {
    if command -v ccache >/dev/null; then
        export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
        export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
    fi
}

# configure_and_build PRESET [TARGET...]: configures once, then builds; the generator reruns CMake when needed.
configure_and_build() {
    local preset=$1
    shift
    use_ccache
    [ -f "$root/build/$preset/build.ninja" ] || (cd "$root" && cmake --preset "$preset")
    (cd "$root" && cmake --build --preset "$preset" ${*:+--target "$@"})
}

# build_release TARGET...: sets the machine up and makes the release build of these targets.
build_release() {
    "$root/scripts/setup" >&2
    step "building the release"
    configure_and_build mingw-release "$@" >&2
}

# use_wine_prefix FOLDER [--screen]: the environment for Wine programs of that prefix: no debug output, no .NET or browser
# offers, and no display without --screen.
use_wine_prefix() {
    export WINEPREFIX=$1
    export WINEDEBUG=${WINEDEBUG:--all}
    export WINEDLLOVERRIDES="mscoree,mshtml="
    export WINEARCH=win64
    [ "${2:-}" = --screen ] || unset DISPLAY
}

# open_wine FOLDER [--screen]: makes FOLDER a Wine prefix unless it is one, and uses it. When the script exits, the
# prefix's programs are ended. $output is a temporary file for what they write.
open_wine() {
    prefix=$1
    "$root/scripts/wine-prefix" "$@"
    use_wine_prefix "$@"
    output=$(mktemp)
    trap close_wine EXIT
}

close_wine() {
    rm -f "$output"
    end_wine "$prefix"
}

# end_wine FOLDER: ends the programs that still run in that prefix.
end_wine() {
    [ -d "$1" ] || return 0
    (use_wine_prefix "$1" && timeout 30 wineserver -k 2>/dev/null) || true
}

# windows_path PATH: the name by which Wine's programs reach that file.
windows_path() { local path; path=Z:$(realpath -m "$1"); printf '%s\n' "${path//\//\\}"; }

# run_wine LIMIT OUTPUT PROGRAM [ARGUMENT...]: runs a Windows program within LIMIT seconds. All scripts start Wine here.
# Both streams are appended to the file OUTPUT; it is never a pipe, because Wine's lingering services would hold it open.
#
# With randomised addresses, Wine sometimes exits before the program begins. Some containers do not let a script disable
# this randomisation. Wine also exits, with a message of its own, when its server for the prefix is shutting down. A program
# that fails without any output is therefore started again, twice at most. Each repeated start adds a line to the file
# that NEMBRA_REPEATED_STARTS names.
run_wine() {
    local limit=$1 output=$2 fixed_addresses=() repeats=${NEMBRA_REPEATED_STARTS:-} status size attempt
    shift 2
    if setarch --addr-no-randomize true 2>/dev/null; then
        fixed_addresses=(setarch --addr-no-randomize)
    fi
    size=$(stat -c %s "$output")
    for attempt in 1 2 3; do
        status=0
        NEMBRA_REPEATED_STARTS=${repeats:+Z:${repeats//\//\\}} \
            timeout --kill-after=5 "$limit" "${fixed_addresses[@]}" wine "$@" >>"$output" 2>&1 </dev/null || status=$?
        if [ $status -eq 124 ] || [ $status -eq 137 ]; then
            echo "${0##*/}: ended after $limit seconds" >&2
            break
        fi
        if [ $status -eq 0 ] || tail -c "+$((size + 1))" "$output" | grep -v '^wine client error:' >/dev/null; then
            break
        fi
        echo "${0##*/}: ended with status $status before the first line of output (attempt $attempt of 3)" >&2
        [ $attempt -eq 3 ] || printf '%s\n' "$*" >>"${repeats:-/dev/null}"
    done
    return $status
}

# set_wine_value OUTPUT KEY NAME DATA [TYPE]: writes a value into the registry of the current prefix.
set_wine_value() { run_wine 60 "$1" reg add "$2" /v "$3" /t "${5:-REG_SZ}" /d "$4" /f; }

# follow_wine LIMIT PROGRAM [ARGUMENT...]: run_wine with the file $output; prints the program's output while it runs.
follow_wine() {
    local status=0
    : >"$output"
    run_wine "$1" "$output" "${@:2}" &
    tail -n +1 -s 0.1 -f --pid=$! "$output" || true
    wait $! || status=$?
    return $status
}
