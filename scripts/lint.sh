#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# lint.sh BUILD_DIR JOBS: clang-tidy and clang's thread-safety analysis over the library's own sources. The checks that look at every
# declaration, headers' too, take a whole room at once; the analyser follows the functions of one file, and takes each by itself.
set -euo pipefail
build=$1 jobs=$2 rooms=$1/rooms

rm -rf "$rooms"
mkdir -p "$rooms"
for room in src/*/; do
    sources=("$room"*.cpp)
    [ ! -e "${sources[0]}" ] || printf '#include "%s"\n' "${sources[@]/#/$PWD/}" >"$rooms/$(basename "$room").cpp"
done
printf '%s\0' "$rooms"/*.cpp | xargs -0 -P "$jobs" -I FILE clang-tidy-14 --quiet --checks='-clang-analyzer-*,-bugprone-suspicious-include' \
    FILE -- -std=c++20 -Iinclude -Isrc -Wall -Wextra -Wconversion -Wthread-safety
printf '%s\0' src/*/*.cpp | xargs -0 -P "$jobs" -n 1 clang-tidy-14 --quiet -p "$build" \
    --checks='-bugprone-*,-cert-*,-misc-*,-modernize-*,-performance-*,-readability-*'
