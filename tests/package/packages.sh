#!/usr/bin/env bash
# Makes the Debian packages of a build, checks them with lintian, and runs the programs from them:
# packages.sh BUILD_FOLDER
set -euo pipefail

build=$1
source=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

if ! (cd "$build" && cpack -G DEB -B "$scratch/packages") >"$scratch/log" 2>&1; then
    cat "$scratch/log" >&2
    exit 1
fi
packages=("$scratch"/packages/*.deb)
ls -l "${packages[@]}"

lintian --fail-on error --tag-display-limit 0 "${packages[@]}"

root=$scratch/root
for package in "${packages[@]}"; do
    dpkg-deb --extract "$package" "$root"
done
for component in libconfigscript0_ libconfigscript-dev_ configscript_ configscript-editor_; do
    if ! ls "$scratch/packages/$component"*.deb >/dev/null; then
        echo "no package $component*.deb" >&2
        exit 1
    fi
done
cp -r "$source/examples" "$scratch/examples"
"$root/usr/bin/configscript" resolve "$scratch/examples/pump-station" | tail -n 1 \
    | grep '^21 scripts run, 0 failed; 12 files changed, 30 values; '
QT_QPA_PLATFORM=offscreen "$root/usr/bin/configscript-editor" \
    "$scratch/examples/pump-station" line1/pump1 --screenshot "$scratch/editor.png"
