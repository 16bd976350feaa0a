#!/usr/bin/env bash
# Checks the layout of every source file against .clang-format; says how to repair.
set -euo pipefail
cd "$(git rev-parse --show-toplevel)"
files=$(git ls-files '*.h' '*.cpp')
if ! clang-format --dry-run -Werror $files; then
    echo "Repair with: clang-format -i \$(git ls-files '*.h' '*.cpp')" >&2
    exit 1
fi
