#!/usr/bin/env bash
# Installs what is missing, builds the release preset, runs the benchmarks and prints one table:
# work, figure, limit or peer of the same run, ratio, goal, reached or not.
#
#   ./bench.sh                every benchmark, about 12 minutes
#   ./bench.sh --short        every benchmark, small: shows that they work, the figures mean nothing
#   ./bench.sh NAME...        some of them, e.g. sort or sort_benchmark
#   ./bench.sh --list         their names
#
# The raw output stays in build/bench. Other programs that some figures stand beside (lnav, glogg)
# are measured where they are installed: scripts/install-packages.sh peers.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

every=(receiver decode store sort search json memory refresh resize_rows many_rows text_log start
       end_to_end tail rules config logger)
short=no
names=()
for word in "$@"; do
    case "$word" in
        --short) short=yes ;;
        --list) printf '%s\n' "${every[@]}"; exit 0 ;;
        -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;;
        -*) echo "bench.sh: unknown option '$word'" >&2; exit 2 ;;
        *)
            name=${word%_benchmark}
            [[ " ${every[*]} " = *" $name "* ]] || { echo "bench.sh: no benchmark '$word'" >&2; exit 2; }
            names+=("$name")
            ;;
    esac
done
[ ${#names[@]} -gt 0 ] || names=("${every[@]}")

scripts/install-packages.sh build bench

echo "== Build"
build_preset release
bin=$PWD/build/release/bin
out=$PWD/build/bench
mkdir -p "$out"
goals=$out/goals.tsv
: > "$goals"
export LOGDESK_BENCHMARK_GOALS=$goals
unset LOGDESK_BENCHMARK_SHORT LOGDESK_BENCHMARK_PEERS LOGDESK_BENCHMARK_TEXT_LOG
[ "$short" = no ] || export LOGDESK_BENCHMARK_SHORT=1

# Per cent of all processors that others take, over half a second.
busy_percent() {
    local user1 nice1 system1 idle1 wait1 user2 nice2 system2 idle2 wait2 rest
    read -r _ user1 nice1 system1 idle1 wait1 rest < /proc/stat
    sleep 0.5
    read -r _ user2 nice2 system2 idle2 wait2 rest < /proc/stat
    local used=$((user2 + nice2 + system2 - user1 - nice1 - system1))
    local all=$((used + idle2 + wait2 - idle1 - wait1))
    echo $((all > 0 ? used * 100 / all : 0))
}
# What the machine does besides; prints a sentence.
load_text() {
    local busy
    busy=$(busy_percent)
    if [ "$busy" -ge 10 ]; then
        echo "the machine is busy: other programs take $busy % of its processors; figures may be far off"
    else
        echo "the machine is quiet: other programs take $busy % of its processors"
    fi
}

{
    date -u +'%Y-%m-%d %H:%M UTC'
    uname -sr
    grep -m 1 'model name' /proc/cpuinfo || true
    echo "$(nproc) processors"
    git log -1 --format='commit %h' 2>/dev/null || true
} > "$out/machine.txt"
cat "$out/machine.txt"

if [ "$short" = no ] && [[ " ${names[*]} " = *" text_log "* ]]; then
    echo "== Other programs with the text log ($(load_text))"
    "$bin/text_log_benchmark" --write-lines "$out/lines.log"
    benchmarks/peers.sh "$out/lines.log" nowhere-to-be-found "$out/peers.tsv"
    cat "$out/peers.tsv"
    export LOGDESK_BENCHMARK_PEERS=$out/peers.tsv LOGDESK_BENCHMARK_TEXT_LOG=$out/lines.log
fi

failed=()
for name in "${names[@]}"; do
    program=$bin/${name}_benchmark
    if [ ! -x "$program" ]; then
        echo "== $name: not built here"
        failed+=("$name")
        continue
    fi
    load=$(load_text)
    echo "== $name ($load)"
    before=$(wc -l < "$goals")
    status=0
    { echo "$load"; "$program"; } > "$out/$name.txt" 2>&1 || status=$?
    tail -n "+$((before + 1))" "$goals" | cut -f 1,2,6 | sed 's/\t/: /; s/\t/  /; s/^/   /'
    if [ $status -ne 0 ]; then
        echo "   FAILED with exit code $status:"
        grep -h FAILED "$out/$name.txt" | sed 's/^/   /' || tail -n 3 "$out/$name.txt"
        failed+=("$name")
    fi
done
rm -f "$out/lines.log"

echo
{
    printf 'work\tfigure\tlimit or peer of the same run\tratio\tgoal\treached\n'
    cat "$goals"
} | awk -F '\t' '
    { for (c = 1; c <= NF; ++c) { cell[NR, c] = $c; if (length($c) > width[c]) width[c] = length($c) } }
    END {
        for (row = 1; row <= NR; ++row) {
            line = ""
            for (c = 1; c <= 6; ++c) line = line sprintf("%-" width[c] "s  ", cell[row, c])
            sub(/ +$/, "", line)
            print line
        }
    }' | tee "$out/table.txt"
echo
echo "Raw output: build/bench"
if [ ${#failed[@]} -gt 0 ]; then
    echo "bench.sh: failed: ${failed[*]}" >&2
    exit 1
fi
