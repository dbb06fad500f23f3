#!/bin/bash
# Sets up and runs the whole test suite:
#   1. Linux with AddressSanitizer and UndefinedBehaviorSanitizer,
#   2. Linux with ThreadSanitizer,
#   3. Windows x86_64 (mingw-w64) under 64-bit Wine,
#   4. a compile of the library for 32-bit Windows (i686),
#   5. the examples built against an installed copy (find_package) and as a subdirectory.
# Ends with one line "N passed, N failed" over all test programs; exits non-zero
# when anything failed.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh" || exit 1

jobs=$(nproc)
passed=0
failed=0
status=0

step() { printf '\n=== %s ===\n' "$*"; }

# Runs ctest in a build directory and adds its counts to the totals.
run_ctest() {
    local dir=$1
    local log
    log=$(mktemp)
    (cd "$dir" && ctest --output-on-failure -j "$jobs" 2>&1) | tee "$log"
    local rc=${PIPESTATUS[0]}
    local line
    line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -1)
    if [ -n "$line" ]; then
        local total bad
        total=$(echo "$line" | sed -E 's/.* out of ([0-9]+).*/\1/')
        bad=$(echo "$line" | sed -E 's/.*, ([0-9]+) tests failed.*/\1/')
        passed=$((passed + total - bad))
        failed=$((failed + bad))
    else
        failed=$((failed + 1))
    fi
    [ "$rc" -eq 0 ] || status=1
    rm -f "$log"
}

build() {
    local dir=$1
    shift
    cmake -S "$top" -B "$dir" -G Ninja "$@" >"$dir.configure.log" 2>&1 || {
        cat "$dir.configure.log"
        return 1
    }
    cmake --build "$dir" -j "$jobs"
}

mkdir -p "$top/build"

step "Linux, AddressSanitizer + UndefinedBehaviorSanitizer"
if build "$top/build/asan" -DCMAKE_BUILD_TYPE=Debug -DBASEKEL_SANITIZE=address,undefined \
        -DBASEKEL_BUILD_BENCH=ON; then
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 run_ctest "$top/build/asan"
else
    status=1; failed=$((failed + 1))
fi

step "Linux, ThreadSanitizer"
if build "$top/build/tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBASEKEL_SANITIZE=thread \
        -DBASEKEL_BUILD_EXAMPLES=OFF; then
    TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" run_ctest "$top/build/tsan"
else
    status=1; failed=$((failed + 1))
fi

step "Windows x86_64 under Wine"
if build "$top/build/win64" -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake"; then
    # Make the Wine prefix once, before test programs start side by side.
    "$top/scripts/wine-run.sh" wineboot --init >/dev/null 2>&1 || true
    run_ctest "$top/build/win64"
else
    status=1; failed=$((failed + 1))
fi

step "Windows i686, library compile"
if build "$top/build/win32" -DCMAKE_BUILD_TYPE=Debug -DBASEKEL_LIBRARY_ONLY=ON \
        -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-i686.cmake"; then
    passed=$((passed + 1))
else
    status=1; failed=$((failed + 1))
fi

step "Examples: find_package and add_subdirectory"
if "$top/examples/consumers/check.sh" "$top" "$top/build/consumers"; then
    passed=$((passed + 1))
else
    status=1; failed=$((failed + 1))
fi

echo
echo "$passed passed, $failed failed"
exit $status
