#!/usr/bin/env bash
# Installs a build into an empty folder, and there builds and runs the program that the README shows.
# Usage: install_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir=$1
build_dir=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cmake --install "$build_dir" --prefix "$place/installed" >/dev/null
awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_dir/README.md" >"$place/readme.cpp"
grep -q 'int main' "$place/readme.cpp"

cmake -G Ninja -S "$source_dir/tests/build/consumer" -B "$place/build" -D CMAKE_PREFIX_PATH="$place/installed" \
  -D CONSUMER_SOURCE="$place/readme.cpp" -D CMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
cmake --build "$place/build"

cd "$source_dir/data"
"$place/build/consumer" davis.qhg >"$place/out"
expected=$(printf '\nH(18, 14, 89) MWCD=8 MINCD=2 TOTCW=18\nTOTNW=14 TOTINW=0 VN=0')
[ "$(cat "$place/out")" = "$expected" ] || { echo "the README's program printed:"; cat "$place/out"; exit 1; }
"$place/installed/bin/quillon" --version
