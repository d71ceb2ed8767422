#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Prints a machine's sensors with the release build.
set -euo pipefail
tool=build/release/bin/trx-ipmi
if [ -e /dev/ipmi0 ] && [ "$(id -u)" -eq 0 ]; then
    echo "The sensors of this machine, from /dev/ipmi0:"
    exec "$tool" sensors
fi
if [ -e /dev/ipmi0 ]; then
    echo "This machine has a BMC; as root this shows its sensors. Here are the sample machine's, from the simulator:"
else
    echo "No /dev/ipmi0 here: the sensors of the sample machine, from the simulator:"
fi
exec "$tool" --sim sensors
