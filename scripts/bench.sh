#!/usr/bin/env bash
# Runs all benchmarks and writes docs/performance.md. With names, runs only those benchmarks and prints their results:
# scripts/bench.sh logging addresses

source "$(dirname "$0")/lib.sh"

results=build/bench/results

scripts/setup.sh bench
peers=build/bench/peers
if command -v npm >/dev/null; then
    [ -d "$peers/node_modules/linkify-it" ] || quietly npm install --no-audit --no-fund --prefix "$peers" linkify-it@5.0.0
else
    say "Skipping linkify-it: npm is not installed"
fi
build bench

programs=("$@")
[ $# -gt 0 ] || mapfile -t programs < <(programs_in build/bench/benchmarks bench_)

rm -rf "$results"
mkdir -p "$results"
for name in "${programs[@]}"; do
    program=build/bench/benchmarks/bench_$name
    [ -x "$program" ] || die "there is no benchmark \"$name\""
    say "Running $name"
    case $name in
        files) repetitions=9 ;; # Each takes more than a minute.
        addresses) repetitions=5 ;; # Has no peers.
        logging | shell | singleapp | startup) repetitions=25 ;; # Each takes a few seconds.
        *) repetitions=15 ;;
    esac
    # Use many short, interleaved repetitions, so that other load on the machine affects both sides of a ratio.
    quietly "$program" --benchmark_repetitions=$repetitions --benchmark_min_time=0.1 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out_format=json --benchmark_out="$results/$name.json"
done

if [ $# -gt 0 ]; then
    python3 benchmarks/report.py benchmarks/topics.json "$results"
else
    python3 benchmarks/report.py benchmarks/topics.json "$results" docs
    say "Written: docs/performance.md and its plots"
fi
