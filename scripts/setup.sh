# Sourced by ./check, ./demo and the other scripts, in the root of the sources: installs what the build needs.
# kv_setup installs what is missing with apt-get, as root or through sudo. The packages are those of Debian 12. Where that is
# not possible, or if KV_NO_INSTALL is set, it names the missing packages in one line and ends the caller with 1.

# Tests read what tools print.
export LC_ALL=C.UTF-8

# Required commands or files (with a path), each with its Debian package.
kv_requirements="
x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
x86_64-w64-mingw32-windres binutils-mingw-w64-x86-64
cmake cmake
ninja ninja-build
clang-format clang-format
clang-tidy clang-tidy
clang++-19 clang-19
ld.lld-19 lld-19
/usr/lib/llvm-19/lib/clang/19/lib/linux/libclang_rt.fuzzer-x86_64.a libclang-rt-19-dev
python3 python3
openssl openssl
doxygen doxygen
wixl wixl
msiextract msitools
osslsigncode osslsigncode
pkg-config pkg-config
cmark-gfm cmark-gfm
${KV_WINE64:-/usr/lib/wine/wine64} wine64
wineserver wine
/usr/src/googletest/CMakeLists.txt googletest
node nodejs
npm npm
chromium chromium
"

kv_is_there() {
    case $1 in
    /*) [ -e "$1" ] ;;
    *) command -v "$1" >/dev/null 2>&1 ;;
    esac
}

kv_missing_packages() {
    echo "$kv_requirements" | while read -r item package; do
        [ -z "$item" ] || kv_is_there "$item" || echo "$package"
    done | sort -u | tr '\n' ' '
}

kv_install() {
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null 2>&1 || return 1
        as_root=sudo
    fi
    command -v apt-get >/dev/null 2>&1 || return 1
    echo "Installing: $*"
    $as_root apt-get update -qq &&
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

# What the page in viewer/ is bundled and tested with, in build/node: exactly the versions of its lock file.
kv_install_modules() {
    [ -e viewer/package-lock.json ] || return 0
    cmp -s viewer/package-lock.json build/node/package-lock.json && [ -e build/node/node_modules ] && return
    if [ -n "${KV_NO_INSTALL:-}" ]; then
        echo "Missing, and not to be installed from here; the modules of viewer/package-lock.json in build/node" >&2
        exit 1
    fi
    echo "Installing the modules of viewer/package-lock.json"
    rm -rf build/node
    mkdir -p build/node
    cp viewer/package.json viewer/package-lock.json build/node/
    (
        cd build/node
        # Without the programs that modules bring along for their installation.
        npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >/dev/null
    ) || { rm -f build/node/package-lock.json; exit 1; }
}

kv_setup() {
    kv_install_packages
    kv_install_modules
}

kv_install_packages() {
    missing=$(kv_missing_packages)
    [ -z "$missing" ] && return
    if [ -z "${KV_NO_INSTALL:-}" ]; then
        # Unquoted: a list of package names.
        # shellcheck disable=SC2086
        kv_install $missing && missing=$(kv_missing_packages)
        [ -z "$missing" ] && return
    fi
    echo "Missing, and not to be installed from here; the Debian packages are: $missing" >&2
    exit 1
}
