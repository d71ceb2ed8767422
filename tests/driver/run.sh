#!/usr/bin/env bash
# run.sh BUILD_DIR: trx-ipmi and ipmitool must agree on the sensors of a machine with the real Linux IPMI driver and a BMC that is not
# this project's: QEMU's, loaded with the sample machine's records.
set -euo pipefail
build=$(readlink -f "$1")
here=$(dirname "$(readlink -f "$0")")
work=$build/driver
kernel=$(dirname "$build")/driver-kernel
bin=$build/bin

"$here/fetch-kernel.sh" "$kernel"
rm -rf "$work"
mkdir -p "$work/out"
"$bin/trx-bmcsim" sdr --machine sample "$work/sample.bin"
python3 "$here/qemu_records.py" "$work/sample.bin" "$work/sdr.bin"
"$here/make-initramfs.sh" "$kernel" "$work/initrd.gz" "$here/sensors-test" ipmitool "$bin/trx-ipmi"

machine=(-machine pc -accel tcg -m 512 -display none -no-reboot
    -kernel "$kernel/vmlinuz" -initrd "$work/initrd.gz" -append 'console=ttyS0 quiet panic=-1'
    -serial "file:$work/console.txt" -serial "file:$work/out.tar"
    -device "ipmi-bmc-sim,id=bmc0,sdrfile=$work/sdr.bin" -device isa-ipmi-kcs,bmc=bmc0,irq=5)
timeout 180 qemu-system-x86_64 "${machine[@]}" </dev/null || { echo "the emulated machine failed:"; cat "$work/console.txt"; exit 1; }

tar x -C "$work/out" -f "$work/out.tar"
if [ "$(cat "$work/out/status")" != 0 ]; then
    echo "the test in the emulated machine failed:"
    cat "$work/out/log" "$work/console.txt"
    exit 1
fi
python3 "$here/../captures/compare_sensors.py" "$work/out/sdr.bin" "$work/out/ipmitool.txt" "$work/out/sensors.json"
