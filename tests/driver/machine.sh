# SPDX-License-Identifier: Apache-2.0
# Sourced by the run: an emulated machine with the real Linux IPMI driver. Sets build, bin, work and kernel.
# shellcheck shell=bash

# prepare BUILD_DIR: a fresh folder for this run, and the initramfs with the driver, the tests and their programs.
prepare() {
    build=$(readlink -f "$1") work=$(readlink -f "$1")/driver
    kernel=$(dirname "$build")/driver-kernel bin=$build/bin
    "$here/fetch-kernel.sh" "$kernel"
    rm -rf "$work"
    mkdir -p "$work/out"
    "$here/make-initramfs.sh" "$kernel" "$work/initrd.gz" ipmitool ipmi-sensors ipmi-fru "$bin"/{trx-ipmi,follow-sel}
}

# attach NAME PORT IRQ DEVICE: one more BMC, a QEMU device with its options, behind an interface of its own.
bmcs=()
attach() { bmcs+=(-device "$4,id=bmc-$1" -device "isa-ipmi-kcs,bmc=bmc-$1,ioport=$2,irq=$3"); }
# attach_served NAME PORT IRQ: the one that is served by this name.
attach_served() {
    bmcs+=(-chardev "socket,id=served-$1,host=127.0.0.1,port=${port[$1]},reconnect=1")
    attach "$1" "$2" "$3" "ipmi-bmc-extern,chardev=served-$1"
}

# emulate: runs the machine with these BMCs; its console is the pipe $work/console. The devices that are left out would have interrupts
# that the BMCs take.
emulate() {
    timeout 540 qemu-system-x86_64 -machine pc -accel tcg -m 512 -display none -vga none -nic none -parallel none -no-reboot \
        -kernel "$kernel/vmlinuz" -initrd "$work/initrd.gz" -append "console=ttyS0 quiet panic=-1" \
        -serial "pipe:$work/console" -serial "file:$work/out.tar" "${bmcs[@]}"
}
