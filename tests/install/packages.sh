#!/bin/sh
# packages.sh CMAKE CPACK BUILD TREE OUT: makes the packages from the build, looks at each, and unpacks
# them all into OUT/prefix, and into OUT/host what a machine that has the host product needs.
set -eu
cmake=$1 cpack=$2 build=$3 tree=$4 out=$5

fail() {
    echo "$*"
    exit 1
}

field() { dpkg-deb --field "$2" "$1"; }
depends() { field Depends "$out/$1"_[0-9]*.deb; }

# It runs wherever it is put, and does not tell where it was built.
check_binary() {
    readelf --dynamic "$1" | grep -E 'RPATH|RUNPATH' && fail "$1 looks for libraries in fixed folders"
    for folder in "$build" "$tree"; do
        grep -qF "$folder" "$1" && fail "$1 names the folder $folder"
    done
    return 0
}

# It does not show who packed it, and has no scripts; a library has ldconfig triggered.
check_form() {
    contents=$(dpkg-deb --contents "$1")
    echo "$contents" | grep -vE '^(drwxr-xr-x|-rwxr-xr-x|-rw-r--r--|lrwxrwxrwx) root/root ' &&
        fail "$1 has files with an owner or a mode of their own"
    wanted="./ ./control ./md5sums "
    if echo "$contents" | grep -q '^-.*\.so\.'; then
        wanted="$wanted./shlibs ./triggers "
        [ "$(dpkg-deb --info "$1" triggers)" = "activate-noawait ldconfig" ] ||
            fail "$1 does not trigger ldconfig"
    fi
    control=$(dpkg-deb --ctrl-tarfile "$1" | tar -t | sort | tr '\n' ' ')
    [ "$control" = "$wanted" ] || fail "$1 has other control files than expected: $control"
}

# The changes of its version, dated like the package.
check_changelog() {
    doc=$out/prefix/usr/share/doc/$(field Package "$1")
    gunzip -c "$doc/changelog.gz" >"$out/changelog"
    head -n 1 "$out/changelog" | grep -qF "kzfi-pdk ($(field Version "$1")) " ||
        fail "$1 has the changelog of another version"
    date=$(LC_ALL=C date --utc --rfc-email --date="@$(stat -c %Y "$doc/copyright")")
    [ "$(tail -n 1 "$out/changelog")" = " -- $(field Maintainer "$1")  $date" ] ||
        fail "$1 has a changelog of another date"
}

check_package() {
    package=$(field Package "$1")
    for name in Version Architecture Maintainer Section Priority Depends Description; do
        [ -n "$(field $name "$1")" ] || fail "$package has no $name"
    done
    dpkg-deb --fsys-tarfile "$1" | tar -xO "./usr/share/doc/$package/copyright" |
        grep -qF "the licence of the kit is the owner's to set" ||
        fail "$package has no copyright file that says whose the licence is"
}

rm -rf "$out"
mkdir -p "$out/prefix"
"$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$out"

made=$(for file in "$out"/*.deb; do field Package "$file"; done | sort | tr '\n' ' ')
[ "$made" = "kzfi-simhost libkzfi-pdk-dev libkzfi-pdk4.4 libkzfi-platform " ] ||
    fail "other packages than expected: $made"

for file in "$out"/*.deb; do
    check_package "$file"
    check_form "$file"
    dpkg-deb --extract "$file" "$out/prefix"
    check_changelog "$file"
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

# Who includes the headers gets what these include.
libraries=$(sed -n 's|^#include <\([a-z0-9]*\)/.*|\1|p' "$out"/prefix/usr/include/kzfi_pdk/*.h |
    sort -u | tr '\n' ' ')
[ "$libraries" = "ace unicode xercesc " ] ||
    fail "libkzfi-pdk-dev and kzfi_pdk.pc are for headers that need ACE, ICU and Xerces: $libraries"
for package in libace-dev libicu-dev libxerces-c-dev; do
    depends libkzfi-pdk-dev | grep -q "$package" ||
        fail "libkzfi-pdk-dev does not depend on $package"
done

# What a machine with the host product installs brings no stand-in along.
for package in libkzfi-pdk4.4 libkzfi-pdk-dev; do
    needs=$(depends $package)
    case $needs in
    *platform*) fail "$package depends on the stand-in: $needs" ;;
    esac
done
for file in "$out"/libkzfi-pdk*.deb; do
    dpkg-deb --extract "$file" "$out/host"
done
depends kzfi-simhost | grep -q "libkzfi-platform (= .*libkzfi-pdk4.4 (= " ||
    fail "kzfi-simhost takes other libraries than it was built with"
