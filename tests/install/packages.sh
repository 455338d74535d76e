#!/bin/sh
# packages.sh CMAKE CPACK BUILD TREE OUT: makes the packages from the build, looks at each, and unpacks
# them all into OUT/prefix.
set -eu
cmake=$1 cpack=$2 build=$3 tree=$4 out=$5

fail() {
    echo "$*"
    exit 1
}

field() { dpkg-deb --field "$1" "$2"; }

# It runs wherever it is put, and does not tell where it was built.
check_binary() {
    readelf --dynamic "$1" | grep -E 'RPATH|RUNPATH' && fail "$1 looks for libraries in fixed folders"
    for folder in "$build" "$tree"; do
        grep -qF "$folder" "$1" && fail "$1 names the folder $folder"
    done
    return 0
}

check_package() {
    package=$(field "$1" Package)
    for name in Version Architecture Maintainer Section Priority Depends Description; do
        [ -n "$(field "$1" $name)" ] || fail "$package has no $name"
    done
    dpkg-deb --fsys-tarfile "$1" | tar -xO "./usr/share/doc/$package/copyright" |
        grep -qF "the licence of the kit is the owner's to set" ||
        fail "$package has no copyright file that says whose the licence is"
}

rm -rf "$out"
mkdir -p "$out/prefix"
"$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$out"

made=$(for file in "$out"/*.deb; do field "$file" Package; done | sort | tr '\n' ' ')
[ "$made" = "kzfi-simhost libkzfi-pdk-dev libkzfi-pdk4.4 libkzfi-platform " ] ||
    fail "other packages than expected: $made"

for file in "$out"/*.deb; do
    check_package "$file"
    dpkg-deb --extract "$file" "$out/prefix"
done
for file in "$out"/prefix/usr/bin/* $(find "$out/prefix" -type f -name '*.so.*'); do
    check_binary "$file"
done

# Whatever is installed is in one package, and in no other.
DESTDIR="$out/installed" "$cmake" --install "$build" --prefix /usr >/dev/null
(cd "$out/installed" && find . ! -type d | sort) >"$out/installed.txt"
for file in "$out"/*.deb; do
    dpkg-deb --fsys-tarfile "$file" | tar -t | grep -v '/$'
done | sort >"$out/packed.txt"
diff "$out/installed.txt" "$out/packed.txt" || fail "installed (<) is not what is packed (>)"

# What a machine with the host product installs brings no stand-in along.
for package in libkzfi-pdk4.4 libkzfi-pdk-dev; do
    field "$(echo "$out/$package"_*.deb)" Depends | grep -q platform &&
        fail "$package depends on the stand-in"
done
field "$(echo "$out"/kzfi-simhost_*.deb)" Depends | grep -q "libkzfi-platform (= .*libkzfi-pdk4.4 (= " ||
    fail "kzfi-simhost takes other libraries than it was built with"
