#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run.sh BIN_DIR MACHINE: trx-ipmi and ipmitool must agree on a real server's sensors and entities, both asking the same simulated BMC that has the
# server's records and raw readings.
set -euo pipefail
bin=$1 machine=$2
here=$(dirname "$(readlink -f "$0")")
folder=${TRX_CAPTURES:-}/$machine
if [ -z "${TRX_CAPTURES:-}" ] || [ ! -d "$folder" ]; then
    echo "skipped: TRX_CAPTURES names no folder with a capture of $machine"
    exit 77
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
bmc=("$bin/trx-bmcsim" exec --sdr "$folder/sdr.bin" --ipmb-timeout 1)
[ ! -e "$folder/readings.txt" ] || bmc+=(--readings "$folder/readings.txt")

"${bmc[@]}" -- ipmitool -I open sdr dump "$work/sdr.bin" >/dev/null
"${bmc[@]}" -- ipmitool -I open sensor list >"$work/ipmitool.txt"
"${bmc[@]}" -- ipmitool -I open -v sdr list all >"$work/verbose.txt" 2>/dev/null
"${bmc[@]}" -- "$bin/trx-ipmi" --json sensors >"$work/sensors.json"
"${bmc[@]}" -- "$bin/trx-ipmi" --json entities >"$work/entities.json"
python3 "$here/compare_entities.py" "$work/verbose.txt" "$work/entities.json"
python3 "$here/compare_sensors.py" "$work/sdr.bin" "$work/ipmitool.txt" "$work/sensors.json"
