#!/usr/bin/env bash
# Builds and installs the Python package in a fresh Debian 12 by the command of the README, and as a wheel. Run by hand,
# as root: it needs a mirror and debootstrap.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/fresh_root.sh"

make_root
mkdir "$root/quillon"
git -C "$source_dir" archive HEAD | tar -x -C "$root/quillon"

try() {  # the package as installed, from a folder that does not hold it
  [ "$(inside bash -c 'cd /tmp && python3 -c "import quillon; print(quillon.read(\"/quillon/data/davis.qhg\"))"')" = \
    "<Hypergraph: 18 cells, 14 nets, 89 pins>" ] || fail "the package does not work"
}

quietly "scripts/python.sh fails" inside /quillon/scripts/python.sh
try
quietly "docs/python.md is wrong" inside bash -c 'cd /quillon && python3 -m doctest docs/python.md'
echo "scripts/python.sh: installed, ran the document"

quietly "the package does not go" inside python3 -m pip uninstall --break-system-packages -y quillon
quietly "there is no wheel" inside bash -c 'cd /quillon &&
  python3 -m pip wheel . --no-build-isolation --no-deps --no-index --wheel-dir /tmp/wheels'
quietly "the wheel does not install" inside bash -c \
  'python3 -m pip install --break-system-packages --no-index /tmp/wheels/quillon-*.whl'
try
echo "wheel: installed, ran"
