#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# exported-symbols.sh <library> <include directory> […]
#
# Checks that the shared library exports every class of the public headers, the two functions of the parameter
# codec, and nothing else.
set -euo pipefail
export LC_ALL=C

library=${1:?usage: exported-symbols.sh <library> <include directory>}
include=${2:?usage: exported-symbols.sh <library> <include directory>}

namespace=Audio::Utils::Kiv::QtDbus

# A header is named after its class; these hold none.
classes=()
for header in "$include"/*.h; do
    name=$(basename "$header" .h)
    case $name in
        JsonParameterParser | KivQtDbusExport) ;;
        ComQuorvantelServiceProviderInterface | ServiceProviderAdaptor) classes+=("$name") ;;
        *) classes+=("${namespace}::$name") ;;
    esac
done
functions=("${namespace}::AddParameters(" "${namespace}::GetParameters(")

# What a debug build does not inline of the standard library and of Qt is weak or unique, and no part of the interface.
symbols=$(nm -D --defined-only "$library" | awk '
    $2 ~ /^[WVu]$/ && $3 ~ /^_Z(T[VIS])?N?[KRO]*(St|S[absiod]|9__gnu_cxx|[0-9]+[Qq][A-Za-z])/ { next }
    $2 == "u" || $2 ~ /^[A-Z]$/ { print $3 }' | c++filt)

published=$(printf '%s\n' "${classes[@]}" | paste -sd'|')
prefix='((vtable|typeinfo|typeinfo name|VTT) for |non-virtual thunk to |virtual thunk to )?'
unexpected=$(grep -Ev "^$prefix($published)(::.*)?\$" <<<"$symbols" |
    grep -Ev "^$namespace::(AddParameters|GetParameters)\\(" || true)

status=0
if [[ -n $unexpected ]]; then
    echo "error: $library exports symbols that belong to no public header:"
    printf '%s\n' "$unexpected" | sed 's/^/  /'
    status=1
fi

for class in "${classes[@]}"; do
    if ! grep -qFx "typeinfo for $class" <<<"$symbols"; then
        echo "error: $library does not export the class $class"
        status=1
    fi
done
for function in "${functions[@]}"; do
    if ! grep -qF "$function" <<<"$symbols"; then
        echo "error: $library does not export the function $function…)"
        status=1
    fi
done
exit $status
