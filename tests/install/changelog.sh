#!/bin/sh
# changelog.sh SCRIPT WORK: what SCRIPT makes of a file of changes.
set -eu
script=$1 work=$2

rm -rf "$work"
mkdir -p "$work"
cd "$work"
cat >changes <<'EOT'
# Changes

## 1.2.10

Not this.

## 1.2.1

Two paragraphs, the first one
of two lines, which are not broken in the same place as before.

The second.

- An entry; with "quotes" and 'more', which ends just at the eightieth column.
- One of
  two lines.

## 1.2.0

- Nor this.
EOT
cat >expected <<'EOT'
kzfi-pdk (1.2.1) unstable; urgency=medium

  * Two paragraphs, the first one of two lines, which are not broken in the same
    place as before.
  * The second.
  * An entry; with "quotes" and 'more', which ends just at the eightieth column.
  * One of two lines.

 -- Some One <some@one.invalid>  Tue, 14 Nov 2023 22:13:20 +0000
EOT
export SOURCE_DATE_EPOCH=1700000000 TZ=Pacific/Chatham
"$script" changes 1.2.1 "Some One <some@one.invalid>" >made
diff expected made

if "$script" changes 1.2 "Some One <some@one.invalid>" >made 2>errors; then
    echo "FAILED  made one for a version that has no changes"
    exit 1
fi
echo "changes says nothing of 1.2" | diff - errors
