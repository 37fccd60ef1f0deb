#!/usr/bin/env bash
# Builds the reference of the library in build/docs/html. Exported names without documentation are errors.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh docs
rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile
echo "docs: $(pwd)/build/docs/html/index.html"
