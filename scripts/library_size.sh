#!/usr/bin/env bash
# How much larger a stripped program becomes by using the mail library's charset conversion, with all
# of its tables. Wants the library built (cmake --build build --target tarny_mail).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
limit=1500000  # bytes

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo 'int main() { return 0; }' > "$work/without.cpp"
cat > "$work/with.cpp" <<'CPP'
#include "charset/EncodingConvert.h"
#include "base/LogNull.h"
int main(int count, char** texts) {
  mail::EncodingConvert converter;
  mail::DataBuffer output;
  mail::LogNull log;
  const bool done = converter.EncConvert(texts[0], texts[count - 1], "text", 4, output, log);
  return done ? 0 : 1;
}
CPP
for program in without with; do
  "${CXX:-g++}" -std=c++20 -O2 -s -I "$root" "$work/$program.cpp" -o "$work/$program" \
    "$build/libtarny_mail.a" "$build/libtarny_platform.a" \
    -lbz2 -licuuc -licui18n -lfmt -lcrypto -lsqlite3
done
added=$(($(stat -c %s "$work/with") - $(stat -c %s "$work/without")))
echo "the library's conversion adds $added bytes to a program"
[ "$added" -lt "$limit" ]
