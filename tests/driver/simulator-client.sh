# SPDX-License-Identifier: Apache-2.0
# Sourced by the tests in the machine whose BMC is a served simulator.
# shellcheck shell=sh

# Has the host change this test's simulator, and waits until it has.
simulator() {
    read -r _ <&3
    echo "simulator: $test $*" >/dev/console
    read -r _ </dev/console
    echo >&3
}

# Has the host log events. The driver keeps them for the next client that wants to hear of events: that is ipmitool, which takes
# them for its answers. This one may.
events() {
    simulator event "$@"
    ipmitool -I open -d "$node" raw 6 1 >/dev/null 2>&1
}
