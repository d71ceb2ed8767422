#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-absent.sh BUILD_DIR: trx-ipmi must come to an end though records name a satellite that is not there, and ask it ever less.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/results.sh
. "$here/results.sh"

results "$1" absent
step absent 0 180 "pass 4"
grep -e "pass [0-9]" absent.txt # when each pass was over
# What waits for the absent satellite: reading and thresholds of its two sensors in the load; in the passes after it one reading,
# whether the satellite is there at all, that again, and in the last pass nothing. The driver sends each five times.
sent=$(python3 -c '
import json, sys
print(sum(c["count"] for c in json.load(sys.stdin)["commands"] if (c["netfn"], c["cmd"]) == (6, 0x34)))' <counters.json)
[ "$sent" = $(((4 + 2 + 1) * 5)) ] || { echo "$sent Send Messages"; failed=1; }
exit $failed
