#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# make-initramfs.sh KERNEL_DIR OUT PROGRAM...: an initramfs with busybox, the driver's modules, the tests beside this script and each
# PROGRAM with its shared libraries at the paths they have here.
set -euo pipefail
kernel=$1 out=$2
shift 2
here=$(dirname "$(readlink -f "$0")")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

copy() { # keeps the path, follows links
    mkdir -p "$root$(dirname "$1")"
    cp -L "$1" "$root$1"
}

mkdir -p "$root"/{bin,dev,etc,modules,out,proc,root,sys,tests,tmp}
echo 'root:x:0:0:root:/root:/bin/sh' >"$root/etc/passwd"
cp "$(command -v busybox)" "$root/bin/busybox"
cp "$kernel"/*.ko "$root/modules/"
install -m 755 "$here/init" "$root/init"
install -m 755 "$here"/*-test "$here"/{log,simulator-client,steps}.sh "$here/../fru/others.sh" "$root/tests/"
for program in "$@"; do
    path=$(readlink -f "$(command -v "$program")")
    copy "$path"
    ln -sf "$path" "$root/bin/$(basename "$program")"
    for library in $(ldd "$path" | grep -o '/[^ ]*'); do copy "$library"; done
done
(cd "$root" && find . | cpio --quiet -o -H newc | gzip -1) >"$out"
