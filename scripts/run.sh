#!/bin/sh
# The main job: set up, build the library and the examples, run the demo.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"
cmake -S "$top" -B "$top/build/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DBASEKEL_BUILD_TESTS=OFF -DBASEKEL_BUILD_EXAMPLES=ON >/dev/null
cmake --build "$top/build/release"
"$top/build/release/bin/basekel_demo"
