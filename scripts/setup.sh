#!/bin/sh
# Installs everything the build and the tests need from Debian's packages.
# Safe to run again: packages already present are left alone.
set -eu

PACKAGES="cmake ninja-build g++ make pkg-config googletest libgtest-dev libgmock-dev
libbenchmark-dev gettext mingw-w64 g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix
wine64 wine clang-format fonts-dejavu-core libfreetype-dev"

missing=""
for p in $PACKAGES; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done

if [ -n "$missing" ]; then
    if [ "$(id -u)" != 0 ]; then
        echo "setup: missing packages:$missing (run as root to install them)" >&2
        exit 1
    fi
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    # shellcheck disable=SC2086
    apt-get install -y -qq --no-install-recommends $missing
fi
