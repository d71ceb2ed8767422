#!/usr/bin/env bash
# check-install.sh BUILD_DIR SOURCE_DIR: what `cmake --install` puts anywhere is complete: the examples and the README's program build
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
sed -n '/^```cpp/,/^```/ {/^```/!p}' "$source/README.md" >"$prefix/readme.cpp"
for example in "$source"/examples/*.cpp "$prefix/readme.cpp"; do
    program=$prefix/$(basename "$example" .cpp)
    # shellcheck disable=SC2046  # the flags are words
    g++ "${flags[@]}" "$example" $(pkg-config --cflags --libs trx-ipmi) -o "$program"
    lines=$("$prefix/bin/trx-bmcsim" exec --machine sample -- "$program" | wc -l)
    echo "$(basename "$example"): $lines lines"
    [ "$lines" -ge 20 ]
done
"$prefix/bin/trx-ipmi" --sim --json sensors | python3 -c 'import json, sys; assert len(json.load(sys.stdin)["sensors"]) >= 20'
