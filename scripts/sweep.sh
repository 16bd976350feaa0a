#!/usr/bin/env bash
# Runs every sweep of faults to its end, and writes what each operation met as tables: sweep.sh BUILD OUT
set -euo pipefail
build=$1
out=$2
log=$build/sweeps.log

run() { # PROGRAM [OPTION...]
    echo "$*" >&2
    "$build/bin/$@" >>"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        exit 1
    }
}

: >"$log"
run sweep_tests
run memory_tests
run pool_tests
run ktstd_tests --gtest_filter='*SaveFaults*:*ArchiveSweep*:*ArchiveDamage*'
run ktmdl_tests --gtest_filter='*ArchiveSweep*'
run fuzz_tests

{
    cat <<'END'
# Sweeps, operation by operation

Written by `make sweep`; [reliability.md](reliability.md) tells what is done and checked.

## Host calls that fail

Calls: host calls of a run without faults. Reported: raised, or told by the status or result. Harmless: the right result all the
same. Passed over: what the operation's rules say about this failure, without a report.

| operation | calls | faults | reported | harmless | passed over |
|---|--:|--:|--:|--:|--:|
END
    sed -n 's/^\(.*\): \([0-9]*\) calls; faults: \([0-9]*\) reported, \([0-9]*\) harmless, \([0-9]*\) passed over$/\1 \2 \3 \4 \5/p' "$log" |
        awk '{ n++; c += $2; r += $3; h += $4; p += $5
               printf "| %s | %d | %d | %d | %d | %d |\n", $1, $2, $3 + $4 + $5, $3, $4, $5 }
             END { printf "| **all %d** | %d | %d | %d | %d | %d |\n", n, c, r + h + p, r, h, p }'
    cat <<'END'

## Allocations that fail

Each allocation fails alone, and with all that follow. Raised: `std::bad_alloc`, an automation error or a kernel failure. Told: by a
status, an empty result or a log line. Harmless: the operation does without.

| operation | allocations | faults | raised | told | harmless |
|---|--:|--:|--:|--:|--:|
END
    sed -n 's/^\(.*\): \([0-9]*\) allocations; faults: \([0-9]*\) raised, \([0-9]*\) told, \([0-9]*\) harmless$/\1 \2 \3 \4 \5/p' "$log" |
        awk '$1 != "Operation" { n++; a += $2; r += $3; t += $4; h += $5
               printf "| %s | %d | %d | %d | %d | %d |\n", $1, $2, $3 + $4 + $5, $3, $4, $5 }
             END { printf "| **all %d** | %d | %d | %d | %d | %d |\n", n, a, r + t + h, r, t, h }'
} >"$out"
echo "all sweeps hold; written to $out" >&2
