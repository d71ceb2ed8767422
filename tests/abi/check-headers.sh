#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check-headers.sh INCLUDE_DIR: every public header compiles alone (and twice) in C++17 with both compilers, warnings being errors.
set -euo pipefail
include=$1
flags=(-std=c++17 -fsyntax-only -x c++ -Wall -Wextra -Wconversion -pedantic -Werror -I "$include")
failures=
for header in "$include"/ipmi/*.h; do
    name=ipmi/$(basename "$header")
    for compiler in g++ clang++-14; do
        printf '#include "%s"\n#include "%s"\n' "$name" "$name" | "$compiler" "${flags[@]}" - ||
            failures+="$name does not compile alone with $compiler"$'\n'
    done
done
printf %s "$failures"
[ -z "$failures" ]
