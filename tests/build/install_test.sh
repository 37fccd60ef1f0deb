#!/usr/bin/env bash
# Installs a build into an empty folder and builds and runs the program of the README against it, with every way of
# linking that docs/library.md describes, and the programs of that page.
# Usage: install_test.sh SOURCE_DIR BUILD_DIR [--long]; the long form also builds quillon::formats from its sources, and
# configures every program in a folder of its own.
set -euo pipefail
source_dir=$1
build_dir=$2
long=${3:-}
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

program_in() {  # program_in DOCUMENT SECTION FILE
  awk -v section="## $2" '/^## / { here = $0 == section } /^```cpp$/ { inside = here; next } /^```$/ { inside = 0 } inside' \
    "$source_dir/$1" >"$3"
  grep -q 'int main' "$3" || fail "section '$2' of $1 has no program"
}
program=$place/readme.cpp
program_in README.md "Use it" "$program"

linked() {  # linked KIND PROGRAM [LIBRARY]
  local kind=static
  ! readelf -d "$2" | grep "NEEDED.*libquillon_${3:-hypergraph}\.so\.1]" >/dev/null || kind=shared
  [ "$kind" = "$1" ] || fail "$2 is linked $kind, and should be $1"
}

runs() {  # runs KIND PROGRAM: the program prints what it should, and is linked as it should be
  local expected
  expected=$(printf '\nH(18, 14, 89) MWCD=8 MINCD=2 TOTCW=18\nTOTNW=14 TOTINW=0 VN=0')
  [ "$("$2" "$source_dir/data/davis.qhg")" = "$expected" ] || fail "the README's program printed something else"
  linked "$1" "$2"
}

builds() {  # builds FOLDER SOURCE OPTION...: in a folder with another choice of options, it is mostly linked again
  cmake -G Ninja -S "$source_dir/tests/build/consumer" -B "$place/$1" -U 'CONSUMER_*' -U BUILD_SHARED_LIBS \
    -D CONSUMER_SOURCE="$2" -D CMAKE_PREFIX_PATH="$prefix" -D CMAKE_CXX_FLAGS="${warnings[*]}" "${@:3}" >"$place/log" 2>&1 &&
    cmake --build "$place/$1" "${target[@]}" >"$place/log" 2>&1 || { cat "$place/log"; fail "$1 does not build"; }
}
target=()

folder_of() {  # folder_of FOLDER NAME: the folder where the program NAME is built
  if [ "$long" = --long ]; then echo "$2"; else echo "$1"; fi
}

consumer() {  # consumer FOLDER NAME KIND OPTION...
  local folder
  folder=$(folder_of "$1" "$2")
  builds "$folder" "$program" "${@:4}"
  runs "$3" "$place/$folder/consumer"
  echo "$2: $3"
}

package=(-D CONSUMER_QUILLON=find_package)
consumer readme default static "${package[@]}"
consumer readme build_shared_libs shared "${package[@]}" -D BUILD_SHARED_LIBS=ON
consumer readme component_static static "${package[@]}" -D CONSUMER_COMPONENT=static -D BUILD_SHARED_LIBS=ON
consumer readme component_shared shared "${package[@]}" -D CONSUMER_COMPONENT=shared
sources=(-D CONSUMER_QUILLON_SOURCE="$source_dir" -D CMAKE_PREFIX_PATH= -D QUILLON_SHORT_BUILD=ON)
[ "$long" = --long ] || target=(--target consumer)  # and what it links
consumer fetch_content fetch_content shared "${sources[@]}" -D CONSUMER_QUILLON=FetchContent -D BUILD_SHARED_LIBS=ON
target=()

program_in docs/library.md Errors "$place/errors.cpp"
survives() {  # survives KIND PROGRAM: the program of "Errors" goes on after a file that cannot be read
  ! "$2" "$place/missing.qhg" "$source_dir/data/davis.qhg" 2>"$place/log" || fail "$2 reads a file that does not exist"
  grep -q "^$place/missing.qhg: ufopen: cannot open " "$place/log" || { cat "$place/log"; fail "$2 has another message"; }
  "$2" "$source_dir/data/davis.qhg" "$source_dir/data/lesmis.qhg" || fail "$2 does not read sound files"
  linked "$1" "$2"
}

program_in docs/library.md "Formats and measures" "$place/formats.cpp"
printf '%s\n' 0 0 0 0 0 0 0 0 0 1 1 1 1 1 1 1 1 1 >"$place/davis.part"
printf '2 3\n1 2\n0 1\n' >"$place/bad.hgr"
measures() {  # measures KIND PROGRAM: the program of "Formats and measures" writes, or says why not
  local written=$place/davis.hgr
  [ "$("$2" "$source_dir/data/davis.qhg" "$place/davis.part" "$written")" = "cut 4" ] || fail "$2 has another cut"
  [ "$(head -n 2 "$written")" = "14 18 11"$'\n'"1 1 2 4 " ] || fail "$2 writes another hypergraph"
  [ "$("$2" "$written" "$place/davis.part" "$written.again")" = "cut 4" ] || fail "$2 does not read hMETIS"
  cmp "$written" "$written.again"
  rm "$written" "$written.again"

  ! "$2" "$place/bad.hgr" "$place/davis.part" "$written" 2>"$place/log" || fail "$2 reads a broken file"
  grep -q "^$place/bad.hgr:3:1: error: found \"0\"" "$place/log" || { cat "$place/log"; fail "$2 has another message"; }
  ! "$2" "$source_dir/data/davis.qhg" "$place/davis.part" "$place/no/folder" >/dev/null 2>"$place/log" ||
    fail "$2 writes into a folder that does not exist"
  grep -q "^cannot write '$place/no/folder': " "$place/log" || { cat "$place/log"; fail "$2 has another message"; }
  linked "$1" "$2"
  linked "$1" "$2" formats
  linked "$1" "$2" measures
}

libraries_of_formats=(-D "CONSUMER_LIBRARIES=quillon::formats;quillon::measures")
for kind in static shared; do
  folder=$(folder_of errors "errors_$kind")
  builds "$folder" "$place/errors.cpp" "${package[@]}" -D CONSUMER_COMPONENT="$kind"
  survives "$kind" "$place/$folder/consumer"
  folder=$(folder_of formats "formats_$kind")
  builds "$folder" "$place/formats.cpp" "${package[@]}" -D CONSUMER_COMPONENT="$kind" "${libraries_of_formats[@]}"
  measures "$kind" "$place/$folder/consumer"
  echo "programs of docs/library.md: $kind"
done
if [ "$long" = --long ]; then
  builds formats_sources "$place/formats.cpp" "${sources[@]}" -D CONSUMER_QUILLON=add_subdirectory -D QUILLON_FORMATS=ON \
    "${libraries_of_formats[@]}"
  measures static "$place/formats_sources/consumer"
  echo "formats_sources: static"
fi

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
compile=("${CXX:-c++}" -std=c++20 "${warnings[@]}" -c)
"${compile[@]}" "${flags[@]}" "$program" -o "$place/readme.o"
"${CXX:-c++}" "$place/readme.o" -o "$place/by_pkg_config" "${libs[@]}" -Wl,-rpath,"$libraries"
runs shared "$place/by_pkg_config"
"${CXX:-c++}" "$place/readme.o" -o "$place/by_pkg_config_static" -Wl,-Bstatic "${libs[@]}" -Wl,-Bdynamic
runs static "$place/by_pkg_config_static"
read -ra flags_of_formats <<<"$(pkg-config --cflags quillon-formats quillon-measures)"
read -ra libs_of_formats <<<"$(pkg-config --libs quillon-formats quillon-measures)"
"${compile[@]}" "${flags_of_formats[@]}" "$place/formats.cpp" -o "$place/formats.o"
link=("${CXX:-c++}" "$place/formats.o")
"${link[@]}" -o "$place/formats_by_pkg_config" "${libs_of_formats[@]}" -Wl,-rpath,"$libraries"
measures shared "$place/formats_by_pkg_config"
"${link[@]}" -o "$place/formats_by_pkg_config_static" -Wl,-Bstatic "${libs_of_formats[@]}" -Wl,-Bdynamic -lz -lzstd
measures static "$place/formats_by_pkg_config_static"
echo "pkg-config: shared and static"

cmake -G Ninja -S "$source_dir/examples" -B "$place/examples" -D CMAKE_PREFIX_PATH="$prefix" \
  -D CMAKE_CXX_FLAGS="${warnings[*]}" >/dev/null
cmake --build "$place/examples" >"$place/log" || { cat "$place/log"; fail "the examples do not build"; }
"$source_dir/tests/build/run_examples.sh" "$source_dir" "$place/examples"

if [ -x "$prefix/libexec/quillon/quillon-metis" ]; then
  "$prefix/bin/quillon" partition "$source_dir/data/davis.qhg" -k 2 -o "$place/parts" --engine metis >"$place/log" 2>&1 ||
    { cat "$place/log"; fail "the installed tool does not find the installed engine"; }
fi

# The libraries export only what the headers declare, and one does not contain the other.
for library in util hypergraph formats measures; do
  nm -DC --defined-only "$libraries/libquillon_$library.so" | sed -E '/ A /d; s/^[0-9a-f]+ . //; s/@@QUILLON_1$//' |
    LC_ALL=C sort | diff "$source_dir/tests/build/exported/$library.txt" - || fail "$library shows other symbols"
done
program=$source_dir/tests/build/consumer/own_util.cpp
"${CXX:-c++}" -std=c++20 "${warnings[@]}" "${flags[@]}" "$program" -o "$place/own_util" \
  -Wl,-Bstatic "${libs[@]}" -Wl,-Bdynamic
[ "$("$place/own_util")" = "$(printf '\n Nets[   1] = {   1(W=  1),    2(W=  1), }\n5 blocks taken, 5 returned')" ] ||
  fail "a utility layer of one's own does not take the place of the installed one"
echo "symbols: as declared"
