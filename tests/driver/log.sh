# Sourced by the tests in the machine.
# shellcheck shell=sh

# log NAME: what two clients say of the event log.
log() {
    ipmitool -I open sel list >"$1.list"
    ipmitool -I open sel info >"$1.info"
    trx-ipmi --json sel >"$1.json"
    trx-ipmi --json sel info >"$1.info.json"
}
