#!/usr/bin/env bash
# Runs each fuzz target for SECONDS_EACH seconds (60) from its seeds, with its word list.
# What a target finds stays under build/fuzz/findings/TARGET; the exit code is 1 then.
set -uo pipefail
cd "$(dirname "$0")/.."

seconds=${SECONDS_EACH:-60}
failed=0
for source in fuzz/*/*Fuzz.cpp; do
  name=$(basename "$source" .cpp)
  if [ -n "${TARGETS:-}" ] && [[ " $TARGETS " != *" $name "* ]]; then continue; fi
  corpus=build/fuzz/corpus/$name
  findings=build/fuzz/findings/$name/
  mkdir -p "$corpus" "$findings"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -print_final_stats=1
           -artifact_prefix="$findings")
  words=${source%.cpp}.dict
  [ -f "$words" ] && options+=(-dict="$words")
  inputs=("$corpus")
  [ -d "fuzz/seeds/$name" ] && inputs+=("fuzz/seeds/$name")
  echo "== $name: $seconds s"
  if build/fuzz/bin/"$name" "${options[@]}" "${inputs[@]}" > "build/fuzz/$name.log" 2>&1; then
    grep -E 'number_of_executed_units|average_exec_per_sec' "build/fuzz/$name.log"
  else
    failed=1
    tail -40 "build/fuzz/$name.log"
  fi
done
exit $failed
