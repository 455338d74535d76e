#!/bin/sh
# new.sh PREFIX LIBRARIES TREE WORK NAME [OPTION...]: has the installed kzfi-simhost write a project
# into the folder WORK, and runs its CI script as it stands, with nothing but the prefix. TREE is the
# kit's own, which must not be used.
set -eu
prefix=$1 libraries=$2 tree=$3 work=$4 name=$5
shift 5

export PATH="$prefix/bin:$PATH" LD_LIBRARY_PATH="$libraries"
rm -rf "$work"
kzfi-simhost new "$name" --into "$work" "$@"
"$work/ci" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF

for compiler in ${CI_COMPILERS:-g++ clang++}; do
    build=$work/build-$compiler
    headers=$(ninja -C "$build" -t deps)
    if ! echo "$headers" | grep -qF "$prefix/include/kzfi_pdk/kzfi_pdk.h" ||
        echo "$headers" | grep -F -e "$tree/include/" -e "$tree/platform/"
    then
        echo "$name was built with other headers than those of $prefix"
        exit 1
    fi
    # The scenario and the checker were run.
    for test in "$name.$name" "$name.check"; do
        if ! grep -q "testcase name=\"$test\" .*status=\"run\"" "$build/report.xml"; then
            echo "$name has no test $test, or it did not run"
            exit 1
        fi
    done
done
