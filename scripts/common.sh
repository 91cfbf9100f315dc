# shellcheck shell=bash disable=SC2034
# What ./run, ./test and ./bench share: the packages, and building a preset. All it says goes to stderr.

root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)

# One list of Debian packages, in three groups. ccache is used where it is installed.
packagesToRun=(build-essential cmake ninja-build pkg-config zlib1g-dev libexpat1-dev qt6-base-dev
    qt6-image-formats-plugins libheif-dev libcli11-dev nlohmann-json3-dev libqrencode-dev cmark-gfm
    qt6-declarative-dev qt6-declarative-dev-tools libqt6svg6 fonts-inter
    qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qtquick
    qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtquick-window)
packagesToTest=(libgtest-dev libgmock-dev clang libclang-rt-14-dev clang-format clang-tidy shellcheck
    zip unzip libarchive-tools p7zip-full python3 git doxygen xvfb xdotool openbox xclip
    desktop-file-utils appstream shared-mime-info libglib2.0-bin groff-base curl zbar-tools
    at-spi2-core gir1.2-atspi-2.0 python3-gi dbus weston qt6-wayland)
packagesToMeasure=(zip unzip libarchive-tools p7zip-full libzip-dev libminizip-dev python3)

# Debian has ISA-L for these two; elsewhere zlib inflates.
case $(dpkg --print-architecture 2>/dev/null) in
    amd64 | arm64) packagesToRun+=(libisal-dev) ;;
esac

say() { echo "$*" >&2; }

# Runs a command as root: directly, or through sudo, which asks for a password only on a terminal.
asRoot() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    elif [[ -t 0 ]]; then
        sudo "$@"
    else
        sudo -n "$@"
    fi
}

# missingPackages PACKAGE...: prints those that are not installed.
missingPackages() {
    local installed package
    installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null)
    for package; do
        grep -qx "$package installed" <<<"$installed" || echo "$package"
    done
}

# installPackages PACKAGE...: installs what is missing; touches nothing when everything is there.
installPackages() {
    if ! command -v dpkg-query >/dev/null; then
        say "Not a Debian system: the build needs what these packages hold: $*"
        return 0
    fi
    local missing
    mapfile -t missing < <(missingPackages "$@")
    ((${#missing[@]})) || return 0
    say "Installing ${missing[*]}"
    local install=(env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y
        --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}")
    if asRoot apt-get -qq update >&2 </dev/null && asRoot "${install[@]}" >&2 </dev/null; then
        return 0
    fi
    say "These packages are missing and could not be installed: ${missing[*]}"
    say "Install them as root and try again: apt-get install ${missing[*]}"
    return 1
}

# configure PRESET ON|OFF [OPTION...]: configures build/PRESET with or without tests, once. A folder
# that has the tests serves those who don't need them too.
configure() {
    local folder=$root/build/$1 stamp=$root/build/$1/configured launcher=()
    if [[ -f $folder/build.ninja && $stamp -nt $root/CMakePresets.json ]]; then
        [[ $2 == OFF || $(<"$stamp") == ON ]] && return 0
    fi
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    (cd "$root" && cmake --preset "$1" -DBUILD_TESTING="$2" "${launcher[@]}" "${@:3}") >&2 || return 1
    echo "$2" >"$stamp"
}

# build PRESET [TARGET...]: builds in build/PRESET; says nothing when there is nothing to do.
build() {
    local preset=$1 targets=("${@:2}")
    ((${#targets[@]} == 0)) || targets=(--target "${targets[@]}")
    cmake --build "$root/build/$preset" "${targets[@]}" 2>&1 | sed -E '/^(ninja: no work to do|\[0\/[0-9]+\] Re-checking globbed)/d' >&2
    return "${PIPESTATUS[0]}"
}
