#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run.sh BUILD_DIR: runs the tests in one emulated machine with the real Linux IPMI driver and a BMC for each of them: QEMU's, which is
# not this project's, loaded with the sample machine's records; and three that are simulated here and reached over the VM protocol.
# What the tests leave in BUILD_DIR/driver/out check.sh beside this judges.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
# shellcheck source=tests/driver/machine.sh
. "$here/machine.sh"
# shellcheck source=tests/driver/simulator.sh
. "$here/simulator.sh"

# Readings that stay, for several clients to agree on.
hold_still() {
    local sensor raw
    while read -r sensor raw; do ctl "$1" set "$sensor" --raw "$raw" >/dev/null; done < <(ctl "$1" sensors --json | python3 -c '
import json, sys
for s in json.load(sys.stdin)["sensors"]:
    if s["available"] and s["states"] is None:
        print("{number}@{owner}/{lun} {raw}".format(**s))')
}
finish() {
    [ -z "${machine:-}" ] || kill "$machine" 2>/dev/null || true
    for name in "${!server[@]}"; do stop "$name"; done
}
trap finish EXIT

prepare "$1"
"$bin/trx-bmcsim" sdr --machine sample "$work/sample.bin"
python3 "$here/qemu_records.py" "$work/sample.bin" "$work/sdr.bin"
"$bin/trx-ipmi" --sim fru Mainboard --dump "$work/fru.bin"
serve simulator sample
hold_still simulator
serve monitor sample
serve absent absent
for name in simulator monitor; do ctl $name sel | tail -1 | cut -d' ' -f1 >"$work/$name.logged"; done

# As init has them.
attach qemu 0xca2 5 "ipmi-bmc-sim,sdrfile=$work/sdr.bin,frudatafile=$work/fru.bin"
attach_served simulator 0xcaa 7
attach_served monitor 0xcb2 10
attach_served absent 0xcba 11
mkfifo "$work"/console.{in,out}
exec {answers}<>"$work/console.in"
emulate &
machine=$!
attend <"$work/console.out"
wait $machine && tar x -C "$work/out" -f "$work/out.tar" || { echo "the emulated machine failed:"; cat "$work/console.txt"; exit 1; }
machine=
ctl absent counters --json >"$work/out/absent/counters.json"
