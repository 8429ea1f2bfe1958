#!/usr/bin/env bash
# Makes the folder with the libraries and headers of the 32-bit ARM target, once:
# armhf-sysroot.sh FOLDER
#
# Debian's packages for the architecture armhf are unpacked from the machine's own package sources.
# Qt's build tools among them run on the target only: the machine's own take their place.
set -euo pipefail

folder=$1
if [ -e "$folder/.complete" ]; then
    exit 0
fi
rm -rf "$folder"
mkdir -p "$(dirname "$folder")"

# shellcheck disable=SC2016 # the format is for apt-get to fill in
mirror=$(apt-get indextargets --format '$(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' \
    | awk '$2 == "bookworm" && $3 == "main" { print $1; exit }')
if [ -z "$mirror" ]; then
    echo "$0: no package source for bookworm, component main; run apt-get update first" >&2
    exit 1
fi

mmdebstrap --quiet --variant=extract --architectures=armhf \
    --include=qtbase5-dev,qtdeclarative5-dev,libc6-dev,libstdc++-12-dev,libcli11-dev \
    bookworm "$folder" "deb $mirror bookworm main"

for tool in moc rcc uic; do
    ln -sf "/usr/lib/qt5/bin/$tool" "$folder/usr/lib/qt5/bin/$tool"
done
# The emulator looks for every path in the folder first: devices are the machine's own.
rm -rf "${folder:?}/dev"
touch "$folder/.complete"
