#!/usr/bin/env bash
# Stresses the single-instance classes (default: ten rounds): 200 processes that start simultaneously, the same with a
# primary instance that is killed, and 300 clients that misbehave.

source "$(dirname "$0")/lib.sh"

rounds=${1:-10}
program=build/dev/tests/singleapp/single_app_stress

scripts/setup.sh test
say "Configuring and building (dev)"
quietly cmake --preset dev
build dev --target single_app_stress

for run in "storm 200" "kill 200" "hostile 300"; do
    read -r kind size <<<"$run"
    say "$kind, $rounds rounds"
    "$program" "$kind" "$rounds" "$size" 2>/dev/null
done
say "All rounds passed"
