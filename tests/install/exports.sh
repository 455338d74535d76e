#!/bin/sh
# exports.sh LIBRARY NAMES [VERSION]: what LIBRARY exports begins with NAMES, an extended regular
# expression over readable names, and has that version, or none.
set -eu
library=$1 names=$2 version=${3:-}

# What the compiler makes for a class belongs to the class.
made='(typeinfo|typeinfo name|vtable|VTT|construction vtable|guard variable) for '
made="$made|(non-virtual|virtual|covariant return) thunk to "
suffix=${version:+@@$version}

exported=$(nm --dynamic --defined-only --demangle "$library" | cut -d' ' -f2-)
own=$(echo "$exported" | grep -cE "^[A-Za-z] ($made)?($names)" || true)
if [ "$own" -eq 0 ]; then
    echo "$library exports nothing of its own"
    exit 1
fi
# The version is a symbol itself.
if echo "$exported" |
    grep -vE "^([A-Za-z] ($made)?($names)[^@]*$suffix|A $version)\$"; then
    echo "$library exports these, which are not its own or not of version '$version'"
    exit 1
fi
echo "$library exports $own symbols"
