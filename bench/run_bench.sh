#!/usr/bin/env bash
# The conversion benchmark: builds the Release tool, writes the deterministic
# 24-hour log with bench/make_bench_log, converts it N times and reports the
# medians of
#   - conversion time and throughput (MB of log per second, 1 MB = 10^6 bytes),
#   - peak memory (maximum resident set size),
#   - the I/O floor: reading the log with cat plus writing, with cat, as many
#     bytes as the conversion wrote,
#   - the ratio of conversion time to floor.
# GNU cat copies file to file inside the kernel (copy_file_range), which no
# program that makes its bytes itself can do; so the same floor with the
# bytes written from user space, through a pipe, is shown beside it.
# Then the quality report (obsforge-qc) of the same log, and of the two hours
# of real station data in examples/data built into a log, against the
# conversion of each.
# Targets: conversion peak memory below 16 MiB and within 4 times the floor;
# report within 2 times the conversion, peak memory below 64 MiB.
#
# usage: bench/run_bench.sh [--callgrind]
#   --callgrind  also profiles a conversion of the log's first hour with
#                valgrind's callgrind and prints the ten costliest functions
# Environment: BENCH_RUNS (default 5), BENCH_BUILD (default build-bench),
# BENCH_OUT (scratch directory, default bench/out), BENCH_SECONDS (seconds of
# log, default 86400).
set -euo pipefail

cd "$(dirname "$0")/.."
RUNS=${BENCH_RUNS:-5}
BUILD=${BENCH_BUILD:-build-bench}
OUT=${BENCH_OUT:-bench/out}
SECONDS_OF_LOG=${BENCH_SECONDS:-86400}
CALLGRIND=0
for arg in "$@"; do
    case "$arg" in
    --callgrind) CALLGRIND=1 ;;
    *)
        echo "usage: bench/run_bench.sh [--callgrind]" >&2
        exit 2
        ;;
    esac
done
if [[ ! -x /usr/bin/time ]]; then
    echo "run_bench.sh: /usr/bin/time is needed for the peak memory (apt-get install time)" >&2
    exit 1
fi

cmake -S . -B "$BUILD" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$BUILD" -j "${JOBS:-$(nproc)}" --target obsforge obsforge-qc make_bench_log rinex2log >/dev/null
TOOL=$(realpath "$BUILD/obsforge")
QC=$(realpath "$BUILD/obsforge-qc")
MAKE_LOG=$(realpath "$BUILD/bench/make_bench_log")
RINEX2LOG=$(realpath "$BUILD/tools/rinex2log")
DATA=$(realpath examples/data)

mkdir -p "$OUT"
cd "$OUT"
LOG=bench.log
# The log is deterministic: it is written again only when the generator or
# the length changed.
if [[ ! -f $LOG || $MAKE_LOG -nt $LOG || "$(cat bench.seconds 2>/dev/null)" != "$SECONDS_OF_LOG" ]]; then
    echo "writing $SECONDS_OF_LOG s of log ..."
    "$MAKE_LOG" "$LOG" "$SECONDS_OF_LOG"
    echo "$SECONDS_OF_LOG" >bench.seconds
fi
LOG_BYTES=$(stat -c %s "$LOG")

now_ns() { date +%s%N; }

median() { sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

spread() { sort -g | awk 'NR == 1 { lo = $1 } { hi = $1 } END { printf "%.3f to %.3f", lo, hi }'; }

# One conversion of $1 (default the benchmark log); prints "seconds
# max-rss-KiB user-seconds system-seconds".
convert_once() {
    rm -f obs.rnx gps.rnx glo.rnx bds.rnx summary.txt
    local start end
    start=$(now_ns)
    /usr/bin/time -f "%M %U %S" -o rss.txt "$TOOL" -S:summary.txt "${1:-$LOG}" obs.rnx gps.rnx glo.rnx bds.rnx \
        2>/dev/null
    end=$(now_ns)
    echo "$(awk -v ns=$((end - start)) 'BEGIN { printf "%.4f", ns / 1e9 }') $(tail -n 1 rss.txt)"
}

# One report of $1; prints the same four figures.
report_once() {
    rm -rf qc
    local start end
    start=$(now_ns)
    /usr/bin/time -f "%M %U %S" -o rss.txt "$QC" -o qc "$1" >/dev/null 2>&1
    end=$(now_ns)
    echo "$(awk -v ns=$((end - start)) 'BEGIN { printf "%.4f", ns / 1e9 }') $(tail -n 1 rss.txt)"
}

# The floor of one run: cat reads the log, and cat writes the outputs' bytes
# into a new file beside them, once straight and once through a pipe.
# Prints "read write piped-write" in seconds.
floor_once() {
    local start mid end piped
    start=$(now_ns)
    cat "$LOG" >/dev/null
    mid=$(now_ns)
    cat obs.rnx gps.rnx glo.rnx bds.rnx summary.txt >floor.out
    end=$(now_ns)
    rm -f floor.out
    sync
    piped=$(now_ns)
    cat obs.rnx gps.rnx glo.rnx bds.rnx summary.txt | cat >floor.out
    piped=$(($(now_ns) - piped))
    rm -f floor.out
    awk -v r=$((mid - start)) -v w=$((end - mid)) -v p=$piped 'BEGIN { printf "%.4f %.4f %.4f\n", r / 1e9, w / 1e9, p / 1e9 }'
}

convert_once >/dev/null # warms the page cache, like the floor's reads
: >conv.txt
: >floor.txt
# Each timed step starts with the written data of the one before on disk:
# otherwise the kernel's write-back of some hundred MB lands at random in the
# next step.
for ((i = 0; i < RUNS; ++i)); do
    sync
    convert_once >>conv.txt
    sync
    floor_once >>floor.txt
done
OUT_BYTES=$(cat obs.rnx gps.rnx glo.rnx bds.rnx summary.txt | wc -c)

CONV=$(awk '{ print $1 }' conv.txt | median)
RSS=$(awk '{ print $2 }' conv.txt | median)
USER=$(awk '{ print $3 }' conv.txt | median)
SYS=$(awk '{ print $4 }' conv.txt | median)
READ=$(awk '{ print $1 }' floor.txt | median)
WRITE=$(awk '{ print $2 }' floor.txt | median)
FLOOR=$(awk '{ print $1 + $2 }' floor.txt | median)
PIPED=$(awk '{ print $1 + $3 }' floor.txt | median)
# The spread over the runs: the floor's writing swings widely between runs.
CONV_RANGE=$(awk '{ print $1 }' conv.txt | spread)
FLOOR_RANGE=$(awk '{ print $1 + $2 }' floor.txt | spread)

awk -v log_bytes="$LOG_BYTES" -v out_bytes="$OUT_BYTES" -v conv="$CONV" -v rss="$RSS" -v rd="$READ" \
    -v wr="$WRITE" -v floor="$FLOOR" -v piped="$PIPED" -v user="$USER" -v sys="$SYS" -v runs="$RUNS" \
    -v conv_range="$CONV_RANGE" -v floor_range="$FLOOR_RANGE" 'BEGIN {
    ratio = conv / floor
    printf "log            %.1f MB (%d bytes)\n", log_bytes / 1e6, log_bytes
    printf "outputs        %.1f MB (%d bytes)\n", out_bytes / 1e6, out_bytes
    printf "medians of %d runs:\n", runs
    printf "conversion     %.3f s, %.1f MB/s (user %.2f s, system %.2f s)\n", conv, log_bytes / 1e6 / conv, user, sys
    printf "peak memory    %.1f MiB (%d KiB)   target below 16 MiB: %s\n", rss / 1024, rss, rss < 16384 ? "met" : "MISSED"
    printf "I/O floor      %.3f s (read %.3f s, write %.3f s)\n", floor, rd, wr
    printf "ratio          %.2f x floor   target at most 4: %s\n", ratio, ratio <= 4 ? "met" : "MISSED"
    printf "piped floor    %.3f s, ratio %.2f (the outputs written from user space)   target at most 4: %s\n", piped,
        conv / piped, conv / piped <= 4 ? "met" : "MISSED"
    printf "spread         conversion %s s, floor %s s over the %d runs\n", conv_range, floor_range, runs
}'

# The quality report: of the benchmark log, and of a log built from the real
# station data, each against the conversion of the same log.
"$RINEX2LOG" -b raw -s -m "$DATA/ESBC_2020177_0600_2h_GRC.obs.rnx.gz" "$DATA/ESBC_2020177_GRC.nav.rnx.gz" \
    station.log >/dev/null
for log in "$LOG" station.log; do
    : >qc_conv.txt
    : >qc.txt
    report_once "$log" >/dev/null
    for ((i = 0; i < RUNS; ++i)); do
        sync
        convert_once "$log" >>qc_conv.txt
        report_once "$log" >>qc.txt
    done
    C=$(awk '{ print $1 }' qc_conv.txt | median)
    Q=$(awk '{ print $1 }' qc.txt | median)
    M=$(awk '{ print $2 }' qc.txt | median)
    # The time target is the 24-hour log's; two hours of station data show
    # the report's fixed cost (the page, the JSON) beside a short conversion.
    awk -v name="$(basename "$log")" -v c="$C" -v q="$Q" -v m="$M" -v bench="$([[ $log == "$LOG" ]] && echo 1)" 'BEGIN {
        printf "report %-11s %.3f s against conversion %.3f s: %.2f x", name, q, c, q / c
        if (bench) printf "   target at most 2: %s\n", q / c <= 2 ? "met" : "MISSED"; else printf "\n"
        printf "report memory  %.1f MiB (%d KiB)   target below 64 MiB: %s\n", m / 1024, m, m < 65536 ? "met" : "MISSED"
    }'
done

if [[ $CALLGRIND == 1 ]]; then
    if ! command -v valgrind >/dev/null; then
        echo "run_bench.sh: valgrind is needed for --callgrind" >&2
        exit 1
    fi
    "$MAKE_LOG" hour.log 3600
    rm -f callgrind.out
    valgrind --tool=callgrind --callgrind-out-file=callgrind.out "$TOOL" hour.log obs.rnx gps.rnx glo.rnx bds.rnx \
        >/dev/null 2>&1
    echo "callgrind, first hour of the log: the ten costliest functions (own cost)"
    callgrind_annotate callgrind.out 2>/dev/null | awk '/^-+$/ { rule++ } rule >= 3 && /\(/ && !/PROGRAM TOTALS/ && n < 10 { print; n++ }'
fi
