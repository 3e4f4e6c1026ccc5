# Shared by the scripts beside it: working directory, progress lines, building and testing a preset.

cd "$(dirname "${BASH_SOURCE[0]}")/.."
jobs=${JOBS:-$(nproc)}
started=$SECONDS
# Compiler cache, where there is one: the same entries for every checkout, wherever it lies.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

say() { printf '== [%3d s] %s\n' "$((SECONDS - started))" "$*"; }

# again COMMAND...: up to three times, with a pause between, for what asks the network
again() {
    local try
    for try in 1 2 3; do
        ! "$@" || return 0
        [ "$try" -eq 3 ] || sleep "$((10 * try))"
    done
    return 1
}

# configure PRESET [OPTION...]
configure() {
    local launcher=()
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    cmake --preset "$1" --log-level=WARNING "${launcher[@]}" "${@:2}"
}

# build_and_test PRESET
build_and_test() {
    say "Building preset $1"
    configure "$1"
    cmake --build --preset "$1" -j "$jobs"
    say "Testing preset $1"
    ctest --preset "$1" -j "$jobs"
}
