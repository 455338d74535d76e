#!/bin/sh
# changelog.sh CHANGES VERSION CONTACT: what CHANGES says of this version, in the form of a Debian
# package; its date is SOURCE_DATE_EPOCH.
set -eu
export LC_ALL=C
changes=$1 version=$2 contact=$3

# Entries and paragraphs alike become entries, with lines of up to 80 characters.
entries=$(awk -v version="$version" '
    function finish(  words, count, i, line) {
        count = split(entry, words, " ")
        line = "  *"
        for (i = 1; i <= count; i++) {
            if (length(line " " words[i]) > 80) {
                print line
                line = "   "
            }
            line = line " " words[i]
        }
        if (count > 0) { print line }
        entry = ""
    }
    /^## / { finish(); wanted = $2 == version; next }
    /^$/ || sub(/^- /, "") { finish() }
    wanted { entry = entry " " $0 }
    END { finish() }' "$changes")
if [ -z "$entries" ]; then
    echo "$changes says nothing of $version" >&2
    exit 1
fi
printf 'kzfi-pdk (%s) unstable; urgency=medium\n\n%s\n\n -- %s  %s\n' "$version" "$entries" \
    "$contact" "$(date --utc --rfc-email --date="@$SOURCE_DATE_EPOCH")"
