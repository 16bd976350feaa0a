#!/usr/bin/env bash
# Replays corpus and regressions of each fuzz target, then fuzzes it: fuzz.sh SECONDS [TARGET...]
# Inputs that reach new code are kept in build/fuzz/new/TARGET for the next run, inputs that break
# something in build/fuzz/found/TARGET. One line per target tells what was done.
set -euo pipefail
cd "$(git rev-parse --show-toplevel)"
seconds=$1
shift
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(archive_load archive_roundtrip step_read log_dump)
build=build/fuzz
failed=0

for target in "${targets[@]}"; do
    new=$build/new/$target
    found=$build/found/$target
    log=$build/$target.log
    mkdir -p "$new" "$found"
    seeds=("fuzz/corpus/$target")
    [ -d "fuzz/regressions/$target" ] && seeds+=("fuzz/regressions/$target")
    case $target in
    step_read) options=(-max_len=25000 -dict=fuzz/step.dict) ;;
    *) options=(-max_len=4096) ;;
    esac
    options+=(-timeout=10 -malloc_limit_mb=64 -rss_limit_mb=2048 "-artifact_prefix=$found/")
    if "$build/bin/fuzz_$target" "${options[@]}" -runs=0 "${seeds[@]}" >"$log" 2>&1 &&
        "$build/bin/fuzz_$target" "${options[@]}" -max_total_time="$seconds" \
            -print_final_stats=1 "$new" "${seeds[@]}" >>"$log" 2>&1; then
        result="holds"
    else
        result="BROKEN, see $log and $found"
        failed=1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    edges=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 || true)
    echo "$target: ${runs:-0} executions in $seconds s, ${edges:-cov: 0} edges, $result"
done
exit $failed
