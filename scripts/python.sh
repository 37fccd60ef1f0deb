#!/usr/bin/env bash
# Builds the Python package and installs it for /usr/bin/python3: python.sh [OPTION OF PIP...]. Installs missing Debian
# packages first. Root installs it for all users, others for themselves.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/setup.sh build python
# Debian marks its interpreter as managed; this installs beside its packages, and fetches nothing.
exec /usr/bin/python3 -m pip install --break-system-packages --no-build-isolation --no-deps --no-index "$@" .
