#!/usr/bin/env python3
"""Puts the results of the benchmarks into a document: table.py RESULTS.json REUSED.json DOCUMENT.md

REUSED.json is from a run with --reuse.
The tables replace the text between the lines BEGIN and END of the document.
"""

import json
import sys

BEGIN = "<!-- measured: begin -->"
END = "<!-- measured: end -->"


def load(path):
    """The context, and {subject: {input: counters}} in the order of the runs."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    subjects = {}
    for run in results["benchmarks"]:
        subject, name = run["name"].split("/")[:2]
        if run.get("error_occurred"):
            sys.exit(f"table.py: {subject}/{name}: {run['error_message']}")
        subjects.setdefault(subject, {})[name] = run
    return results["context"], subjects


def table(head, rows):
    if not rows:
        return []
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    return lines + ["| " + " | ".join(row) + " |" for row in rows] + [""]


def section(title, note, lines):
    return [f"### {title}", "", note, ""] + lines if lines else []


def by_input(subjects, names, counter, cell):
    """A row for each subject whose runs have the counter, a column for each input."""
    rows = []
    for subject, runs in subjects.items():
        if not any(counter in run for run in runs.values()):
            continue
        label = f"`{subject.split(':')[0]}`"
        if subject.endswith(":check"):
            label += ", with checks"
        rows.append([label] + [cell(runs[name]) if name in runs else "" for name in names])
    return rows


def mega(value):
    return f"{value / 1e6:,.0f}"


def machine(context):
    memory = int(context["memory"].split()[0]) / 2**20
    return [
        f"{context['date'][:10]}; {context['cpu']}, {context['num_cpus']} cores, {memory:.0f} GiB of memory, "
        f"huge pages {context['huge_pages']}; {context['compiler']}; {int(context['cells']):,} cells, "
        f"medians of {context['rounds']} rounds.",
        "",
    ]


def comparisons(subjects, names):
    head = ["function"] + names
    evaluations = {s: runs for s, runs in subjects.items() if s.startswith("evaluate:")}
    subjects = {s: runs for s, runs in subjects.items() if s not in evaluations}
    lines = section(
        "Module and obvious form",
        "How many times as fast as the obvious form, and in brackets the module's nanoseconds per pin (per cell "
        "for part vectors).",
        table(head, by_input(subjects, names, "ratio", lambda r: f"{r['ratio']:.2f} ({r['ns_per_pin']:.1f})")),
    )
    files = {s: runs for s, runs in subjects.items() if s.startswith(("read_", "write_")) and ":cat" not in s}
    lines += section(
        "Files",
        "The module's speed in MB of the file per second.",
        table(head, by_input(files, names, "bytes_per_second", lambda r: mega(r["bytes_per_second"]))),
    )
    lines += section(
        "Evaluation of partitions",
        "How many times as long as a pass that reads every pin and the part of its cell once, and in brackets "
        "nanoseconds per pin.",
        table(["parts"] + names, [
            [f"{int(s.split(':')[1]):,}"]
            + [f"{1 / runs[n]['ratio']:.2f} ({runs[n]['ns_per_pin']:.1f})" if n in runs else "" for n in names]
            for s, runs in evaluations.items()
        ]),
    )
    return lines


def reused(subjects, names):
    return section(
        "Module and obvious form, with memory reused",
        "As above, but with memory that an earlier round freed: without the time that the system needs for fresh pages.",
        table(["function"] + names,
              by_input(subjects, names, "ratio", lambda r: f"{r['ratio']:.2f} ({r['ns_per_pin']:.1f})")),
    )


def peaks(head, subjects, names, share):
    return table(head, by_input(subjects, names, share, lambda r: (
        f"{r['peak_bytes'] / 1e6:,.1f} ({r['array_bytes'] / 1e6:,.1f}), {100 * r[share]:.0f} %")))


def bounds(subjects, names):
    head = ["function"] + names
    lines = section(
        "Writers and cat",
        "How many times as long as `cat` takes to copy the file written, and in brackets the MB per second of "
        "the writer and of `cat`.",
        table(head, by_input(subjects, names, "times_cat", lambda r: (
            f"{r['times_cat']:.2f} ({mega(r['bytes_per_second'])}, {mega(r['cat_bytes_per_second'])})"))),
    )
    lines += section(
        "Copies and memcpy",
        "How many times as long as `memcpy` of the record's four arrays into fresh memory, and in brackets the "
        "MB per second of the copy and of `memcpy`.",
        table(head, by_input(subjects, names, "times_memcpy", lambda r: (
            f"{r['times_memcpy']:.2f} ({mega(r['bytes_per_second'])}, {mega(r['memcpy_bytes_per_second'])})"))),
    )
    lines += section(
        "Memory of a read",
        "MB at the peak beyond an empty program, in brackets what the record's arrays take, and the share of the "
        "allowance (arrays, longest line and 2 MiB) that this is.",
        peaks(head, subjects, names, "of_allowance"),
    )
    return lines


def imports(subjects, names):
    head = ["importer"] + names
    lines = section(
        "Importers and `read_hypergraph`",
        "Bytes of the file per second as a multiple of those of `read_hypergraph` on a file of the same pins, both on one "
        "thread and up to the net lists; in brackets the importer's MB per second.",
        table(head, by_input(subjects, names, "times_read_hypergraph", lambda r: (
            f"{r['times_read_hypergraph']:.2f} ({mega(r['import_bytes_per_second'])})"))),
    )
    lines += section(
        "Memory of an import",
        "MB at the peak beyond an empty program, in brackets what the record's arrays take, and the share of the "
        "allowance (arrays and 64 MiB) that this is.",
        peaks(head, subjects, names, "of_import_allowance"),
    )
    lines += section(
        "Importers on two threads",
        "How many times as fast as on one.",
        table(head, by_input(subjects, names, "times_one_thread", lambda r: f"{r['times_one_thread']:.2f}")),
    )
    return lines + section(
        "Part vectors and permutations",
        "Bytes per second as a multiple of those of the hMETIS importer.",
        table(head, by_input(subjects, names, "times_hmetis", lambda r: f"{r['times_hmetis']:.2f}")),
    )


def lint(subjects, names):
    return section(
        "lint and the importers",
        "How many times as long as the importer of the format takes for the file without mistakes, both on one thread or "
        "on two, and in brackets MB per second: of clean files, and of files with a mistake in every line, matrix entry, "
        "incidence of a document, weight or vertex of a graph, or with half of the nets parallel to others. Matrices are "
        "Matrix Market files, documents HIF files, graphs METIS files with a vertex for each cell, and all others hMETIS "
        "files.",
        table(["file"] + names, by_input(subjects, names, "lint_times_importer", lambda r: (
            f"{r['lint_times_importer']:.2f} ({mega(r['lint_bytes_per_second'])})"))),
    )


def hif(subjects, names):
    speeds = lambda r: f"{r['times_module']:.2f} ({mega(r['bytes_per_second'])})"
    labels = {
        "hif:read_integers": ("HIF, integer names, read", speeds),
        "hif:read_strings": ("HIF, string names, read", speeds),
        "hif:write": ("HIF, written", speeds),
        "mtx:write": ("Matrix Market, written", speeds),
        "hif:python": ("HIF, string names, against Python's `json.load`",
                       lambda r: f"{r['times_python']:.1f} ({mega(r['bytes_per_second'])})"),
    }
    names = [name for name in names if any(name in subjects.get(s, {}) for s in labels)]
    rows = [
        [label] + [cell(subjects[s][n]) if n in subjects[s] else "" for n in names]
        for s, (label, cell) in labels.items() if s in subjects
    ]
    return section(
        "HIF and Matrix Market",
        "Bytes per second, as a multiple of those of `read_hypergraph_with_onepin_nets` and `write_hypergraph` on the "
        "same pins, and in brackets in MB per second. Reading includes the file and the record with both sides. "
        "`json.load` makes no hypergraph; its time includes the start of Python.",
        table(["what"] + names, rows))


def commands(subjects, names):
    labels = {
        "command:convert_1": "`convert` of hMETIS on one thread, against reading and writing by calls on one thread",
        "command:convert_2": "the same on two threads",
        "command:zcat": "reading hMETIS in `.gz` on two threads, against `zcat`",
    }
    rows = [
        [label] + [f"{subjects[s][n]['times_calls']:.2f} ({subjects[s][n]['command_seconds']:.3f})"
                   if n in subjects[s] else "" for n in names]
        for s, label in labels.items() if s in subjects
    ]
    lines = section("Commands as wholes", "How many times as long, and in brackets seconds.",
                    table(["what"] + names, rows))
    rows = [
        [run["label"], f"`quillon {'check' if 'graphchk' in s else 'stats'}`", f"{run['peer_seconds']:.2f}",
         f"{run['tool_seconds']:.3f}", f"{run['times_peer']:.1f}"]
        for s, runs in subjects.items() if s.startswith("peer:") for run in runs.values()
    ]
    return lines + section(
        "Peers",
        "Whole processes that read the same file: the incidence matrix of a `local` hypergraph with an eighth of the cells, "
        "or its star as a graph.",
        table(["peer", "command", "peer, s", "command, s", "times as fast"], rows))


def programs(subjects):
    rows = [
        [f"`{s.split(':')[1]}`", name, mega(r["file_bytes"]), f"{r['tool_seconds']:.3f}",
         f"{r['library_seconds']:.3f}", f"{r['times_library']:.2f}"]
        for s, runs in subjects.items() if s.startswith("tool:") for name, r in runs.items()
    ]
    lines = section("The tool", "Commands as wholes, and the library calls in them alone.",
                    table(["command", "input", "file, MB", "tool, s", "library, s", "tool / library"], rows))
    rows = [
        [f"`{name}`", f"{r['times_obvious']:.2f}", f"{r['ns_per_record']:,.0f}"]
        for name, r in subjects.get("records", {}).items()
    ]
    lines += section(
        "Small records",
        "A stream of 20,000 records of three nets, read one after another: how many times as long as the obvious form.",
        table(["function", "times as long", "ns per record"], rows))
    rows = [
        [f"{r['pins']:,.0f}", mega(r["file_bytes"]), f"{r['read_ns_per_pin']:.2f}",
         f"{r['net_list_ns_per_pin']:.2f}", f"{r['memory_ns_per_pin']:.2f}"]
        for r in subjects.get("growth", {}).values()
    ]
    return lines + section(
        "Growth",
        "Local input of growing size, nanoseconds per pin. In both functions there is the memory that they fill; the last "
        "column is what the system takes to hand out as much, cleared, to a program that does nothing else.",
        table(["pins", "file, MB", "`read_hypergraph`", "`construct_net_list`", "fresh memory"], rows))


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    context, subjects = load(sys.argv[1])
    document = sys.argv[3]
    of_functions = {s: runs for s, runs in subjects.items()
                    if s not in ("growth", "records") and not s.startswith(("peer:", "tool:"))}
    names = list(dict.fromkeys(name for runs in of_functions.values() for name in runs))
    lines = machine(context) + comparisons(subjects, names) + reused(load(sys.argv[2])[1], names)
    lines += bounds(subjects, names)
    lines += imports(subjects, names) + lint(subjects, names) + hif(subjects, names)
    lines += commands(subjects, names) + programs(subjects)

    with open(document, encoding="utf-8") as file:
        text = file.read()
    before, begin, rest = text.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        sys.exit(f"table.py: '{document}' lacks the lines {BEGIN} and {END}")
    with open(document, "w", encoding="utf-8") as file:
        file.write(before + begin + "\n\n" + "\n".join(lines) + end + after)


if __name__ == "__main__":
    main()
