#!/usr/bin/env bash
# check-headers.sh INCLUDE_DIR: every public header compiles alone (and twice) in C++17 with both compilers, warnings being errors.
set -euo pipefail
include=$1
flags=(-std=c++17 -fsyntax-only -x c++ -Wall -Wextra -Wconversion -pedantic -Werror -I "$include")
failures=0
for header in "$include"/ipmi/*.h; do
    name=ipmi/$(basename "$header")
    for compiler in g++ clang++-14; do
        if ! printf '#include "%s"\n#include "%s"\n' "$name" "$name" | "$compiler" "${flags[@]}" -; then
            echo "$name does not compile alone with $compiler"
            failures=$((failures + 1))
        fi
    done
done
exit $((failures > 0))
