#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-simulator.sh BUILD_DIR: clients must agree on the sensors of the sample machine and its satellite and on its event log, and
# trx-ipmi must come to an end with a BMC that says too much, or nothing.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/results.sh
. "$here/results.sh"

results "$1" simulator
step elist 0 60 "^Node Temp .* 36 degrees C"
step satellite 0 20 "Device ID  *: 33"
step long 0 20 '"maybe_cut": *true'
step silent 2 90 "does not answer"
python3 "$here/../captures/compare_sensors.py" sdr.bin ipmitool.txt sensors.json freeipmi.txt || failed=1
logged=$(cat "$work/simulator.logged")
python3 "$here/compare_log.py" . "few=$((logged + 2))" "many=$((logged + 1001))" cleared=0 || failed=1
exit $failed
