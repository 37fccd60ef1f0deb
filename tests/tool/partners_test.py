#!/usr/bin/env python3
"""Other programs read the output of `quillon convert`, and it reads theirs.

partners_test.py TOOL; exits with 77 (skipped) if a program is missing.
"""

import importlib
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77
PACKAGES = {"scipy": "python3-scipy", "jsonschema": "python3-jsonschema", "networkx": "python3-networkx"}
PROGRAMS = {"graphchk": "metis"}

# The Hypergraph Interchange Format 0.1.0.
ATTRIBUTES = {"type": "object"}
NAME = {"type": ["string", "integer"]}
WEIGHT = {"type": "number"}


def record_of(required, optional):
    return {
        "type": "object",
        "properties": {**required, **optional},
        "required": sorted(required),
        "additionalProperties": False,
    }


HIF = {
    "$schema": "https://json-schema.org/draft/2020-12/schema",
    **record_of(
        {
            "incidences": {
                "type": "array",
                "items": record_of(
                    {"edge": NAME, "node": NAME},
                    {"weight": WEIGHT, "direction": {"enum": ["head", "tail"]}, "attrs": ATTRIBUTES},
                ),
            }
        },
        {
            "nodes": {
                "type": "array",
                "items": record_of({"node": NAME}, {"weight": WEIGHT, "attrs": ATTRIBUTES}),
            },
            "edges": {
                "type": "array",
                "items": record_of({"edge": NAME}, {"weight": WEIGHT, "attrs": ATTRIBUTES}),
            },
            "network-type": {"enum": ["undirected", "directed", "asc"]},
            "metadata": {"type": "object"},
        },
    ),
}


class Hypergraph:
    """Cells from 1 and nets from 0, as lists."""

    def __init__(self, ncells, nets, net_weights=None, cell_weights=None):
        self.ncells = ncells
        self.nets = nets
        self.net_weights = net_weights or [1] * len(nets)
        self.cell_weights = cell_weights or [1] * ncells

    def hmetis(self):
        lines = [f"{len(self.nets)} {self.ncells} 11"]
        lines += [" ".join(map(str, [w] + net)) for w, net in zip(self.net_weights, self.nets)]
        lines += map(str, self.cell_weights)
        return "\n".join(lines) + "\n"

    def __eq__(self, other):
        return vars(self) == vars(other)

    def __repr__(self):
        return f"{vars(self)}"


def random_hypergraph(rng, weighted=True):
    """With empty nets, nets of one pin, repeated pins and cells without nets."""
    ncells = rng.choice([1, 2, 5, 40])
    sizes = [rng.choice([0, 1, 2, 3, 6]) for _ in range(rng.choice([0, 1, 30]))]
    nets = [[rng.randint(1, ncells) for _ in range(size)] for size in sizes]
    if not weighted:
        return Hypergraph(ncells, nets)
    net_weights = [rng.randint(0, 9) for _ in nets]
    return Hypergraph(ncells, nets, net_weights, [rng.randint(0, 9) for _ in range(ncells)])


def parse_quillon(text):
    """Counts by the lines of numbers, without comments."""
    lines = [line.split() for line in text.splitlines() if not line.startswith("%")]
    first, ncells, nnets, npins, fmt = map(int, lines[0])
    nets = [list(map(int, line)) for line in lines[1 : nnets + 1]]
    net_weights = [net.pop(0) for net in nets] if fmt & 2 else None
    nets = [[cell + 1 - first for cell in net] for net in nets]
    assert sum(map(len, nets)) == npins
    words = [word for line in lines[nnets + 1 :] for word in line]
    cell_weights = list(map(int, words[:ncells])) if fmt & 1 else None
    return Hypergraph(ncells, nets, net_weights, cell_weights)


class Partners(unittest.TestCase):
    tool = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="quillon-partners-")
        self.addCleanup(self.folder.cleanup)
        self.rng = random.Random(self.id())

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def read(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def run_tool(self, *arguments):
        command = [self.tool, "convert", *arguments]
        return subprocess.run(command, cwd=self.folder.name, capture_output=True, text=True, check=False)

    def convert(self, *arguments):
        outcome = self.run_tool(*arguments)
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        return outcome

    def converted(self, name, *options):
        """The hypergraph of the file after conversion to our own format."""
        self.convert(name, "converted.qhg", *options)
        return parse_quillon(self.read("converted.qhg"))


class MatrixMarket(Partners):
    def random_matrix(self, field, square):
        import numpy
        import scipy.sparse

        nrows = self.rng.choice([1, 3, 12])
        ncolumns = nrows if square else self.rng.choice([1, 4, 9])
        places = sorted(
            {
                (self.rng.randrange(nrows), self.rng.randrange(ncolumns))
                for _ in range(self.rng.choice([0, 2, nrows * ncolumns // 3]))
            }
        )
        values = {
            "integer": lambda: self.rng.randint(1, 99),
            "pattern": lambda: 1,
            "real": lambda: self.rng.uniform(-1, 1) * 10 ** self.rng.randint(-200, 200),
            "complex": lambda: complex(self.rng.uniform(-1, 1), self.rng.uniform(1, 2)),
        }
        kind = {"integer": numpy.int64, "pattern": numpy.int64, "real": float, "complex": complex}[field]
        data = numpy.array([values[field]() for _ in places], dtype=kind)
        rows = numpy.array([row for row, _ in places], dtype=int)
        columns = numpy.array([column for _, column in places], dtype=int)
        return scipy.sparse.coo_matrix((data, (rows, columns)), shape=(nrows, ncolumns))

    def symmetric(self, matrix, symmetry):
        """Both triangles, of values that never add up to 0."""
        import scipy.sparse

        lower = scipy.sparse.tril(matrix, -1 if symmetry == "skew-symmetric" else 0).tocoo()
        below = scipy.sparse.tril(lower, -1).tocoo()
        if symmetry == "hermitian":
            lower.data = lower.data.copy()
            lower.data[lower.row == lower.col] = 2
        above = {"symmetric": below.T, "skew-symmetric": -below.T, "hermitian": below.conj().T}[symmetry]
        return (lower + above).tocoo()

    @staticmethod
    def entries(matrix):
        return set(zip(map(int, matrix.row), map(int, matrix.col)))

    def expect_models(self, name, matrix):
        nrows, ncolumns = matrix.shape
        entries = self.entries(matrix)
        rows = [{column + 1 for row, column in entries if row == k} for k in range(nrows)]
        columns = [{row + 1 for row, column in entries if column == k} for k in range(ncolumns)]

        by_row = self.converted(name)
        self.assertEqual((by_row.ncells, [set(net) for net in by_row.nets]), (ncolumns, rows))
        by_column = self.converted(name, "--model", "column-net")
        self.assertEqual((by_column.ncells, [set(net) for net in by_column.nets]), (nrows, columns))
        for result in (by_row, by_column):
            self.assertEqual(sum(map(len, result.nets)), len(entries))

        fine = self.converted(name, "--model", "fine-grain")
        self.assertEqual((fine.ncells, len(fine.nets)), (len(entries), nrows + ncolumns))
        self.assertEqual([len(net) for net in fine.nets], [len(net) for net in rows + columns])
        places = {
            (row, column)
            for row in range(nrows)
            for column in range(ncolumns)
            if set(fine.nets[row]) & set(fine.nets[nrows + column])
        }
        self.assertEqual(places, entries)

    def test_reads_every_field_and_symmetry_that_scipy_writes(self):
        import scipy.io

        banners = set()
        for field in ("pattern", "integer", "real", "complex"):
            for symmetry in ("general", "symmetric", "skew-symmetric", "hermitian"):
                if (field, symmetry) == ("pattern", "skew-symmetric"):
                    continue
                if symmetry == "hermitian" and field != "complex":
                    continue
                for _ in range(3):
                    matrix = self.random_matrix(field, symmetry != "general")
                    if symmetry != "general":
                        matrix = self.symmetric(matrix, symmetry)
                    with self.subTest(field=field, symmetry=symmetry, matrix=matrix):
                        scipy.io.mmwrite(
                            self.path("a.mtx"), matrix, comment="of scipy\n", field=field, symmetry=symmetry
                        )
                        banners.add(tuple(self.read("a.mtx").split("\n", 1)[0].split()[3:]))
                        self.expect_models("a.mtx", matrix)
        self.assertEqual(len(banners), 12)

    def test_scipy_reads_what_is_written(self):
        import scipy.io

        for k in range(12):
            hypergraph = random_hypergraph(self.rng, weighted=False)
            self.write("a.hgr", hypergraph.hmetis())
            pins = {(j, cell - 1) for j, net in enumerate(hypergraph.nets) for cell in net}
            for model in ("row-net", "column-net"):
                with self.subTest(k=k, model=model):
                    self.convert("a.hgr", "a.mtx", "--model", model)
                    information = scipy.io.mminfo(self.path("a.mtx"))
                    self.assertEqual(information[2:], (len(pins), "coordinate", "pattern", "general"))
                    matrix = scipy.io.mmread(self.path("a.mtx"))
                    matrix = matrix if model == "row-net" else matrix.T
                    self.assertEqual(matrix.shape, (len(hypergraph.nets), hypergraph.ncells))
                    self.assertEqual(matrix.nnz, len(pins))
                    self.assertEqual(self.entries(matrix.tocoo()), pins)

    def test_adds_the_diagonal_as_scipy_does(self):
        import scipy.io
        import scipy.sparse

        for k in range(4):
            matrix = self.random_matrix("integer", True)
            with self.subTest(k=k, matrix=matrix):
                scipy.io.mmwrite(self.path("a.mtx"), matrix)
                whole = (matrix + scipy.sparse.identity(matrix.shape[0])).tocoo()
                rows = [set() for _ in range(whole.shape[0])]
                for row, column in self.entries(whole):
                    rows[row].add(column + 1)
                result = self.converted("a.mtx", "--diagonal")
                self.assertEqual([set(net) for net in result.nets], rows)
                self.assertEqual(sum(map(len, result.nets)), whole.nnz)


class Metis(Partners):
    """Graphs as {(u, v): weight} with u < v."""

    def random_graph(self):
        nvertices = self.rng.choice([2, 6, 30])  # graphchk refuses graphs without edges
        edges = {}
        for _ in range(self.rng.choice([1, 2 * nvertices])):
            u, v = sorted(self.rng.sample(range(1, nvertices + 1), 2))
            edges[u, v] = self.rng.randint(1, 9)
        return nvertices, edges

    @staticmethod
    def text(nvertices, edges, sizes, nweights, edge_weights, weights):
        fmt = f"{sizes:d}{nweights > 0:d}{edge_weights:d}"
        lines = [f"{nvertices} {len(edges)} {fmt}" + (f" {nweights}" if nweights > 1 else "")]
        for u in range(1, nvertices + 1):
            numbers = [4] * sizes + weights[u - 1][:nweights]
            for (a, b), w in edges.items():
                if u in (a, b):
                    numbers += [a + b - u] + [w] * edge_weights
            lines.append(" ".join(map(str, numbers)))
        return "\n".join(lines) + "\n"

    def graphchk(self, text):
        """Whether graphchk accepts the file, and the numbers of vertices and edges that it reads."""
        self.write("a.graph", text)
        outcome = subprocess.run(
            ["graphchk", self.path("a.graph")], capture_output=True, text=True, check=False, timeout=60
        )
        words = outcome.stdout.replace(",", " ").split()
        counts = [int(words[k + 1]) for k, word in enumerate(words) if word in ("#Vertices:", "#Edges:")]
        sound = outcome.returncode == 0 and "The format of the graph is correct!" in outcome.stdout
        return sound, counts, outcome.stdout

    def test_agrees_on_sound_graphs(self):
        for k in range(16):
            nvertices, edges = self.random_graph()
            sizes, edge_weights = k % 2, k // 2 % 2
            nweights = k // 4 % 4
            if (sizes, nweights, edge_weights) == (1, 0, 0):
                continue  # format 100 has another layout
            weights = [[self.rng.randint(0, 9) for _ in range(nweights)] for _ in range(nvertices)]
            text = self.text(nvertices, edges, sizes, nweights, edge_weights, weights)
            with self.subTest(text=text):
                sound, counts, said = self.graphchk(text)
                self.assertTrue(sound, said)
                result = self.converted("a.graph")
                self.assertEqual(counts, [result.ncells, len(result.nets)], said)
                self.assertEqual(
                    {tuple(net): w for net, w in zip(result.nets, result.net_weights)},
                    {edge: w if edge_weights else 1 for edge, w in edges.items()},
                )
                self.assertEqual(
                    result.cell_weights, [w[0] for w in weights] if nweights else [1] * nvertices
                )

    def test_graphchk_accepts_what_is_written(self):
        for k in range(16):
            nvertices, edges = self.random_graph()
            nets = [list(self.rng.sample(edge, 2)) for edge in edges for _ in range(self.rng.choice([1, 1, 3]))]
            self.rng.shuffle(nets)
            net_weights = [self.rng.randint(1, 9) if k & 1 else 1 for _ in nets]
            cell_weights = [self.rng.randint(0, 9) if k & 2 else 1 for _ in range(nvertices)]
            merged = {edge: 0 for edge in edges}
            for net, weight in zip(nets, net_weights):
                merged[tuple(sorted(net))] += weight
            hypergraph = Hypergraph(nvertices, nets, net_weights, cell_weights)
            with self.subTest(hypergraph=hypergraph):
                self.write("b.hgr", hypergraph.hmetis())
                self.convert("b.hgr", "b.graph")
                sound, counts, said = self.graphchk(self.read("b.graph"))
                self.assertTrue(sound, said)
                self.assertEqual(counts, [nvertices, len(edges)], said)
                result = self.converted("b.graph")
                self.assertEqual(
                    {tuple(net): w for net, w in zip(result.nets, result.net_weights)}, merged
                )
                self.assertEqual(result.cell_weights, cell_weights)

    def test_refuses_what_graphchk_refuses(self):
        broken = {
            "edges that each stand on one line only": "3 2\n2 3\n1\n2\n",
            "an edge on one line only": "3 2\n2\n1 3\n\n",
            "an edge with two weights": "2 1 001\n2 5\n1 6\n",
            "a vertex beside itself": "2 2\n1 2\n1 2\n",
            "an edge twice": "2 2\n2 2\n1 1\n",
            "more edges than announced": "3 1\n2 3\n1 3\n1 2\n",
            "fewer edges than announced": "3 3\n2\n1 3\n2\n",
            "a vertex out of range": "2 1\n3\n1\n",
            "a vertex 0": "2 1\n2\n0\n",
            "a negative weight": "2 1 011\n-1 2 5\n1 1 5\n",
            "a header of one number": "2\n2\n1\n",
            "a format of other digits": "2 1 112\n2\n1\n",
            "a missing line": "3 1\n2\n1\n",
        }
        for what, text in broken.items():
            with self.subTest(what):
                sound, _, said = self.graphchk(text)
                self.assertFalse(sound, said)
                outcome = self.run_tool("a.graph", "a.qhg")
                self.assertEqual(outcome.returncode, 1)
                self.assertTrue(outcome.stderr.startswith("quillon: a.graph:"), outcome.stderr)
                self.assertFalse(os.path.exists(self.path("a.qhg")))


class Hif(Partners):
    def validator(self):
        import jsonschema

        jsonschema.Draft202012Validator.check_schema(HIF)
        return jsonschema.Draft202012Validator(HIF)

    def errors(self, document):
        return [error.message for error in self.validator().iter_errors(document)]

    def test_what_is_written_is_valid(self):
        for k in range(16):
            hypergraph = random_hypergraph(self.rng)
            with self.subTest(k=k, hypergraph=hypergraph):
                self.write("a.hgr", hypergraph.hmetis())
                self.convert("a.hgr", "a.json")
                document = json.loads(self.read("a.json"))
                self.assertEqual(self.errors(document), [])
                self.assertEqual(
                    [(node["node"], node.get("weight", 1)) for node in document["nodes"]],
                    list(enumerate(hypergraph.cell_weights, 1)),
                )
                self.assertEqual(
                    [(edge["edge"], edge.get("weight", 1)) for edge in document["edges"]],
                    list(enumerate(hypergraph.net_weights, 1)),
                )
                self.assertEqual(
                    [(pin["edge"], pin["node"]) for pin in document["incidences"]],
                    [(j, cell) for j, net in enumerate(hypergraph.nets, 1) for cell in net],
                )

    def test_names_of_any_kind_stay_valid_and_the_same(self):
        names = ["", "a", " b ", 'say "x"', "back\\slash", "tab\tand\nline", "\u00e9\U0001d11e", "\x01"]
        names += ["1", 1, -5, 0]
        nodes = self.rng.sample(names, len(names))
        edges = self.rng.sample(names, len(names))
        incidences = [
            {"edge": self.rng.choice(edges), "node": self.rng.choice(nodes)} for _ in range(3 * len(names))
        ]
        incidences.sort(key=lambda pin: edges.index(pin["edge"]))
        document = {
            "network-type": "undirected",
            "nodes": [{"node": node} for node in nodes],
            "edges": [{"edge": edge} for edge in edges],
            "incidences": incidences,
        }
        for escaped in (True, False):
            with self.subTest(escaped=escaped):
                self.write("a.json", json.dumps(document, ensure_ascii=escaped))
                self.convert("a.json", "b.json")
                self.convert("a.json", "a.qhg", "--labels", "names")
                self.convert("a.qhg", "c.json", "--labels", "names")
                for name in ("b.json", "c.json"):
                    written = json.loads(self.read(name))
                    self.assertEqual(self.errors(written), [])
                    self.assertEqual(written, document)

    def test_refuses_what_the_schema_refuses(self):
        pin = {"edge": 1, "node": 1}
        valid = [
            {"incidences": []},
            {"incidences": [pin], "network-type": "asc", "metadata": {"a": [1]}},
            {"incidences": [{**pin, "weight": 1.5, "direction": "head", "attrs": {"weight": None}}]},
            {"incidences": [], "nodes": [{"node": "a", "weight": 2, "attrs": {}}], "edges": [{"edge": -1}]},
        ]
        broken = [
            [],
            {},
            {"nodes": [], "edges": []},
            {"incidences": {}},
            {"incidences": [1]},
            {"incidences": [{"edge": 1}]},
            {"incidences": [{"node": 1}]},
            {"incidences": [{**pin, "node": 1.5}]},
            {"incidences": [{**pin, "edge": None}]},
            {"incidences": [{**pin, "edge": True}]},
            {"incidences": [{**pin, "edge": [1]}]},
            {"incidences": [{**pin, "weight": "1"}]},
            {"incidences": [{**pin, "direction": "up"}]},
            {"incidences": [{**pin, "attrs": []}]},
            {"incidences": [{**pin, "colour": 1}]},
            {"incidences": [], "nodes": {}},
            {"incidences": [], "nodes": ["a"]},
            {"incidences": [], "nodes": [{"weight": 1}]},
            {"incidences": [], "nodes": [{"node": 1, "edge": 1}]},
            {"incidences": [], "nodes": [{"node": 1, "weight": None}]},
            {"incidences": [], "edges": [{"edge": 1, "direction": "head"}]},
            {"incidences": [], "edges": [{"edge": 1.25}]},
            {"incidences": [], "network-type": "simple"},
            {"incidences": [], "network-type": 1},
            {"incidences": [], "metadata": []},
            {"incidences": [], "version": "0.1.0"},
        ]
        for document in valid + broken:
            with self.subTest(document=document):
                self.write("a.json", json.dumps(document))
                outcome = self.run_tool("a.json", "a.qhg")
                self.assertEqual(self.errors(document) == [], document in valid)
                self.assertEqual(outcome.returncode, 0 if document in valid else 1, outcome.stderr)


class Networkx(Partners):
    @staticmethod
    def ncomponents(hypergraph):
        """Components of cells and nets joined by pins, by merging sets; an empty net is a component."""
        leader = list(range(hypergraph.ncells + 1))

        def find(cell):
            while leader[cell] != cell:
                cell = leader[cell]
            return cell

        for net in hypergraph.nets:
            for cell in net[1:]:
                leader[find(cell)] = find(net[0])
        nempty = sum(not net for net in hypergraph.nets)
        return nempty + sum(leader[cell] == cell for cell in range(1, hypergraph.ncells + 1))

    @staticmethod
    def star_graph(document):
        import networkx

        graph = networkx.MultiGraph()
        graph.add_nodes_from((("node", node["node"]) for node in document["nodes"]), bipartite=0)
        graph.add_nodes_from((("edge", edge["edge"]) for edge in document["edges"]), bipartite=1)
        graph.add_edges_from((("edge", pin["edge"]), ("node", pin["node"])) for pin in document["incidences"])
        return graph

    def test_counts_the_same_star_graph(self):
        import networkx

        for k in range(16):
            hypergraph = random_hypergraph(self.rng)
            with self.subTest(k=k, hypergraph=hypergraph):
                self.write("a.hgr", hypergraph.hmetis())
                result = self.converted("a.hgr")
                self.assertEqual(result, hypergraph)
                self.convert("converted.qhg", "a.json")
                graph = self.star_graph(json.loads(self.read("a.json")))

                nnodes = sum(side == 0 for _, side in graph.nodes(data="bipartite"))
                self.assertEqual(nnodes, result.ncells)
                self.assertEqual(graph.number_of_nodes() - nnodes, len(result.nets))
                self.assertEqual(graph.number_of_edges(), sum(map(len, result.nets)))
                self.assertTrue(networkx.is_bipartite(graph))
                self.assertEqual(networkx.number_connected_components(graph), self.ncomponents(result))
                self.assertEqual(
                    [graph.degree(("node", cell)) for cell in range(1, result.ncells + 1)],
                    [sum(net.count(cell) for net in result.nets) for cell in range(1, result.ncells + 1)],
                )

    def test_reads_the_graphs_that_it_counts(self):
        """Bipartite graphs of networkx as hypergraphs: one side is nets, the other cells."""
        import networkx

        for seed in range(6):
            with self.subTest(seed=seed):
                graph = networkx.bipartite.random_graph(9, 7, 0.3, seed=seed)
                document = {
                    "nodes": [{"node": v} for v in range(9)],
                    "edges": [{"edge": v} for v in range(9, 16)],
                    "incidences": [{"edge": max(pin), "node": min(pin)} for pin in graph.edges],
                }
                self.write("a.json", json.dumps(document))
                result = self.converted("a.json")
                self.assertEqual(
                    [sorted(net) for net in result.nets],
                    [sorted(v + 1 for v in graph[net]) for net in range(9, 16)],
                )
                self.assertEqual(self.ncomponents(result), networkx.number_connected_components(graph))


class Statistics(Partners):
    """Quantiles as numpy computes them, and connected components as networkx finds them."""

    def stats(self, name):
        command = [self.tool, "stats", "--json", "--quantiles", "--components", "--keep-small-nets", name]
        return json.loads(subprocess.run(command, cwd=self.folder.name, capture_output=True, check=True).stdout)

    def assert_quantiles(self, given, values):
        import numpy

        if not values:
            self.assertEqual(set(given.values()), {None})
            return
        shares = {"minimum": 0, "lower_quartile": 0.25, "median": 0.5, "upper_quartile": 0.75, "maximum": 1}
        shares.update(percentile_90=0.9, percentile_99=0.99)
        for name, share in shares.items():
            self.assertEqual(given[name], numpy.quantile(values, share, method="inverted_cdf"), name)
        self.assertAlmostEqual(given["mean"], numpy.mean(values), 9)
        self.assertAlmostEqual(given["standard_deviation"], numpy.std(values), 9)

    def test_are_those_of_numpy_and_networkx(self):
        import networkx

        for k in range(16):
            hypergraph = random_hypergraph(self.rng)
            with self.subTest(k=k, hypergraph=hypergraph):
                self.write("a.hgr", hypergraph.hmetis())
                stats = self.stats("a.hgr")
                cells = range(1, hypergraph.ncells + 1)
                degrees = [sum(net.count(cell) for net in hypergraph.nets) for cell in cells]
                self.assert_quantiles(stats["cell_degree"]["quantiles"], degrees)
                self.assert_quantiles(stats["net_size"]["quantiles"], [len(net) for net in hypergraph.nets])
                self.assert_quantiles(stats["cell_weight"]["quantiles"], hypergraph.cell_weights)
                self.assert_quantiles(stats["net_weight"]["quantiles"], hypergraph.net_weights)

                graph = networkx.Graph()
                graph.add_nodes_from(cells)
                for net in hypergraph.nets:
                    networkx.add_path(graph, net)
                sizes = [len(component) for component in networkx.connected_components(graph)]
                self.assertEqual(stats["components"], {"count": len(sizes), "largest": max(sizes)})


def missing_packages():
    missing = [package for program, package in PROGRAMS.items() if shutil.which(program) is None]
    for module, package in PACKAGES.items():
        try:
            importlib.import_module(module)
        except ImportError:
            missing.append(package)
    return missing


def main():
    missing = missing_packages()
    if missing:
        print("SKIP: not installed: " + ", ".join(missing))
        return SKIPPED
    Partners.tool = os.path.abspath(sys.argv.pop(1))
    unittest.main()
    return 0


if __name__ == "__main__":
    sys.exit(main())
