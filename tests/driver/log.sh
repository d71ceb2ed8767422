# SPDX-License-Identifier: Apache-2.0
# Sourced by the tests in the machine.
# shellcheck shell=sh

# log NAME: what two clients say of the event log.
log() {
    ipmitool -I open -d "$node" sel list >"$1.list"
    ipmitool -I open -d "$node" sel info >"$1.info"
    trx-ipmi --node "$node" --json sel >"$1.json"
    trx-ipmi --node "$node" --json sel info >"$1.info.json"
}
