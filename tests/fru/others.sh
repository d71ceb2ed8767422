# SPDX-License-Identifier: Apache-2.0
# Sourced where clients ask the BMC behind /dev/ipmi$node: in the emulated machine, and on a simulator here.
# shellcheck shell=sh

# ask_fru, ask_lan: what three clients say of the FRU devices, and two of the LAN channel.
ask_fru() {
    trx-ipmi --node "$node" --json fru >fru.json
    ipmitool -I open -d "$node" -v fru print >fru.ipmitool 2>fru.read
    mkdir -p cache
    ipmi-fru --driver-type=openipmi --driver-device="/dev/ipmi$node" --sdr-cache-directory=cache --quiet-cache --bridge-fru --verbose \
        >fru.freeipmi
}
ask_lan() {
    trx-ipmi --node "$node" --json lan >lan.json
    ipmitool -I open -d "$node" lan print 1 >lan.ipmitool
    ipmitool -I open -d "$node" lan6 print 1 >lan6.ipmitool
}
