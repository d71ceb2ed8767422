#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-qemu.sh BUILD_DIR: trx-ipmi and ipmitool must agree on the sensors and the event log of QEMU's BMC, and each record must be
# handled once.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/results.sh
. "$here/results.sh"

results "$1" qemu
python3 "$here/../captures/compare_sensors.py" sdr.bin ipmitool.txt sensors.json
python3 "$here/compare_log.py" . empty=0 three=3 cleared=0
# Each record once, the one with id 0 too; and those of a log that was cleared, though this BMC never says so.
diff followed.txt - <<END
1 handled, records 0
3 handled, records 0 1 2
5 handled, records 0 1
8 handled, records 0 1 2
END
