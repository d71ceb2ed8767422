# SPDX-License-Identifier: Apache-2.0
# Sourced by the checks of what the tests in the emulated machine left.
# shellcheck shell=bash
failed=0

# results BUILD_DIR NAME: goes to what the test left. Fails when the test did.
results() {
    work=$1/driver
    cd "$work/out/$2"
    [ "$(cat status)" = 0 ] || { echo "the test in the emulated machine failed:"; cat log; exit 1; }
}

# step NAME STATUS SECONDS PATTERN: how a client ended, how long it took at most, and what it said.
step() {
    local status seconds
    read -r _ status seconds < <(grep "^$1 " steps)
    echo "$1: status $status after $seconds s"
    if [ "$status" != "$2" ] || [ "${seconds%.*}" -ge "$3" ] || ! grep -q -e "$4" "$1.txt"; then
        echo "expected: status $2 in $3 s, and $4; got:"
        head -20 "$1.txt"
        failed=1
    fi
}
