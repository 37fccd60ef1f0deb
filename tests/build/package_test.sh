#!/usr/bin/env bash
# Builds the Debian packages, checks them with lintian, and installs, uses and removes them in a fresh Debian 12. Run by
# hand, as root: it needs a mirror, debootstrap and lintian, in addition to the needs of packaging/build.sh.
# Usage: package_test.sh [BUILD_FOLDER]; the folder as for packaging/build.sh
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/fresh_root.sh"

files() {  # every file of the root except the data of dpkg, apt and ldconfig, and our own folder
  (cd "$root" && find . -xdev \( -path ./proc -o -path ./var -o -path ./quillon -o -path ./tmp -o \
    -path ./etc/ld.so.cache \) -prune -o -print | LC_ALL=C sort)
}

"$source_dir/packaging/build.sh" "$place/packages" "$@"
lintian --fail-on error,warning "$place"/packages/*.deb | tee "$place/tags"
[ ! -s "$place/tags" ] || fail "lintian is not content"
packages=(libquillon libquillon-dev quillon)

make_root
mkdir -p "$root/quillon/tests/build"
cp -r "$place/packages" "$source_dir"/{data,examples,README.md,docs,python} "$root/quillon"
cp "$source_dir/tests/build/run_examples.sh" "$root/quillon/tests/build"

# The tool and the libraries it links, on a system without the others.
quietly "there is no mirror" inside apt-get update -qq
apt_install libfmt9 libpng16-16 libzstd1 zlib1g
files >"$place/before"
quietly "the tool does not install" inside bash -c 'dpkg -i /quillon/packages/{libquillon,quillon}_*.deb'
[ "$(inside quillon check /quillon/data/davis.qhg)" = \
  "/quillon/data/davis.qhg: ok, 18 cells, 14 nets, 89 pins, not symmetric" ] || fail "the installed tool does not work"
inside ldd /usr/bin/quillon | grep '=> /lib/x86_64-linux-gnu/libquillon_hypergraph\.so\.1 ' >/dev/null ||
  fail "the tool uses other libraries"
quietly "the tool does not go" inside dpkg --purge quillon libquillon
files | diff "$place/before" - || fail "something is left of the tool"
echo "quillon: installed, ran, removed"

# The library, for programs.
apt_install g++ cmake make pkg-config
files >"$place/before"
quietly "not all installs" inside bash -c 'dpkg -i /quillon/packages/{libquillon,libquillon-dev,quillon}_*.deb'
quietly "the examples do not build" inside bash -c 'set -e
  cmake -S /usr/share/doc/libquillon-dev/examples -B /quillon/build
  cmake --build /quillon/build'
inside bash /quillon/tests/build/run_examples.sh /quillon /quillon/build
quietly "the README's program" inside bash -c 'set -e
  awk "/^\`\`\`cpp\$/ { inside = 1; next } /^\`\`\`\$/ { inside = 0 } inside" /quillon/README.md >/quillon/readme.cpp
  g++ -std=c++20 $(pkg-config --cflags quillon) /quillon/readme.cpp -o /quillon/readme $(pkg-config --libs quillon)
  /quillon/readme /quillon/data/davis.qhg'
grep -q '^H(18, 14, 89) ' "$place/log" || fail "the README's program prints something else"
quietly "not all goes" inside dpkg --purge "${packages[@]}"
files | diff "$place/before" - || fail "something is left of the packages"
echo "libquillon-dev: installed, built the examples, removed"

# The engines, with the libraries that they name, run by the tool that finds them where they are installed.
apt_install "/quillon/packages/{libquillon,quillon,quillon-metis,quillon-ptscotch}_*.deb"
for engine in metis ptscotch; do
  quietly "$engine makes no partition" inside quillon partition /quillon/data/davis.qhg -k 2 -o /tmp/parts \
    --engine $engine --limit epsilon=0.12
  grep -q '^cut  ' "$place/log" || fail "$engine is not evaluated"
  [ "$(wc -l <"$root/tmp/parts")" -eq 18 ] || fail "$engine gives no part for each cell"
done
quietly "PT-Scotch does not run on two ranks" inside quillon partition /quillon/data/lesmis.qhg -k 2 -o /tmp/parts \
  --ranks 2
quietly "quillon-ptscotch64 misses libraries" inside ldd /usr/libexec/quillon/quillon-ptscotch64
! grep 'not found' "$place/log" || fail "quillon-ptscotch64 misses libraries"
quietly "there is no hMETIS file" inside quillon convert /quillon/data/davis.qhg /tmp/davis.hgr
quietly "there is no page of a partition" inside quillon partition /tmp/davis.hgr -k 2 -o /tmp/davis.part \
  --limit epsilon=0.12 --report /tmp/davis.html
grep -q '<svg' "$root/tmp/davis.html" || fail "the page of a partition has no charts"
echo "quillon-ptscotch, quillon-metis: installed, ran"

# The Python package: imported from a folder that does not hold it, and then as its document shows it.
apt_install "/quillon/packages/python3-quillon_*.deb"
[ "$(inside bash -c 'cd /tmp && python3 -c "import quillon; print(quillon.read(\"/quillon/data/davis.qhg\"))"')" = \
  "<Hypergraph: 18 cells, 14 nets, 89 pins>" ] || fail "the Python package does not work"
apt_install python3-scipy python3-networkx
quietly "docs/python.md is wrong" inside bash -c 'cd /quillon && python3 -m doctest docs/python.md'
quietly "Python makes no partition" inside python3 -c '
import quillon
h = quillon.read("/quillon/data/davis.qhg")
for engine in ("metis", "ptscotch"):
    parts = h.partition(2, engine=engine, epsilon=0.12)
    assert h.evaluate(parts, k=2, limits={"epsilon": 0.12}).within_limits'
quietly "the Python package does not go" inside dpkg --purge python3-quillon
echo "python3-quillon: installed, ran, removed"
