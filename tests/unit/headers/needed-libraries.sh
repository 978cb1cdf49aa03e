#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# needed-libraries.sh <library> <include directory> <major version of Qt>
#
# Checks that the shared library needs Qt Core, Qt D-Bus, cJSON and the C and C++ run time, and nothing else.
set -euo pipefail
export LC_ALL=C

library=${1:?usage: needed-libraries.sh <library> <include directory> <major version of Qt>}
core=libQt${3:?}Core.so.$3
dbus=libQt$3DBus.so.$3

needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\].*/\1/p')

status=0
for name in $needed; do
    case $name in
        "$core" | "$dbus" | libcjson.so.1) ;;
        libstdc++.so.6 | libgcc_s.so.1 | libc.so.6 | libm.so.6) ;;
        libc++.so.1 | libc++abi.so.1 | libunwind.so.1) ;; # clang's run time for C++
        *)
            echo "error: $library needs $name, which it should do without"
            status=1
            ;;
    esac
done
for name in "$core" "$dbus" libcjson.so.1; do
    if ! grep -qFx "$name" <<<"$needed"; then
        echo "error: $library does not name $name among the libraries that it needs"
        status=1
    fi
done
exit $status
