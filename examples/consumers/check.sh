#!/bin/sh
# Builds and runs the consumer example both ways a user adds basekel:
# installed and found with find_package, and built with add_subdirectory.
# Usage: check.sh SOURCE_DIR WORK_DIR
set -eu
src=$1
work=$2
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"

cmake -S "$src" -B "$work/lib" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBASEKEL_BUILD_TESTS=OFF \
      -DBASEKEL_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX="$work/prefix" >/dev/null
cmake --build "$work/lib" >/dev/null
cmake --install "$work/lib" >/dev/null
cmake -S "$here/find_package" -B "$work/installed" -G Ninja \
      -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/installed" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib" "$work/installed/consumer"

cmake -S "$here/subdirectory" -B "$work/subdir" -G Ninja -DBASEKEL_SOURCE_DIR="$src" >/dev/null
cmake --build "$work/subdir" >/dev/null
"$work/subdir/consumer"
echo "consumers: find_package and add_subdirectory both work"
