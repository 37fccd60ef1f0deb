#!/usr/bin/env python3
"""Reads the #include lines of all sources and fails when one points to a later layer.

layers_test.py SOURCE_DIR
"""

import re
import sys
from pathlib import Path

# A source may include headers of its own layer and of the layers before it.
LAYERS = ["util", "hypergraph", "formats", "measures", "engines", "tools/operations", "tools/cli", "tools/report",
          "tools/commands", "tools", "python", "oracle", "examples", "tests", "bench", "fuzz"]

# Headers of libraries that only some sources may include.
CONFINED = {
    "CLI/": {"tools/cli/options.cpp", "tools/cli/program.cpp"},
    "nlohmann/": {"oracle/hif.cpp", "tools/report/json_report.cpp", "tools/report/lint_json.cpp"},
}

# Exceptions to the order, each with its reason.
BARRED = {
    "examples": ["hypergraph/detail", "formats", "measures", "tools"],  # programs such as users of the library write
    "oracle": ["hypergraph/detail", "formats", "measures", "tools"],  # shares no code with what it is compared to
    "measures": ["formats"],  # programs that only measure need no zlib
}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def layer_of(path):
    """The layer of a path such as tools/cli/help.h, None if it has none."""
    return next((layer for layer in sorted(LAYERS, key=len, reverse=True) if path.startswith(layer + "/")), None)


def faults_of(path, text):
    own = layer_of(path)
    for number, line in enumerate(text.splitlines(), 1):
        if not (match := INCLUDE.match(line)):
            continue
        quote, header = match.groups()
        other = layer_of(header) if quote == '"' else None
        if own and other and LAYERS.index(other) > LAYERS.index(own):
            yield f"{path}:{number}: {own}/ must not include {header}: {other}/ is a later layer"
        for barred in BARRED.get(own, []):
            if quote == '"' and header.startswith(barred + "/"):
                yield f"{path}:{number}: {own}/ must not include {header}"
        for prefix, sources in CONFINED.items():
            if header.startswith(prefix) and path not in sources and own not in ("tests", "bench", "fuzz"):
                yield f"{path}:{number}: only {', '.join(sorted(sources))} may include {header}"


def sources_of(folder):
    for layer in dict.fromkeys(layer.split("/")[0] for layer in LAYERS):
        yield from (path for path in sorted((folder / layer).rglob("*")) if path.suffix in (".h", ".cpp"))


def main():
    # The check must find these errors.
    planted = list(faults_of("formats/planted.cpp", '#include "tools/cli/help.h"\n#include <CLI/CLI.hpp>\n'))
    assert len(planted) == 2, planted
    assert not list(faults_of("tools/commands/planted.cpp", '#include "formats/sink.h"\n#include <vector>\n'))

    folder = Path(sys.argv[1])
    sources = list(sources_of(folder))
    assert len(sources) > 100, f"{folder} has no sources"
    faults = [fault for path in sources for fault in faults_of(str(path.relative_to(folder)), path.read_text())]
    print("\n".join(faults) or f"layers: the includes of {len(sources)} sources point one way")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
