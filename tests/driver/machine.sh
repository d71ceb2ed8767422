# Sourced by the runs: an emulated machine with the real Linux IPMI driver. Sets build, bin, work and kernel.
# shellcheck shell=bash

# prepare BUILD_DIR NAME: a fresh folder for this run, and the initramfs with the driver, the tests and their programs.
prepare() {
    build=$(readlink -f "$1") work=$(readlink -f "$1")/driver-$2
    kernel=$(dirname "$build")/driver-kernel bin=$build/bin
    "$here/fetch-kernel.sh" "$kernel"
    rm -rf "$work"
    mkdir -p "$work/out"
    "$here/make-initramfs.sh" "$kernel" "$work/initrd.gz" ipmitool ipmi-sensors "$bin"/{trx-ipmi,follow-sel}
}

# emulate TEST CONSOLE OPTION...: runs tests/driver/TEST in a machine whose BMC, bmc0, these QEMU options define; its console is QEMU's serial device
# CONSOLE.
emulate() {
    local test=$1 console=$2
    shift 2
    timeout 240 qemu-system-x86_64 -machine pc -accel tcg -m 512 -display none -no-reboot \
        -kernel "$kernel/vmlinuz" -initrd "$work/initrd.gz" -append "console=ttyS0 quiet panic=-1 trx_test=$test" \
        -serial "$console" -serial "file:$work/out.tar" "$@" -device isa-ipmi-kcs,bmc=bmc0,irq=5
}

# results: what the test left, in $work/out. Fails when the test did.
results() {
    if tar x -C "$work/out" -f "$work/out.tar" && [ "$(cat "$work/out/status")" = 0 ]; then return; fi
    echo "the test in the emulated machine failed:"
    cat "$work/out/log" "$work/console.txt"
    return 1
}
