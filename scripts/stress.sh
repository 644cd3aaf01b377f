#!/usr/bin/env bash
# Runs stress tests of the single-instance classes: scripts/stress.sh [ROUNDS] (default: ten rounds)
# In each round, 200 processes start simultaneously, then again while the primary instance is killed, and 300 hostile
# clients connect.

source "$(dirname "$0")/lib.sh"

rounds=${1:-10}
program=build/dev/tests/singleapp/single_app_stress

scripts/setup.sh test
build dev --target single_app_stress

for run in "storm 200" "kill 200" "hostile 300"; do
    read -r kind size <<<"$run"
    say "$kind, $rounds rounds"
    "$program" "$kind" "$rounds" "$size" 2>/dev/null
done
say "All rounds passed"
