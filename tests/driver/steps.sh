# SPDX-License-Identifier: Apache-2.0
# Sourced by the tests in the machine.
# shellcheck shell=sh

# step NAME PROGRAM...: keeps what it says, its status and its time.
step() {
    name=$1 began=$(cut -d' ' -f1 /proc/uptime)
    shift
    timeout 250 "$@" >"$name.txt" 2>&1
    echo "$name $? $(awk -v began="$began" '{print $1 - began}' /proc/uptime)" >>steps
}
