#!/usr/bin/env bash
# Checks a frozen AIDL interface version: the dump of the sources as they stand must equal both the
# frozen dump and the current one, and the frozen dump must match its .hash, computed as the
# platform does: the sha1 of the dump files' sha1sum lines in C-locale path order, followed by the
# version before this one.
# Usage: check_frozen_interface.sh GENERATOR INTERFACE_ROOT IMPORT_ROOT PACKAGE VERSION
set -euo pipefail
generator=$1 root=$2 imports=$3 package=$4 version=$5
api="$root/aidl_api/$package"
frozen="$api/$version"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mapfile -t sources < <(cd "$root" && find "${package//.//}" -name '*.aidl' | LC_ALL=C sort)
(cd "$root" && "$generator" --dumpapi --out "$work/dump" -I "$root" -I "$imports" "${sources[@]}")

status=0
if ! diff -r "$work/dump" "$frozen" --exclude=.hash; then
    echo "the interface differs from its frozen version $version dump in $frozen" >&2
    status=1
fi
if ! diff -r "$work/dump" "$api/current"; then
    echo "the current dump in $api/current is stale" >&2
    status=1
fi

expected=$(cat "$frozen/.hash")
actual=$(cd "$frozen" && { find ./ -name '*.aidl' -print0 | LC_ALL=C sort -z | xargs -0 sha1sum &&
    echo $((version - 1)); } | sha1sum | cut -d ' ' -f 1)
if [[ "$actual" != "$expected" ]]; then
    echo "the hash of $frozen is $actual, its .hash says $expected" >&2
    status=1
fi
exit $status
