# Sourced by ./check, ./demo and the other scripts: installs what the build needs.
# kv_setup installs what is missing on Debian and Ubuntu, as root or through sudo; elsewhere, or if KV_NO_INSTALL is set,
# it names the missing packages in one line and ends the caller with 1.

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
${KV_WINE64:-/usr/lib/wine/wine64} wine64
wineserver wine
/usr/src/googletest/CMakeLists.txt googletest
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

kv_setup() {
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
