#!/usr/bin/env bash
# run-monitor.sh BUILD_DIR: the monitor on the real Linux IPMI driver tells each event once and in order, of those that the machine
# logs and of those that happen outside, tells that the BMC is lost and regained, and ends when it is told to.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/machine.sh
. "$here/machine.sh"
# shellcheck source=tests/driver/simulator.sh
. "$here/simulator.sh"

prepare "$1" monitor
serve sample
read -r logged _ < <(ctl sel | tail -1)
emulate_served monitor-test
python3 "$here/compare_monitor.py" "$work/out" "$logged"
