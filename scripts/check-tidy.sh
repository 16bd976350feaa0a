#!/usr/bin/env bash
# Runs clang-tidy over changed sources: check-tidy.sh BUILD_DIR [BASE]
# BASE: a commit; the sources changed since then are checked. Without it, those of the last commits
# up to the newest one that is at least four hours older than HEAD, or all when there is none.
set -euo pipefail
build=$1
cd "$(git rev-parse --show-toplevel)"
base=${2:-}
if [ -z "$base" ]; then
    head_time=$(git log -1 --format=%ct)
    base=$(git rev-list -1 --before="$((head_time - 14400))" HEAD || true)
fi
if [ -n "$base" ]; then
    files=$(git diff --name-only --diff-filter=d "$base" -- '*.cpp')
else
    files=$(git ls-files '*.cpp')
fi
files=$(printf '%s\n' "$files" | grep -E '^(com|ktstd|ktmdl|standin|tools)/' | grep -v '^com/.*Windows' || true)
[ -z "$files" ] && { echo "clang-tidy: no changed sources"; exit 0; }
printf '%s\n' "$files" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build"
echo "clang-tidy: $(printf '%s\n' "$files" | wc -l) sources checked"
