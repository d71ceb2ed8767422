#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-install.sh BUILD_DIR SOURCE_DIR: what `cmake --install` puts anywhere is complete: the examples and the README's programs build
# against it as a user would build them, and run on its own simulator.
set -euo pipefail
build=$1 source=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name trx-ipmi.pc)")
LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name libtrx-ipmi.so.1)")
export PKG_CONFIG_PATH LD_LIBRARY_PATH
flags=(-std=c++17 -Wall -Wextra -Werror)

# Of the README's C++ those blocks that are whole programs: readme-1.cpp, readme-2.cpp ...
awk -v prefix="$prefix/readme-" '
    /^```cpp$/ { inside = 1; text = ""; next }
    /^```$/    { if (inside && text ~ /int main\(/) { count += 1; printf "%s", text > (prefix count ".cpp") }; inside = 0 }
    inside     { text = text $0 "\n" }' "$source/README.md"
[ -e "$prefix/readme-1.cpp" ] || { echo "the README has no whole program"; exit 1; }

# What each program is run with, and how many lines it must write. events would wait for ever: it is told for how many seconds.
arguments_of() { case $1 in events) echo 2 ;; esac; }
lines_of() { case $1 in events) echo 1 ;; *) echo 20 ;; esac; }
for example in "$source"/examples/*.cpp "$prefix"/readme-*.cpp; do
    name=$(basename "$example" .cpp)
    program=$prefix/$name
    # shellcheck disable=SC2046  # the flags and arguments are words
    g++ "${flags[@]}" "$example" $(pkg-config --cflags --libs trx-ipmi) -o "$program"
    # shellcheck disable=SC2046
    lines=$("$prefix/bin/trx-bmcsim" exec --machine sample -- "$program" $(arguments_of "$name") | wc -l)
    echo "$name: $lines lines"
    [ "$lines" -ge "$(lines_of "$name")" ]
done
"$prefix/bin/trx-ipmi" --sim --json sensors | python3 -c 'import json, sys; assert len(json.load(sys.stdin)["sensors"]) >= 20'
