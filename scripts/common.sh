# shellcheck shell=bash disable=SC2034 # what is set here is used by the scripts
# What the scripts of this folder share; sourced, not run.
# SPDX-License-Identifier: MIT

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Packages of Debian 12.
build_packages=(g++ cmake ninja-build pkg-config qtbase5-dev qtbase5-dev-tools libcjson-dev libdbus-1-dev rapidjson-dev)
demo_packages=("${build_packages[@]}" dbus-daemon)
test_packages=("${demo_packages[@]}" bash binutils dbus-bin dbus-system-bus-common libglib2.0-bin make mandoc python3
    python3-dbusmock python3-gi python3-jsonschema qt5-qmake systemd zsh)
qml_packages=(qtdeclarative5-dev qtdeclarative5-dev-tools qml-module-qtqml qml-module-qtquick-window2
    qml-module-qtquick2 qml-module-qttest qmlscene)
screens_build_packages=(qtdeclarative5-dev qtdeclarative5-dev-tools qtmultimedia5-dev qtquickcontrols2-5-dev
    qttools5-dev qttools5-dev-tools)
screens_packages=("${qml_packages[@]}" "${screens_build_packages[@]}" fonts-dejavu-core libqt5multimedia5-plugins
    qml-module-qtquick-controls2 qml-module-qtquick-layouts qml-module-qtquick-templates2)
screens_test_packages=("${screens_packages[@]}" imagemagick mandoc python3-dbus x11-xserver-utils xdotool xvfb)
qt6_packages=(qmake6 qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qtquick
    qml6-module-qtquick-window qml6-module-qttest qmlscene-qt6 qt6-base-dev qt6-base-dev-tools qt6-declarative-dev)
benchmark_packages=("${demo_packages[@]}" binutils libbenchmark-dev libglib2.0-dev libsdbus-c++-dev libsystemd-dev
    nlohmann-json3-dev python3 valgrind)

docs_packages=(doxygen graphviz mandoc python3)
package_packages=("${build_packages[@]}" "${docs_packages[@]}" "${screens_build_packages[@]}" autopkgtest dbus-daemon
    debhelper dpkg-dev fakeroot git lintian mmdebstrap)

die() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# ensure_packages PACKAGE…: installs what is missing, and says so first.
ensure_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "not root, and no sudo; please install: ${missing[*]}"
        as_root=(sudo)
    fi
    echo "$(basename "$0"): will install with apt-get: ${missing[*]}"
    "${as_root[@]}" apt-get update -q >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
}

# configure FOLDER OPTION…: configures a build folder. More options: environment variable KIV_CMAKE_OPTIONS.
configure() {
    local folder=$1
    shift
    local more=()
    read -ra more <<<"${KIV_CMAKE_OPTIONS:-}"
    cmake -S "$root" -B "$folder" -G Ninja "$@" "${more[@]}" >"$folder.log" 2>&1 || {
        cat "$folder.log" >&2
        die "cannot configure $folder"
    }
    rm -f "$folder.log"
}

# build FOLDER [TARGET…]
build() {
    local folder=$1
    shift
    ninja -C "$folder" "$@" >"$folder.log" 2>&1 || {
        cat "$folder.log" >&2
        die "cannot build $folder"
    }
    rm -f "$folder.log"
}
