#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# test-summary.sh PRESET...: what ctest said at the end of each preset's run, and where the time went.
set -euo pipefail
echo
echo "All checks passed: format, clang -Wthread-safety, clang-tidy, fuzz targets, and"
for preset in "$@"; do
    log=build/$preset/ctest.log
    printf '%-8s ' "$preset"
    grep -E '^[0-9]+% tests passed' "$log"
    sed -n '/did not run:/,$ {/Skipped/p}' "$log"
    sed -nE 's/.*Test +#[0-9]+: ([^ ]+) .* ([0-9.]+) sec$/\2 \1/p' "$log" |
        awk '$1 > most { most = $1; name = $2 } END { printf "         the longest one took %s s: %s\n", most, name }'
done
[ -n "${TRX_CAPTURES:-}" ] || echo "Captures of real servers: skipped, TRX_CAPTURES names no folder."
echo "Seconds:"
awk '{sum += $1; printf "%6d %s\n", $1, substr($0, length($1) + 2)} END {printf "%6d in all\n", sum}' build/steps
