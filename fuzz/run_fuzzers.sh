#!/usr/bin/env bash
# run_fuzzers.sh BIN_DIR SECONDS: runs every fuzzer in BIN_DIR for so many seconds, one after the other. What one finds
# is written beside it; the exit code is 1 then.
set -u

if [ $# -ne 2 ]; then
    echo "usage: $0 BIN_DIR SECONDS" >&2
    exit 2
fi
bin_dir=$1
seconds=$2
corpus_dir=$(cd "$(dirname "$0")" && pwd)/corpus
found=0
ran=0

for fuzzer in "$bin_dir"/fuzz_*; do
    [ -x "$fuzzer" ] && [ -f "$fuzzer" ] || continue
    ran=$((ran + 1))
    name=$(basename "$fuzzer")
    echo "== $name, $seconds s"
    # The inputs of the repository are read only; new ones go to a folder that is thrown away.
    work=$(mktemp -d)
    seeds=()
    [ -d "$corpus_dir/$name" ] && seeds=("$corpus_dir/$name")
    dictionary=()
    [ -f "$corpus_dir/$name.dict" ] && dictionary=("-dict=$corpus_dir/$name.dict")
    "$fuzzer" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 -verbosity=0 \
        -artifact_prefix="$bin_dir/$name-" "${dictionary[@]}" "$work" "${seeds[@]}" || found=1
    rm -rf "$work"
done

if [ "$ran" -eq 0 ]; then
    echo "no fuzzers in $bin_dir" >&2
    exit 2
fi
exit "$found"
