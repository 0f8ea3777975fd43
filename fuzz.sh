#!/usr/bin/env bash
# Builds the fuzz targets and runs them, two on each core, with the committed corpora. Fails on any
# finding; the input that led to it stays in build/fuzz/findings. Needs clang and its runtime.
#
#   ./fuzz.sh [--seconds N] [NAME...]     N seconds each (60); all targets, or the named ones
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

seconds=60
names=()
while [ $# -gt 0 ]; do
    case "$1" in
        --seconds) seconds=${2:?"--seconds needs a number"}; shift 2 ;;
        -*) echo "usage: fuzz.sh [--seconds N] [NAME...]" >&2; exit 2 ;;
        *) names+=("$1"); shift ;;
    esac
done
case "$seconds" in '' | *[!0-9]* | 0) echo "fuzz.sh: --seconds needs a number from 1 on" >&2; exit 2 ;; esac
if [ ${#names[@]} -eq 0 ]; then
    for source in fuzz/*Fuzz.cpp; do
        names+=("$(basename "$source" Fuzz.cpp)")
    done
fi
for name in "${names[@]}"; do
    [ -f "fuzz/${name}Fuzz.cpp" ] || { echo "fuzz.sh: there is no target $name" >&2; exit 2; }
done

build_preset fuzz "${names[@]/%/Fuzz}"

build=$PWD/build/fuzz
mkdir -p "$build/findings" "$build/corpus" "$build/logs"
# Targets that read files write them first, thousands a second.
export TMPDIR
TMPDIR=$(mktemp -d "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")/logdesk-fuzz.XXXXXX")
trap 'rm -rf "$TMPDIR"' EXIT
export ASAN_OPTIONS=quarantine_size_mb=32:detect_leaks=1:${ASAN_OPTIONS:-}
export UBSAN_OPTIONS=print_stacktrace=1:${UBSAN_OPTIONS:-}
export QT_QPA_PLATFORM=offscreen

# What a run finds new goes to the build folder, and helps the next run there.
run_target() {
    local name=$1 log=$build/logs/$1.log
    mkdir -p "$build/corpus/$name"
    local options=(-max_total_time="$seconds" -max_len=8192 -timeout=25 -rss_limit_mb=3072
                   -print_final_stats=1 -artifact_prefix="$build/findings/$name-")
    [ ! -f "fuzz/dictionaries/$name.dict" ] || options+=(-dict="fuzz/dictionaries/$name.dict")
    # Longer by far than it can take: a run that does not end is a finding too.
    if timeout -k 10 $((seconds + 120)) "$build/fuzz/${name}Fuzz" "${options[@]}" \
            "$build/corpus/$name" "fuzz/corpus/$name" > "$log" 2>&1; then
        echo "ok      $name: $(figures "$log")"
    else
        echo "FAILED  $name: $log"
        grep -E 'FINDING|ERROR: |runtime error|Test unit written' "$log" | head -5 || true
        return 1
    fi
}

# Coverage counters, inputs kept, runs and their number a second, as the last lines tell.
figures() {
    local last
    last=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$1" | tail -1)
    echo "$last, $(sed -n 's/^Done \([0-9]*\) runs in \([0-9]*\) second.*/\1 runs in \2 s/p' "$1")"
}

export -f run_target figures
export build seconds
# Two for each core: those that talk over sockets mostly wait.
echo "== Fuzzing ${#names[@]} targets, $seconds seconds each"
printf '%s\n' "${names[@]}" |
    xargs -P "$((2 * $(nproc)))" -I NAME bash -c 'set -euo pipefail; run_target NAME'
