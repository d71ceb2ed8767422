#!/usr/bin/env bash
# run.sh BUILD_DIR: trx-ipmi and ipmitool must agree on the sensors and the event log of a machine with the real Linux IPMI driver and
# a BMC that is not this project's: QEMU's, loaded with the sample machine's records.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/machine.sh
. "$here/machine.sh"

prepare "$1" qemu
"$bin/trx-bmcsim" sdr --machine sample "$work/sample.bin"
python3 "$here/qemu_records.py" "$work/sample.bin" "$work/sdr.bin"
emulate qemu-test "file:$work/console.txt" -device "ipmi-bmc-sim,id=bmc0,sdrfile=$work/sdr.bin" </dev/null ||
    { echo "the emulated machine failed:"; cat "$work/console.txt"; exit 1; }
results
python3 "$here/../captures/compare_sensors.py" "$work/out/sdr.bin" "$work/out/ipmitool.txt" "$work/out/sensors.json"
python3 "$here/compare_log.py" "$work/out" empty=0 three=3 cleared=0
# Each record once, the one with id 0 too; and those of a log that was cleared, though this BMC never says so.
diff "$work/out/followed.txt" - <<END
1 handled, records 0
3 handled, records 0 1 2
5 handled, records 0 1
8 handled, records 0 1 2
END
