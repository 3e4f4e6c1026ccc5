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

# For scripts that try things in a Debian of their own, made by debootstrap: this needs root, chroot and mount.
may_make_debian() {
    [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null && unshare --mount chroot / true 2>/dev/null
}

# make_debian ROOT SUITE [OPTION...]: bare, with git and certificates. Options are those of debootstrap, the log is ROOT.log.
make_debian() {
    local root=$1 suite=$2 mirror
    scripts/install-dependencies debootstrap ccache
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Component: main' | sed -n 1p)
    mkdir -p "$(dirname "$root")"
    bootstrap() {
        rm -rf "$root" && debootstrap --variant=minbase --include=git,ca-certificates "$@" \
            --cache-dir=/var/cache/apt/archives "$suite" "$root" "$mirror" >"$root.log" 2>&1
    }
    again bootstrap "${@:3}" || { tail -n 20 "$root.log"; return 1; }
    git bundle create --quiet "$root/kvmath.bundle" HEAD
}

# in_debian ROOT SCRIPT [ARGUMENT...]: bash reads SCRIPT in ROOT, with an empty environment but for JOBS and the language, and
# with the compiler cache and the package archives of this machine. The mounts live in a namespace of their own: they end with
# it, however it ends.
in_debian() {
    local root=$1 cache=${CCACHE_DIR:-$HOME/.cache/ccache} language=() name
    # The compiler cache tells languages of messages apart.
    for name in LANG LC_ALL LC_CTYPE LC_MESSAGES; do
        [ -z "${!name:-}" ] || language+=("$name=${!name}")
    done
    mkdir -p "$cache"
    unshare --mount bash -euo pipefail -c '
        root=$1 cache=$2
        mount --make-rprivate / 2>/dev/null || true
        mkdir -p "$root/root/.cache/ccache"
        mount -t proc proc "$root/proc"
        mount --rbind /dev "$root/dev"
        mount --bind /var/cache/apt/archives "$root/var/cache/apt/archives"
        mount --bind "$cache" "$root/root/.cache/ccache"
        exec chroot "$root" /usr/bin/env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
            "${@:3}"' \
        bash "$root" "$cache" JOBS="$jobs" "${language[@]}" bash -euo pipefail -c "${@:2:1}" bash "${@:3}"
}
