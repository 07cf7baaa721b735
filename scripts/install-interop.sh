#!/usr/bin/env bash
# Installs the independent client of tests/interop where Node.js is there. Nobody is kept from the
# rest of the tests where that fails: IndependentClient and IndependentReader are skipped then.
set -uo pipefail
cd "$(dirname "$0")/../tests/interop"

command -v npm > /dev/null || exit 0
[ -d node_modules ] && exit 0
echo "Installing: the independent client (npm ci in tests/interop)"
timeout 180 npm ci --no-audit --no-fund > /dev/null 2>&1 && exit 0
echo "It cannot be had just now: IndependentClient and IndependentReader skip"
rm -rf node_modules
