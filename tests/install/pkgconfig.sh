#!/bin/sh
# pkgconfig.sh CXX PREFIX LIBRARIES WORK: builds a sample, and a program with the stand-in, with a
# compiler and pkg-config alone, and runs both.
set -eu
cxx=$1 prefix=$2 libraries=$3 work=$4
here=$(cd "$(dirname "$0")" && pwd)
samples=$prefix/share/kzfi_pdk/samples

export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries"
rm -rf "$work"
mkdir -p "$work"
cd "$work"

# shellcheck disable=SC2046
"$cxx" -std=c++17 -shared -fPIC -I "$samples/common" -o router.so "$samples/router/router.cpp" \
    $(pkg-config --cflags --libs kzfi_pdk)
cp "$samples/router/router.yaml" .
"$prefix/bin/kzfi-simhost" run router.yaml --root "$work/root"

# shellcheck disable=SC2046
"$cxx" -std=c++17 -o consumer "$here/consumer/consumer.cpp" \
    $(pkg-config --cflags --libs kzfi_pdk kzfi_platform)
./consumer "$(pkg-config --modversion kzfi_pdk)"
