#!/usr/bin/env bash
# Builds the fuzz targets and runs each for the given time (default: 60 seconds and all targets):
# scripts/fuzz.sh [SECONDS [TARGET...]]
# Findings are stored in build/fuzz/findings; the corpora in fuzz/corpus are not changed.

source "$(dirname "$0")/lib.sh"

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || die "the first argument is the number of seconds for each target"
shift || true

scripts/setup.sh fuzz
build fuzz

targets=("$@")
[ $# -gt 0 ] || mapfile -t targets < <(programs_in build/fuzz/fuzz fuzz_)

findings=$project_dir/build/fuzz/findings
mkdir -p "$findings"
failed=()
for target in "${targets[@]}"; do
    program=build/fuzz/fuzz/fuzz_$target
    [ -x "$program" ] || die "there is no target \"$target\""
    say "Fuzzing $target for $seconds s"
    grown=build/fuzz/corpus/$target
    mkdir -p "$grown"
    log=$findings/$target.log
    if "$program" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$findings/$target-" "$grown" "fuzz/corpus/$target" >"$log" 2>&1; then
        sed -n 's/^stat::number_of_executed_units: */   runs: /p' "$log"
    else
        tail -n 40 "$log" >&2
        failed+=("$target")
    fi
done
[ ${#failed[@]} -eq 0 ] || die "findings in: ${failed[*]} (see $findings)"
say "No findings"
