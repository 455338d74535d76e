#!/bin/sh
# Compiles one public header alone, as an includer would: both compilers, all language levels, all
# warnings as errors.
#   compile_header.sh HEADER INCLUDE_DIR...
set -eu
header=$1
shift
folders=
for folder in "$@"; do
    folders="$folders -I $folder"
done
warnings="-Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wnon-virtual-dtor -Werror"

compile() {
    echo "+ $*"
    # shellcheck disable=SC2086
    echo "#include \"$header\"" | "$@" -fsyntax-only $folders -
}

for compiler in g++ clang++; do
    for level in c++17 c++20; do
        # shellcheck disable=SC2086
        compile $compiler -std=$level $warnings -x c++
    done
done
case $header in
kzfi_framework.h | kzfi_portable.h | kzfi_platform_control.h)
    for compiler in gcc clang; do
        compile $compiler -std=c11 -Wall -Wextra -Wpedantic -Wshadow -Werror -x c
    done
    ;;
esac
