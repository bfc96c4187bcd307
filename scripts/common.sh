# shellcheck shell=bash
# What the scripts share; sourced by them, not run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# ---- Installing what is missing (Debian) ---------------------------------------------------------------------------

missing=()
needCommand() { # COMMAND PACKAGE
    command -v "$1" >/dev/null 2>&1 || missing+=("$2")
}
needHeader() { # HEADER PACKAGE
    printf '#include <%s>\n' "$1" | c++ -E -x c++ - >/dev/null 2>&1 || missing+=("$2")
}
needBuildTools() {
    needCommand cc gcc
    needCommand c++ g++
    needHeader cstddef g++
    needCommand cmake cmake
    needCommand ninja ninja-build
}
needCobol() {
    needCommand cobc gnucobol3
}
needTestLibraries() {
    needHeader gtest/gtest.h libgtest-dev
    needHeader benchmark/benchmark.h libbenchmark-dev
}
installMissing() {
    [ ${#missing[@]} -gt 0 ] || return 0
    if ! command -v apt-get >/dev/null 2>&1; then
        echo "Missing on this system, which has no apt-get: ${missing[*]} (Debian's names)" >&2
        return 1
    fi
    local super=()
    if [ "$(id -u)" -ne 0 ]; then
        super=(sudo)
    fi
    echo "Installing: ${missing[*]}" >&2
    local apt=("${super[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300)
    "${apt[@]}" update >&2
    "${apt[@]}" install -y --no-install-recommends "${missing[@]}" </dev/null >&2
    missing=()
}

# ---- Building ------------------------------------------------------------------------------------------------------

# Jobs at once: one per core.
jobs=$(nproc)

# Compiles through ccache where it is installed; its folder serves every clone of the repository.
useCcache() {
    if command -v ccache >/dev/null 2>&1; then
        export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
        export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
        if [ -n "${HOME:-}" ]; then
            export CCACHE_DIR=${CCACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/ccache}
        fi
    fi
}
configure() { # PRESET [cmake arguments]
    local preset=$1
    shift
    useCcache
    (cd "$root" && cmake --preset "$preset" "$@")
}
build() { # PRESET
    cmake --build "$root/build/$1" --parallel "$jobs"
}
