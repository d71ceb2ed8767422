#!/usr/bin/env bash
# step.sh NAME COMMAND...: one step of `make test`. How many seconds it took goes to the closing summary.
set -euo pipefail
name=$1
shift
"$@"
mkdir -p build
echo "$SECONDS $name" >>build/steps
