#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run-fuzz.sh JOBS CORPUS OPTION...: runs every fuzz target of build/asan with these libFuzzer options. A target starts from
# fuzz/corpus/<target> (real inputs, and those that once failed), the readers of machines and repositories from the sample machine
# too, and from what it has learnt, which stays in the folder CORPUS.
set -euo pipefail
jobs=$1 corpus=$2
shift 2
cd "$(dirname "$(readlink -f "$0")")/.."
bin=build/asan/bin out=build/fuzz
mkdir -p "$out/seeds/SensorRecordFuzz" "$out/seeds/JsonFileFuzz"
"$bin/trx-bmcsim" sdr "$out/seeds/SensorRecordFuzz/repository"
cp sim/machines/*.json "$out/seeds/JsonFileFuzz"

run() {
    local target=$1 folders
    shift
    mkdir -p "$corpus/$target"
    folders=("$corpus/$target")
    for folder in "$out/seeds/$target" "fuzz/corpus/$target"; do
        [ ! -d "$folder" ] || folders+=("$folder")
    done
    if "$bin/fuzz-$target" -close_fd_mask=1 -timeout=20 -artifact_prefix="$out/" "$@" "${folders[@]}" >"$out/$target.log" 2>&1; then
        echo "fuzz $target: $(tail -n 1 "$out/$target.log")"
    else
        tail -n 60 "$out/$target.log"
        echo "fuzz $target: failed, see $out/$target.log"
        return 1
    fi
}
export -f run
export bin out corpus
for source in fuzz/*.cpp; do
    basename "$source" .cpp
done | xargs -P "$jobs" -I TARGET bash -c 'run "$@"' run TARGET "$@"
