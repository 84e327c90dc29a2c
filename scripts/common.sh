# shellcheck shell=bash
# What the scripts share: finding out what a build needs and lacks, installing it, and
# building. To be sourced by bash 3.2 or newer, after `me` is set to the name that
# stands before every message. Sets `root`, the folder of the project.

root=$(CDPATH='' cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

# What is missing, in words, and the packages that bring it.
missing=''
apt_packages=''
brew_packages=''

say() {
    printf '%s: %s\n' "${me:?}" "$*"
}

# Says in one line what is wrong, and ends the script.
fail() {
    say "$*" >&2
    exit 1
}

# Says whether all these commands are there.
has_command() {
    local command
    for command; do
        command -v "$command" >/dev/null 2>&1 || return
    done
}

# has_compiler CHOSEN NAME...
#
# Says whether there is the compiler that the user chose; without a choice, whether there
# is one of those that CMake looks for.
has_compiler() {
    local chosen=$1 name
    shift
    if [ -n "$chosen" ]; then
        has_command "${chosen%% *}"
        return
    fi
    if [ "$(uname)" = Darwin ]; then
        # Without the developer tools c++ is there, and only offers to install them.
        xcode-select -p >/dev/null 2>&1
        return
    fi
    for name; do
        if has_command "$name"; then return 0; fi
    done
    return 1
}

has_cxx_compiler() {
    has_compiler "${CXX:-}" c++ g++ clang++
}

has_c_compiler() {
    has_compiler "${CC:-}" cc gcc clang
}

# Looks where CMake looks. CMAKE_PREFIX_PATH, which it looks at too, may name more.
has_header() {
    local folders="${CMAKE_PREFIX_PATH:-}:/usr:/usr/local:/opt/homebrew" folder
    local IFS=:
    for folder in $folders; do
        if [ -e "$folder/include/$1" ] || [ -e "$folder/include/jsoncpp/$1" ]; then
            return 0
        fi
    done
    return 1
}

# Asks the interpreter that the tests name, and for which apt-get installs modules.
# Another python3 may be the first in PATH.
has_python_module() {
    /usr/bin/python3 -c "import $1" >/dev/null 2>&1
}

# need WORDS APT-PACKAGES BREW-PACKAGES CHECK...
#
# Notes that what the words name is missing if the check fails.
need() {
    local words=$1 apt=$2 brew=$3
    shift 3
    if ! "$@"; then
        missing="$missing${missing:+, }$words"
        apt_packages="$apt_packages $apt"
        brew_packages="$brew_packages $brew"
    fi
}

need_for_build() {
    need 'a C++ compiler' g++ '' has_cxx_compiler
    need 'a C compiler' gcc '' has_c_compiler
    need cmake cmake cmake has_command cmake
    need ninja ninja-build ninja has_command ninja
    need jsoncpp libjsoncpp-dev jsoncpp has_header json/json.h
    if [ "$(uname)" != Darwin ]; then
        need libuuid uuid-dev '' has_header uuid/uuid.h
    fi
}

# What tests/support/contained calls.
need_for_containment() {
    need 'setsid and unshare' util-linux '' has_command setsid unshare
    need 'mount and umount' mount '' has_command mount umount
}

# The tests need what the build needs, too.
need_for_tests() {
    need_for_build
    need googletest 'libgtest-dev libgmock-dev' googletest has_header gmock/gmock.h
    if [ "$(uname)" != Darwin ]; then
        need mandoc mandoc '' has_command mandoc
        need zsh zsh '' has_command zsh
        need fish fish '' has_command fish
        need jq jq '' has_command jq
        need localedef libc-bin '' has_command localedef
        need pytest python3-pytest '' has_python_module pytest
        need "Python's jsonschema" python3-jsonschema '' has_python_module jsonschema
        need "Python's yaml" python3-yaml '' has_python_module yaml
        need_for_containment
    fi
    need 'google benchmark' libbenchmark-dev google-benchmark has_header benchmark/benchmark.h
}

install_with_apt() {
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get)
    if [ "$(id -u)" -ne 0 ]; then
        has_command sudo || fail "missing: $missing; no permission to install it:" \
            "neither root nor sudo. An administrator can:" \
            "apt-get install$apt_packages"
        # Without a terminal nobody can answer when sudo asks for a password.
        if [ -t 0 ]; then apt=(sudo "${apt[@]}"); else apt=(sudo -n "${apt[@]}"); fi
    fi
    say "missing: $missing; installing$apt_packages"
    # An old list of packages is often good enough, so a failure here decides nothing.
    "${apt[@]}" update
    # shellcheck disable=SC2086  # several packages
    "${apt[@]}" install -y --no-install-recommends $apt_packages ||
        fail "apt-get could not install$apt_packages; it says why above"
}

install_with_brew() {
    say "missing: $missing; installing$brew_packages"
    # shellcheck disable=SC2086  # several packages
    brew install $brew_packages ||
        fail "brew could not install$brew_packages; it says why above"
}

# Installs what the `need` calls before it found missing. `need_all` calls them again
# afterwards, for a look at what the installation brought.
install_missing() {
    local need_all=$1
    [ -n "$missing" ] || return 0
    if [ "$(uname)" = Darwin ] && ! has_cxx_compiler; then
        fail "there is no C++ compiler; 'xcode-select --install' installs one"
    elif has_command apt-get; then
        install_with_apt
    elif has_command brew; then
        install_with_brew
    else
        fail "missing: $missing; no package manager that is known here" \
            "(apt-get, brew): install it by hand"
    fi
    hash -r
    missing=''
    "$need_all"
    [ -z "$missing" ] || fail "still missing after the installation: $missing"
}

check_cmake_version() {
    local major minor
    # shellcheck disable=SC2162  # digits only
    read major minor <<EOF
$(cmake --version | sed -n '1s/^[^0-9]*\([0-9]*\)\.\([0-9]*\).*/\1 \2/p')
EOF
    if [ $((${major:-0} * 1000 + ${minor:-0})) -lt 3022 ]; then
        fail "cmake 3.22 or newer is needed; this is ${major:-?}.${minor:-?}"
    fi
}

# Configures the preset $1, in build/$1.
configure_build() {
    check_cmake_version
    say "building build/$1"
    (cd "$root" && cmake --preset "$1") ||
        fail "build/$1 could not be configured; cmake says why above"
}

# build_configured PRESET [TARGET...]
#
# Builds the targets in build/PRESET; without any, those of the preset.
build_configured() {
    local preset=$1 targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    # An empty array is an unset variable to older shells.
    (cd "$root" && cmake --build --preset "$preset" ${targets[@]+"${targets[@]}"}) ||
        fail "build/$preset could not be built; the first error above says why"
}

# Configures and builds the preset $1, in build/$1.
build() {
    configure_build "$1"
    build_configured "$1"
}

# Before the first build of build/$1, fetches the sources of what is linked into the
# bundle. If that fails, the system's library is used.
fetch_sources_once() {
    if [ ! -d "$root/build/$1" ] && has_command apt-get; then
        "$root/scripts/fetch-sources" 2>/dev/null ||
            say "the sources of jsoncpp could not be fetched; the system's library is used"
    fi
}

# Builds the bundle as it is shipped, in build/$1.
build_bundle() {
    fetch_sources_once "$1"
    build "$1"
}

count_processors() {
    getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2
}
