#!/usr/bin/env bash
# Installs the Debian packages that the given jobs need: setup.sh build|test|bench|..., as listed below. Tests that
# need packages of docs, partners, engines or browser are skipped with a message if these are missing.
set -euo pipefail

packages=()
for job in "$@"; do
  case "$job" in
    build)
      packages+=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev zlib1g-dev)
      packages+=(libpng-dev libfmt-dev libkainjow-mustache-dev libzstd-dev)
      ;;
    headers) packages+=(libgtest-dev libgmock-dev libbenchmark-dev python3-dev pybind11-dev) ;;  # of tests, bench, python
    test) packages+=(libgtest-dev libgmock-dev gzip zstd python3 python3-jsonschema pkg-config binutils mandoc git) ;;
    partners) packages+=(python3-scipy python3-jsonschema python3-networkx python3-igraph metis) ;;
    python)
      packages+=(python3-dev pybind11-dev python3-numpy python3-scipy python3-networkx)
      packages+=(python3-pytest python3-hypothesis mypy python3-pip python3-setuptools python3-wheel)
      ;;
    engines) packages+=(libptscotch-dev libopenmpi-dev openmpi-bin libmetis-dev zlib1g-dev) ;;
    lint) packages+=(clang-format clang-tidy cppcheck python3 git) ;;
    bench) packages+=(libbenchmark-dev python3) ;;
    fuzz) packages+=(clang libclang-rt-14-dev libgtest-dev) ;;
    browser) packages+=(chromium) ;;
    docs) packages+=(doxygen mandoc) ;;
    coverage) packages+=(gcovr) ;;
    memcheck) packages+=(valgrind) ;;
    package) packages+=(dpkg-dev file lintian debootstrap) ;;
    *) echo "setup.sh: no job is called '$job'" >&2 && exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^ii' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
