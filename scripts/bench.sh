#!/usr/bin/env bash
# Runs the benchmarks of the release build, each beside its peer. BENCHES="SendBench" picks some.
set -uo pipefail
cd "$(dirname "$0")/.."

grep -m 1 'model name' /proc/cpuinfo || true
failed=0
for source in bench/*/*Bench.cpp; do
  name=$(basename "$source" .cpp)
  if [ -n "${BENCHES:-}" ] && [[ " $BENCHES " != *" $name "* ]]; then continue; fi
  echo "== $name"
  "build/release/bench/$name" || failed=1
done
exit $failed
