#!/usr/bin/env bash
# Makes sure that Debian packages are there: need.sh PACKAGE...
# Installs what is missing when the caller may (root, or sudo that asks nothing); otherwise prints
# one line to copy and fails.
set -euo pipefail

missing=()
for package in "$@"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
    run=()
elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
    run=(sudo -n)
else
    echo "Missing packages. Install them with: sudo apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${run[@]}" apt-get update -qq
"${run[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
