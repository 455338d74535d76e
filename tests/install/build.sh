#!/bin/sh
# build.sh CMAKE CXX PREFIX TREE PROJECT WORK: builds a project in the folder WORK against the prefix
# alone, and runs its tests. TREE is the kit's own, which must not be used.
set -eu
cmake=$1 cxx=$2 prefix=$3 tree=$4 project=$5 work=$6

rm -rf "$work"
"$cmake" -G Ninja -S "$project" -B "$work" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
"$cmake" --build "$work"

headers=$(ninja -C "$work" -t deps)
if ! echo "$headers" | grep -qF "$prefix/include/kzfi_pdk/kzfi_pdk.h" ||
    echo "$headers" | grep -F -e "$tree/include/" -e "$tree/platform/" -e "$tree/samples/"
then
    echo "$project was built with other headers than those of $prefix"
    exit 1
fi
CTEST_OUTPUT_ON_FAILURE=1 CTEST_NO_TESTS_ACTION=error "$cmake" --build "$work" --target test
