#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check.sh NAME BUILD_DIR: judges what the test of this name in the emulated machine left, by the function of its name.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")") work=$2/driver failed=0

# step NAME STATUS SECONDS PATTERN: how a client ended, how long it took at most, and what it said.
step() {
    local status seconds
    read -r _ status seconds < <(grep "^$1 " steps)
    echo "$1: status $status after $seconds s"
    if [ "$status" != "$2" ] || [ "${seconds%.*}" -ge "$3" ] || ! grep -q -e "$4" "$1.txt"; then
        echo "expected: status $2 in $3 s, and $4; got:"
        head -20 "$1.txt"
        failed=1
    fi
}

# trx-ipmi and ipmitool must agree on the sensors and the event log of QEMU's BMC, and each record must be handled once: the one with
# id 0 too, and those of a log that was cleared, though this BMC never says so. Its inventory must be the image that it was given, with
# zeros up to its room.
qemu() {
    python3 "$here/../captures/compare_sensors.py" sdr.bin ipmitool.txt sensors.json
    python3 "$here/compare_log.py" empty=0 three=3 cleared=0
    truncate --size=1024 "$work/fru.bin"
    cmp "$work/fru.bin" fru.bin
    diff followed.txt - <<END
1 handled, records 0
3 handled, records 0 1 2
5 handled, records 0 1
8 handled, records 0 1 2
END
}

# Clients must agree on the sensors and FRU devices of the sample machine and its satellite, on its network and its event log, and
# trx-ipmi must come to an end with a BMC that says too much, or nothing.
simulator() {
    local logged
    logged=$(cat "$work/simulator.logged")
    step elist 0 60 "^Node Temp .* 36 degrees C"
    step satellite 0 20 "Device ID  *: 33"
    step long 0 20 '"maybe_cut": *true'
    step silent 2 90 "does not answer"
    python3 "$here/../captures/compare_sensors.py" sdr.bin ipmitool.txt sensors.json freeipmi.txt || failed=1
    python3 "$here/../fru/compare_fru.py" fru.json fru.ipmitool fru.freeipmi || failed=1
    python3 "$here/../lan/compare_lan.py" lan.json lan.ipmitool lan6.ipmitool || failed=1
    python3 "$here/compare_log.py" "few=$((logged + 2))" "many=$((logged + 1001))" cleared=0 || failed=1
}

# The monitor must have told each event once and in order, of those that the machine logs and of those that happen outside, that the BMC
# is lost and regained, and must have ended when it was told to.
monitor() { python3 "$here/compare_monitor.py" "$(cat "$work/monitor.logged")"; }

# trx-ipmi must come to an end though records name a satellite that is not there, and ask it ever less: reading and thresholds of its
# two sensors in the load; in the passes after it one reading, whether the satellite is there at all, that again, and in the last pass
# nothing. The driver sends each five times.
absent() {
    local sent
    step absent 0 180 "pass 4"
    grep -e "pass [0-9]" absent.txt # when each pass was over
    sent=$(python3 -c '
import json, sys
print(sum(c["count"] for c in json.load(sys.stdin)["commands"] if (c["netfn"], c["cmd"]) == (6, 0x34)))' <counters.json)
    [ "$sent" = $(((4 + 2 + 1) * 5)) ] || { echo "$sent Send Messages"; failed=1; }
}

cd "$work/out/$1"
[ "$(cat status)" = 0 ] || { echo "the test in the emulated machine failed:"; cat log; exit 1; }
"$1"
exit $failed
