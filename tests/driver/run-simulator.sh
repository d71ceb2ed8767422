#!/usr/bin/env bash
# run-simulator.sh BUILD_DIR: clients of the real Linux IPMI driver must agree on the sensors of the sample machine and its satellite
# and on its event log, simulated here and reached over the VM protocol; and trx-ipmi must come to an end whatever goes wrong with the
# BMC.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/machine.sh
. "$here/machine.sh"
# shellcheck source=tests/driver/simulator.sh
. "$here/simulator.sh"

# Readings that stay, for several clients to agree on.
hold_still() {
    local sensor raw
    while read -r sensor raw; do ctl set "$sensor" --raw "$raw" >/dev/null; done < <(ctl sensors --json | python3 -c '
import json, sys
for s in json.load(sys.stdin)["sensors"]:
    if s["available"] and s["states"] is None:
        print("{number}@{owner}/{lun} {raw}".format(**s))')
}

prepare "$1" simulator
serve sample
hold_still
read -r logged _ < <(ctl sel | tail -1)
emulate_served simulator-test

# step NAME STATUS SECONDS PATTERN: how a client ended, how long it took at most, and what it said.
failed=0
step() {
    local status seconds
    read -r _ status seconds < <(grep "^$1 " "$work/out/steps")
    echo "$1: status $status after $seconds s"
    if [ "$status" != "$2" ] || [ "${seconds%.*}" -ge "$3" ] || ! grep -q -e "$4" "$work/out/$1.txt"; then
        echo "expected: status $2 in $3 s, and $4; got:"
        head -20 "$work/out/$1.txt"
        failed=1
    fi
}
step elist 0 30 "^Node Temp .* 36 degrees C"
step satellite 0 10 "Device ID  *: 33"
step long 0 10 '"maybe_cut": *true'
step silent 2 60 "does not answer"
step absent 0 140 "pass 4"
grep -e "pass [0-9]" "$work/out/absent.txt" # when each pass was over
# What waits for the absent satellite: reading and thresholds of its two sensors in the load; in the passes after it one reading,
# whether the satellite is there at all, that again, and in the last pass nothing. The driver sends each five times.
sent=$(ctl counters --json | python3 -c '
import json, sys
print(sum(c["count"] for c in json.load(sys.stdin)["commands"] if (c["netfn"], c["cmd"]) == (6, 0x34)))')
[ "$sent" = $(((4 + 2 + 1) * 5)) ] || { echo "$sent Send Messages"; failed=1; }
python3 "$here/../captures/compare_sensors.py" "$work"/out/{sdr.bin,ipmitool.txt,sensors.json,freeipmi.txt} || failed=1
python3 "$here/compare_log.py" "$work/out" "few=$((logged + 2))" "many=$((logged + 1001))" cleared=0 || failed=1
exit $failed
