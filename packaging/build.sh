#!/usr/bin/env bash
# Builds the Debian packages. Needs dpkg-dev, file and the packages that "scripts/setup.sh build engines python" installs.
# Usage: build.sh OUTPUT_FOLDER [BUILD_FOLDER]; with a build folder that is kept, the next build is faster.
set -euo pipefail
[ $# -ge 1 ] || { echo "usage: build.sh OUTPUT_FOLDER [BUILD_FOLDER]" >&2; exit 2; }
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
mkdir -p "$1"
output=$(cd "$1" && pwd)
if [ $# -ge 2 ]; then
  build=$2
else
  build=$(mktemp -d)
  trap 'rm -rf "$build"' EXIT
fi

# File times in the packages come from the changelog, so that builds are reproducible.
SOURCE_DATE_EPOCH=$(date -d "$(sed -n 's/^ -- .*>  //p' "$source_dir/packaging/changelog" | head -n 1)" +%s)
export SOURCE_DATE_EPOCH
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
CXXFLAGS="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS) -ffile-prefix-map=$source_dir=."
LDFLAGS=$(dpkg-buildflags --get LDFLAGS)
export CXXFLAGS LDFLAGS

cmake -G Ninja -S "$source_dir" -B "$build" -D CMAKE_BUILD_TYPE=Release -D CMAKE_INSTALL_PREFIX=/usr \
  -D CMAKE_SKIP_INSTALL_RPATH=ON -D BUILD_SHARED_LIBS=ON -D QUILLON_STATIC_AND_SHARED=ON -D QUILLON_DEBIAN=ON \
  -D QUILLON_TOOLS=ON -D QUILLON_PYTHON=ON -D QUILLON_ENGINES=ON -D QUILLON_TESTS=OFF -D QUILLON_EXAMPLES=OFF -D QUILLON_BENCHMARKS=OFF >/dev/null
cmake --build "$build" ${JOBS:+-j "$JOBS"}
rm -rf "$build/packages"
cpack --config "$build/CPackConfig.cmake" -G DEB -B "$build/packages" >"$build/cpack.log" ||
  { cat "$build/cpack.log"; exit 1; }
rm -f "$output"/{libquillon,libquillon-dev,quillon,quillon-ptscotch,quillon-metis,python3-quillon}_*.deb
cp "$build"/packages/*.deb "$output"
ls "$output"/*.deb
