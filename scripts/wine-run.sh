#!/bin/sh
# Runs a Windows program under 64-bit Wine, quietly and without prompts.
# Used by CTest as the cross-compiling emulator of the Windows build.
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
: "${WINEPREFIX:=${HOME:-/root}/.wine-basekel}"
export WINEPREFIX
exec wine "$@"
