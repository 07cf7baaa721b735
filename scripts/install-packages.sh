#!/usr/bin/env bash
# Installs the Debian 12 packages that the project builds and tests with; skips what is there.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache pkg-config python3
  libcurl4-openssl-dev libssl-dev libpugixml-dev libsqlite3-dev libbz2-dev zlib1g-dev libkrb5-dev
  libicu-dev libical-dev nlohmann-json3-dev libcli11-dev libfmt-dev libcpp-httplib-dev libzip-dev
  libxml2-dev libgtest-dev libgmock-dev libbenchmark-dev libgmime-3.0-dev unrtf w3m html2text
  clang libclang-rt-14-dev python3-vobject python3-icalendar
)

missing=()
for package in "${packages[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
  "${missing[@]}" > /dev/null
