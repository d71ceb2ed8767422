# Sourced by the tests in a machine whose BMC is a served simulator.
# shellcheck shell=sh

# Has the host change the simulator, and waits until it has.
simulator() {
    echo "simulator: $*" >/dev/console
    read -r _ </dev/console
}

# Has the host log events. The driver keeps them for the next client that wants to hear of events: that is ipmitool, which takes
# them for its answers. This one may.
events() {
    simulator event "$@"
    ipmitool -I open raw 6 1 >/dev/null 2>&1
}
