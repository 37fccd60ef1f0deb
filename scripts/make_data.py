#!/usr/bin/python3
"""Regenerates the hypergraphs of data/. Needs Debian's python3-networkx."""

import pathlib
import sys

import networkx

DATA = pathlib.Path(__file__).resolve().parent.parent / "data"


def write(name, comments, ncells, nets, net_weights=None, cell_weights=None):
    """Writes a file with 1-based cell numbers and the given weights."""
    fmt = (1 if cell_weights else 0) + (2 if net_weights else 0)
    lines = ["% " + comment for comment in comments]
    npins = sum(len(pins) for pins in nets)
    lines.append(f"1 {ncells} {len(nets)} {npins}" + (f" {fmt}" if fmt else ""))
    for j, pins in enumerate(nets):
        weight = [net_weights[j]] if net_weights else []
        lines.append(" ".join(str(number) for number in weight + pins))
    if cell_weights:
        lines.append("% Cell weights")
        for start in range(0, ncells, 20):
            lines.append(" ".join(str(weight) for weight in cell_weights[start : start + 20]))
    (DATA / name).write_text("\n".join(lines) + "\n")


def davis():
    graph = networkx.davis_southern_women_graph()
    women = graph.graph["top"]
    cell = {woman: i for i, woman in enumerate(women, 1)}
    events = graph.graph["bottom"]
    nets = [sorted(cell[woman] for woman in graph[event]) for event in events]
    comment = "Davis Southern Women: 18 women (cells) at 14 events (nets)."
    write("davis.qhg", [comment], len(women), nets)
    lines = [f"% {comment}", f"{len(nets)} {len(women)}", *(" ".join(map(str, net)) for net in nets)]
    (DATA / "davis.hgr").write_text("\n".join(lines) + "\n")


def lesmis():
    graph = networkx.les_miserables_graph()
    names = list(graph)
    cell = {name: i for i, name in enumerate(names, 1)}
    edges = sorted((*sorted((cell[u], cell[v])), weight) for u, v, weight in graph.edges(data="weight"))
    comments = [
        "Les Miserables: 77 characters (cells); a net for two who meet, its weight the number of",
        "chapters they share; the weight of a cell the sum over its nets.",
    ]
    nets = [[u, v] for u, v, _ in edges]
    cell_weights = [int(graph.degree(name, weight="weight")) for name in names]
    write("lesmis.qhg", comments, len(names), nets, [int(weight) for _, _, weight in edges], cell_weights)


def mesh(side):
    def neighbours(row, column):
        around = [(row - 1, column), (row, column - 1), (row, column), (row, column + 1), (row + 1, column)]
        return [side * r + c + 1 for r, c in around if 0 <= r < side and 0 <= c < side]

    nets = [neighbours(row, column) for row in range(side) for column in range(side)]
    comments = [f"Matrix of the 5-point stencil on a {side} x {side} mesh: rows are cells, columns nets."]
    write(f"mesh{side}.qhg", comments, side * side, nets)


def main():
    davis()
    lesmis()
    mesh(24)
    return 0


if __name__ == "__main__":
    sys.exit(main())
