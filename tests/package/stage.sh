# shellcheck shell=bash disable=SC2034 # what is set here is used by the scripts
# What the scripts of this folder share; sourced, with the arguments BUILD-FOLDER CMAKE GENERATOR COMPILER LIBDIR
# QT-MAJOR PACKAGE PROGRAM-FOLDER.
# Installs a build, moves the tree into a folder with a blank in its name, and lets nobody find a bus.
# SPDX-License-Identifier: MIT
set -euo pipefail
build=$1 cmake=$2 generator=$3 compiler=$4 libdir=$5 qt_major=$6 package=$7 programs=$8
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

"$cmake" --install "$build" --prefix "$stage/first" >/dev/null
moved="$stage/moved tree"
mv "$stage/first" "$moved"
installed=$moved
warnings=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
# What careful users of Qt forbid themselves, and with it every header that they include.
read -ra strict <<<"-DQT_NO_KEYWORDS -DQT_NO_FOREACH -DQT_NO_CAST_FROM_ASCII -DQT_NO_CAST_TO_ASCII \
    -DQT_NO_CAST_FROM_BYTEARRAY -DQT_NO_URL_CAST_FROM_STRING -DQT_NO_NARROWING_CONVERSIONS_IN_CONNECT \
    -DQT_STRICT_ITERATORS -DQT_USE_QSTRINGBUILDER -DQT_DISABLE_DEPRECATED_BEFORE=0x050F00"
export LD_LIBRARY_PATH=$installed/$libdir
export PKG_CONFIG_PATH=$installed/$libdir/pkgconfig
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$stage/no-bus
export DBUS_SESSION_BUS_ADDRESS=unix:path=$stage/no-bus

# configure PROJECT FOLDER OPTION…: a stranger's project, against the installed tree.
configure() {
    local project=$1 folder=$2
    shift 2
    "$cmake" -S "$project" -B "$folder" -G "$generator" -DCMAKE_PREFIX_PATH="$installed" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${warnings[*]}" -DPACKAGE="$package" "$@"
}

# package_options OPTION…: what pkg-config says of the package, a word per line.
package_options() {
    pkg-config "$@" "$package" | xargs -n 1 printf '%s\n'
}

# example NAME HEADER-FOLDER: makes a source file of the example on standard input, with all headers of a folder.
example() {
    {
        for header in "$2"/*.h; do
            echo "#include <${header##*/}>"
        done
        printf '#include <QCoreApplication>\n#include <QDBusConnection>\n#include <QDebug>\n#include <QTimer>\n'
        printf 'using namespace Audio::Utils::Kiv::QtDbus;\nvoid example();\nvoid example()\n{\n'
        cat
        echo "}"
    } >"$stage/$1.cpp"
    local count
    count=$(find "$2" -maxdepth 1 -name '*.h' | wc -l)
    [ "$(wc -l <"$stage/$1.cpp")" -gt $((count + 10)) ] || { echo "no example found for $1" >&2; exit 1; }
}

# class_example HEADER: the first example of a header's documentation.
class_example() {
    sed -n '/@code/,/@endcode/p' "$1" | sed '/@endcode/q' | sed '1d;$d;s/^ \* \{0,1\}//'
}
