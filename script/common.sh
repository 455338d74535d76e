# Sourced by the other scripts: the tree's folder, and its packages.

set -eu
cd "$(dirname "$0")/.."
PROJECT=$(pwd)
: "${JOBS:=$(nproc)}"

# packages demo|test: the Debian packages that the demo, or everything, needs, one a line.
packages() {
    sed -e 's/#.*//' -e '/^[[:space:]]*$/d' script/packages |
        if [ "$1" = demo ]; then sed '/^\[test\]$/,$d'; else sed '/^\[test\]$/d'; fi
}

missing_packages() {
    for package in $(packages "$1"); do
        status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
        [ "$status" = "install ok installed" ] || echo "$package"
    done
}

# as_root COMMAND...: runs it as root or through sudo; fails when neither is possible.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    else
        command -v sudo >/dev/null 2>&1 && sudo -n "$@"
    fi
}

# apt_install PACKAGE...: names, or files with a slash.
apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -o Dpkg::Use-Pty=0 install --no-install-recommends -y "$@" >/dev/null
}

# install_packages demo|test: installs what is missing, as root or through sudo.
install_packages() {
    missing=$(missing_packages "$1" | tr '\n' ' ')
    [ -n "$missing" ] || return 0
    if ! as_root true 2>/dev/null; then
        echo "$0: these packages are missing and only root can install them: $missing" >&2
        echo "$0: as root: apt-get update && apt-get install $missing" >&2
        exit 1
    fi
    echo "== installing $missing"
    # shellcheck disable=SC2086
    if ! as_root apt-get -qq update || ! apt_install $missing; then
        echo "$0: cannot install $missing" >&2
        exit 1
    fi
}

# configured PRESET: whether its folder is there. The demo takes the release build as it is; the
# release build has the tests, which the demo left out.
configured() {
    case $1 in
    demo) [ -f build/release/build.ninja ] ;;
    release) grep -qs '^build tests/all:' build/release/build.ninja ;;
    *) [ -f "build/$1/build.ninja" ] ;;
    esac
}

# build PRESET: configures once and builds.
build() {
    configured "$1" || cmake --preset "$1"
    cmake --build --preset "$1" -- -j "$JOBS"
}
