#!/usr/bin/env bash
# Builds the Debian packages, checks them with lintian, and installs, uses and removes them in a fresh Debian 12. Run by
# hand, as root: it needs a mirror, debootstrap and lintian, in addition to the needs of packaging/build.sh.
# Usage: package_test.sh [BUILD_FOLDER]; the folder as for packaging/build.sh
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
place=$(mktemp -d)
root=$place/root
trap 'rm -rf --one-file-system "$place"' EXIT

fail() {
  echo "package_test: $*" >&2
  exit 1
}

inside() {
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

files() {  # every file of the root except the data of dpkg, apt and ldconfig, and our own folder
  (cd "$root" && find . -xdev \( -path ./proc -o -path ./var -o -path ./quillon -o -path ./tmp -o \
    -path ./etc/ld.so.cache \) -prune -o -print | LC_ALL=C sort)
}

"$source_dir/packaging/build.sh" "$place/packages" "$@"
lintian --fail-on error "$place"/packages/*.deb
packages=(libquillon libquillon-dev quillon)

debootstrap --variant=minbase bookworm "$root" >"$place/log" || { cat "$place/log"; fail "there is no root"; }
mkdir -p "$root/quillon/tests/build"
cp -r "$place/packages" "$source_dir"/{data,examples,README.md} "$root/quillon"
cp "$source_dir/tests/build/run_examples.sh" "$root/quillon/tests/build"

# The tool and the libraries it links, on a system without the others.
inside bash -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends libfmt9 libpng16-16 libzstd1 zlib1g' \
  >"$place/log" 2>&1 || { cat "$place/log"; fail "the libraries that the tool needs do not install"; }
files >"$place/before"
inside bash -c 'dpkg -i /quillon/packages/libquillon_*.deb /quillon/packages/quillon_*.deb' >"$place/log" 2>&1 ||
  { cat "$place/log"; fail "the tool does not install"; }
[ "$(inside quillon check /quillon/data/davis.qhg)" = \
  "/quillon/data/davis.qhg: ok, 18 cells, 14 nets, 89 pins, not symmetric" ] || fail "the installed tool does not work"
inside ldd /usr/bin/quillon | grep '=> /lib/x86_64-linux-gnu/libquillon_hypergraph\.so\.1 ' >/dev/null ||
  fail "the tool uses other libraries"
inside dpkg --purge quillon libquillon >"$place/log" 2>&1 || { cat "$place/log"; fail "the tool does not go"; }
files | diff "$place/before" - || fail "something is left of the tool"
echo "quillon: installed, ran, removed"

# The library, for programs.
inside bash -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends g++ cmake make pkg-config' \
  >"$place/log" 2>&1 || { cat "$place/log"; fail "there is no compiler"; }
files >"$place/before"
inside bash -c 'dpkg -i /quillon/packages/{libquillon,libquillon-dev,quillon}_*.deb' >"$place/log" 2>&1 || { cat "$place/log"; fail "not all installs"; }
inside bash -c 'set -e
  cmake -S /usr/share/doc/libquillon-dev/examples -B /quillon/build
  cmake --build /quillon/build' >"$place/log" 2>&1 || { cat "$place/log"; fail "the examples do not build"; }
inside bash /quillon/tests/build/run_examples.sh /quillon /quillon/build
inside bash -c 'set -e
  awk "/^\`\`\`cpp\$/ { inside = 1; next } /^\`\`\`\$/ { inside = 0 } inside" /quillon/README.md >/quillon/readme.cpp
  g++ -std=c++20 $(pkg-config --cflags quillon) /quillon/readme.cpp -o /quillon/readme $(pkg-config --libs quillon)
  /quillon/readme /quillon/data/davis.qhg' >"$place/log" 2>&1 || { cat "$place/log"; fail "the README's program"; }
grep -q '^H(18, 14, 89) ' "$place/log" || fail "the README's program prints something else"
inside dpkg --purge "${packages[@]}" >"$place/log" 2>&1 || { cat "$place/log"; fail "not all goes"; }
files | diff "$place/before" - || fail "something is left of the packages"
echo "libquillon-dev: installed, built the examples, removed"

# The engines, with the libraries that they name. Without /proc, the tool cannot find its own folder, nor mpirun start.
inside bash -c 'apt-get install -y -qq --no-install-recommends /quillon/packages/{libquillon,quillon,quillon-*}_*.deb' \
  >"$place/log" 2>&1 || { cat "$place/log"; fail "the engines do not install"; }
inside env QUILLON_ENGINES=/usr/libexec/quillon quillon partition /quillon/data/davis.qhg -k 2 -o /quillon/parts \
  --engine metis >"$place/log" 2>&1 || { cat "$place/log"; fail "METIS does not partition"; }
grep -q '^cut  ' "$place/log" || { cat "$place/log"; fail "METIS makes no partition"; }
for program in quillon-ptscotch quillon-ptscotch64; do
  inside ldd /usr/libexec/quillon/$program >"$place/log" || fail "there is no $program"
  ! grep 'not found' "$place/log" || fail "$program misses libraries"
done
inside which mpirun >/dev/null || fail "there is no mpirun"
echo "quillon-ptscotch, quillon-metis: installed, METIS ran"

# The Python package, imported from a folder that does not hold it.
inside bash -c 'apt-get install -y -qq --no-install-recommends /quillon/packages/python3-quillon_*.deb' \
  >"$place/log" 2>&1 || { cat "$place/log"; fail "the Python package does not install"; }
[ "$(inside bash -c 'cd /tmp && python3 -c "import quillon; print(quillon.read(\"/quillon/data/davis.qhg\"))"')" = \
  "<Hypergraph: 18 cells, 14 nets, 89 pins>" ] || fail "the Python package does not work"
inside dpkg --purge python3-quillon >"$place/log" 2>&1 || { cat "$place/log"; fail "the Python package does not go"; }
echo "python3-quillon: installed, ran, removed"
