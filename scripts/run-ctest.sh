#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run-ctest.sh PRESET JOBS [OPTION...]: runs a preset's tests and keeps what ctest said for the closing summary.
set -euo pipefail
preset=$1 jobs=$2
shift 2
mkdir -p "build/$preset"
ctest --preset "$preset" --parallel "$jobs" "$@" 2>&1 | tee "build/$preset/ctest.log"
