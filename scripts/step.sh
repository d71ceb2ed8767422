#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# step.sh NAME COMMAND...: one step of `make test`. How many seconds it took goes to the closing summary.
set -euo pipefail
name=$1
shift
"$@"
mkdir -p build
echo "$SECONDS $name" >>build/steps
