#!/usr/bin/env bash
# run-fuzz.sh JOBS CORPUS OPTION...: runs every fuzz target of build/fuzz with these libFuzzer options. A target starts from made
# seeds, from fuzz/corpus/<target> (inputs that once failed), and from what it has learnt, which stays in the folder CORPUS.
set -euo pipefail
jobs=$1 corpus=$2
shift 2
cd "$(dirname "$(readlink -f "$0")")/.."
out=build/fuzz
"$out/bin/fuzz-seeds" "$out/seeds"

run() {
    local target=$1 folders
    shift
    mkdir -p "$corpus/$target"
    folders=("$corpus/$target")
    for folder in "$out/seeds/$target" "fuzz/corpus/$target"; do
        [ ! -d "$folder" ] || folders+=("$folder")
    done
    if "$out/bin/fuzz-$target" -close_fd_mask=1 -timeout=20 -artifact_prefix="$out/" "$@" "${folders[@]}" >"$out/$target.log" 2>&1; then
        echo "fuzz $target: $(tail -n 1 "$out/$target.log")"
    else
        tail -n 60 "$out/$target.log"
        echo "fuzz $target: failed, see $out/$target.log"
        return 1
    fi
}
export -f run
export out corpus
for source in fuzz/*.cpp; do
    basename "$source" .cpp
done | xargs -P "$jobs" -I TARGET bash -c 'run "$@"' run TARGET "$@"
