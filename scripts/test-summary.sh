#!/usr/bin/env bash
# test-summary.sh PRESET...: what ctest said at the end of each preset's run.
set -euo pipefail
echo
echo "All checks passed: format, clang -Wthread-safety build, clang-tidy, fuzz targets, and"
for preset in "$@"; do
    printf '%-8s ' "$preset"
    grep -E '^[0-9]+% tests passed' "build/$preset/ctest.log"
    sed -n '/did not run:/,$ {/Skipped/p}' "build/$preset/ctest.log"
done
[ -n "${TRX_CAPTURES:-}" ] || echo "Captures of real servers: skipped, TRX_CAPTURES names no folder."
