#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-monitor.sh BUILD_DIR: the monitor must have told each event once and in order, of those that the machine logs and of those that
# happen outside, that the BMC is lost and regained, and must have ended when it was told to.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/results.sh
. "$here/results.sh"

results "$1" monitor
python3 "$here/compare_monitor.py" . "$(cat "$work/monitor.logged")"
