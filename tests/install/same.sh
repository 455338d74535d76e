#!/bin/sh
# same.sh CMAKE CPACK BUILD TREE PACKAGES WORK OPTION...: builds and packs a copy of the tree in a
# folder below WORK, as someone else would and with these options for CMake; what comes out is that of
# BUILD, and that in PACKAGES, byte for byte.
set -eu
cmake=$1 cpack=$2 build=$3 tree=$4 packages=$5 work=$6
shift 6

# section FILE NAME: what is in it, readable.
section() { readelf --wide --hex-dump="$2" "$1" 2>/dev/null | sed 1,2d; }

# sections FILE...: the names of all of them.
sections() {
    for file in "$@"; do
        readelf --wide --section-headers "$file" | sed -n 's/^ *\[ *[1-9][0-9]*\] \([^ ]*\).*/\1/p'
    done | sort -u
}

# tell_binary FIRST SECOND: which sections differ, and where each begins to.
tell_binary() {
    for name in $(sections "$1" "$2"); do
        section "$1" "$name" >"$work/first.txt"
        section "$2" "$name" >"$work/second.txt"
        cmp -s "$work/first.txt" "$work/second.txt" || {
            echo "    section $name:"
            diff "$work/first.txt" "$work/second.txt" | sed -n 's/^[<>]/        &/p' | head -4
        }
    done
}

# unpack PACKAGE FOLDER: its parts, all its files and a list of them with owners, modes and dates.
unpack() {
    mkdir "$2"
    dpkg-deb --raw-extract "$1" "$2/files"
    { ar tvO "$1"; dpkg-deb --ctrl-tarfile "$1" | tar -tv; dpkg-deb --contents "$1"; } >"$2/list"
}

# tell_package FIRST SECOND: what differs in them.
tell_package() {
    rm -rf "$work/first" "$work/second"
    unpack "$1" "$work/first"
    unpack "$2" "$work/second"
    (cd "$work" && diff -r --no-dereference first second) | sed 's/^/    /' | head -40
}

differences=0
# compare KIND FIRST SECOND
compare() {
    if cmp -s "$2" "$3"; then
        echo "same $(sha256sum "$3" | cut -c1-64) $(basename "$3")"
    else
        echo "DIFFERS $2 (<), $3 (>)"
        "tell_$1" "$2" "$3"
        differences=$((differences + 1))
    fi
}

# Someone else has another folder, umask, time zone, language and number of processors; and no
# repository, but an archive of it, where each file has the date of the commit.
umask 027
export TZ=Pacific/Chatham LC_ALL=C
copy=$work/a/folder/with/a/name/of/another/length
rm -rf "$work"
mkdir -p "$copy"
tar -C "$tree" -c CHANGELOG.md CMakeLists.txt cmake docs include packaging platform samples simhost src |
    tar -C "$copy" --no-same-permissions -x
date=$(git -C "$tree" log -1 --format=%ct 2>/dev/null || stat -c %Y "$tree/CHANGELOG.md")
touch --date="@$date" "$copy/CHANGELOG.md"

second=$work/build
"$cmake" -S "$copy" -B "$second" -DKZFI_BUILD_TESTS=OFF -DKZFI_BUILD_BENCH=OFF "$@" >"$work/log"
"$cmake" --build "$second" --target kzfi_pdk kzfi_platform kzfi-simhost >>"$work/log" ||
    { tail -n 40 "$work/log"; exit 1; }
"$cpack" --config "$second/CPackConfig.cmake" -G DEB -B "$work/packages" >>"$work/log"

for file in src/libkzfi_pdk.so platform/libkzfi_platform.so simhost/kzfi-simhost; do
    compare binary "$build/$file" "$second/$file"
done
for file in "$work"/packages/*.deb; do
    compare package "$packages/$(basename "$file")" "$file"
done
exit "$((differences > 0))"
