# Helpers that the scripts share. Sourced, never run.

step() { printf '==> %s\n' "$*" >&2; }
die() { printf '%s\n' "$*" >&2; exit 1; }

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
