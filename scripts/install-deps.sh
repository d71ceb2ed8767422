#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian 12 packages that are missing: `install-deps.sh` for everything that `make test` needs,
# `install-deps.sh build` for what is enough to build and to run the demo.
set -euo pipefail

build_packages=(
    make cmake ninja-build g++ binutils pkg-config python3
    nlohmann-json3-dev libcli11-dev libfmt-dev libgtest-dev libgmock-dev libbenchmark-dev libsystemd-dev
)
test_packages=(
    clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev
    mandoc                                                     # checks the manual pages
    ipmitool freeipmi-tools                                    # independent IPMI clients
    qemu-system-x86 busybox-static cpio gzip                   # the machine that runs the real driver
)

case "${1:-all}" in
build) wanted=("${build_packages[@]}") ;;
all) wanted=("${build_packages[@]}" "${test_packages[@]}") ;;
*) echo "usage: $0 [build|all]" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ]; then
    echo "Packages are missing; please run as root: apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
fi
echo "Installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get -qq -o Acquire::Retries=3 update || echo "Some package lists could not be fetched; going on with those there are." >&2
apt-get -qq -y -o Acquire::Retries=3 -o Dpkg::Use-Pty=0 install --no-install-recommends "${missing[@]}" >/dev/null
