#!/usr/bin/env bash
# Installs a build into an empty folder and builds and runs the program of the README against it, with every way of
# linking that docs/library.md describes.
# Usage: install_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir=$1
build_dir=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
prefix=$place/moved/installed
warnings=(-Wall -Wextra -Wpedantic -Werror)

fail() {
  echo "install_test: $*" >&2
  exit 1
}

# An installation can be moved.
cmake --install "$build_dir" --prefix "$place/installed" >/dev/null
mkdir "$place/moved" && mv "$place/installed" "$prefix"
libraries=$(dirname "$(find "$prefix" -name libquillon_hypergraph.a)")
[ -e "$libraries/libquillon_hypergraph.so" ] || fail "there is no shared library"
program=$place/readme.cpp
awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_dir/README.md" >"$program"
grep -q 'int main' "$program" || fail "the README has no program"

runs() {  # runs KIND PROGRAM: the program prints what it should, and is linked as it should be
  local expected kind=static
  expected=$(printf '\nH(18, 14, 89) MWCD=8 MINCD=2 TOTCW=18\nTOTNW=14 TOTINW=0 VN=0')
  [ "$("$2" "$source_dir/data/davis.qhg")" = "$expected" ] || fail "the README's program printed something else"
  ! readelf -d "$2" | grep 'NEEDED.*libquillon_hypergraph\.so\.1]' >/dev/null || kind=shared
  [ "$kind" = "$1" ] || fail "the program is linked $kind, and should be $1"
}

consumer() {  # consumer NAME KIND OPTION...
  cmake -G Ninja -S "$source_dir/tests/build/consumer" -B "$place/$1" -D CONSUMER_SOURCE="$program" \
    -D CMAKE_PREFIX_PATH="$prefix" -D CMAKE_CXX_FLAGS="${warnings[*]}" "${@:3}" >"$place/log" 2>&1 &&
    cmake --build "$place/$1" >"$place/log" 2>&1 || { cat "$place/log"; fail "$1 does not build"; }
  runs "$2" "$place/$1/consumer"
  echo "$1: $2"
}

package=(-D CONSUMER_QUILLON=find_package)
consumer default static "${package[@]}"
consumer build_shared_libs shared "${package[@]}" -D BUILD_SHARED_LIBS=ON
consumer component_static static "${package[@]}" -D CONSUMER_COMPONENT=static -D BUILD_SHARED_LIBS=ON
consumer component_shared shared "${package[@]}" -D CONSUMER_COMPONENT=shared
sources=(-D CONSUMER_QUILLON_SOURCE="$source_dir" -D CMAKE_PREFIX_PATH=)
consumer add_subdirectory static "${sources[@]}" -D CONSUMER_QUILLON=add_subdirectory
consumer fetch_content shared "${sources[@]}" -D CONSUMER_QUILLON=FetchContent -D BUILD_SHARED_LIBS=ON

if cmake -G Ninja -S "$source_dir/tests/build/consumer" -B "$place/unknown" -D CONSUMER_SOURCE="$program" \
  -D CMAKE_PREFIX_PATH="$prefix" "${package[@]}" -D CONSUMER_COMPONENT=frozen >"$place/log" 2>&1; then
  fail "a component that does not exist was found"
fi
tr -s '\n ' ' ' <"$place/log" | grep 'no component frozen in this installation, which has: static shared' >/dev/null ||
  fail "the message about an unknown component is another"

export PKG_CONFIG_PATH=$libraries/pkgconfig
[ "$(pkg-config --modversion quillon)" = "$("$prefix/bin/quillon" --version | grep -oE '[0-9.]+$')" ] ||
  fail "pkg-config knows another version than the tool"
read -ra flags <<<"$(pkg-config --cflags quillon)"
read -ra libs <<<"$(pkg-config --libs quillon)"
compile=("${CXX:-c++}" -std=c++20 "${warnings[@]}" "${flags[@]}" "$program")
"${compile[@]}" -o "$place/by_pkg_config" "${libs[@]}" -Wl,-rpath,"$libraries"
runs shared "$place/by_pkg_config"
"${compile[@]}" -o "$place/by_pkg_config_static" -Wl,-Bstatic "${libs[@]}" -Wl,-Bdynamic
runs static "$place/by_pkg_config_static"
echo "pkg-config: shared and static"

cmake -G Ninja -S "$source_dir/examples" -B "$place/examples" -D CMAKE_PREFIX_PATH="$prefix" -D QUILLON_PTSCOTCH=OFF \
  -D CMAKE_CXX_FLAGS="${warnings[*]}" >/dev/null
cmake --build "$place/examples" >"$place/log" || { cat "$place/log"; fail "the examples do not build"; }
"$source_dir/tests/build/run_examples.sh" "$source_dir" "$place/examples"

# The libraries export only what the headers declare, and one does not contain the other.
for library in util hypergraph measures; do
  nm -DC --defined-only "$libraries/libquillon_$library.so" | sed -E '/ A /d; s/^[0-9a-f]+ . //; s/@@QUILLON_1$//' |
    LC_ALL=C sort | diff "$source_dir/tests/build/exported/$library.txt" - || fail "$library shows other symbols"
done
program=$source_dir/tests/build/consumer/own_util.cpp
"${CXX:-c++}" -std=c++20 "${warnings[@]}" "${flags[@]}" "$program" -o "$place/own_util" \
  -Wl,-Bstatic "${libs[@]}" -Wl,-Bdynamic
[ "$("$place/own_util")" = "$(printf '\n Nets[   1] = {   1(W=  1),    2(W=  1), }\n5 blocks taken, 5 returned')" ] ||
  fail "a utility layer of one's own does not take the place of the installed one"
echo "symbols: as declared"
