#!/usr/bin/env python3
"""The page of `quillon report` in a browser: it loads without other files, fits a phone, and shows the right numbers.

report_browser_test.py TOOL; exits with 77 (skipped) if chromium is missing.
"""

import base64
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77
QUIET = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-sync",
    "--disable-background-networking", "--disable-component-update",
]  # fmt: skip
PHONE, DESK = 390, 1200


class Browser:
    """Chromium, driven through a pair of pipes: JSON messages, each followed by a NUL."""

    def __init__(self, program):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_browser, self.to_browser = os.pipe()
        self.from_browser, from_browser = os.pipe()
        # The browser reads from descriptor 3 and writes to 4; these replace what is open there.
        self.process = subprocess.Popen(
            ["bash", "-c", 'exec 3<&$1 4>&$2; shift 2; exec "$@"', "bash", str(to_browser), str(from_browser),
             program, *QUIET, "--remote-debugging-pipe", f"--user-data-dir={self.profile.name}", "about:blank"],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        )  # fmt: skip
        os.close(to_browser)
        os.close(from_browser)
        self.messages = os.fdopen(self.from_browser, "rb")
        self.number = 0
        self.attached = None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.attached = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")

    def receive(self):
        message = bytearray()
        while (byte := self.messages.read(1)) != b"\0":
            if not byte:
                raise EOFError("the browser has ended")
            message += byte
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.attached:
            message["sessionId"] = self.attached
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive()
            if answer.get("id") != self.number:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(f"{method}: {answer['error']}")
            else:
                return answer["result"]

    def show(self, page, width, scheme="light", media=""):
        """Loads a page and returns the events of the load."""
        self.call(
            "Emulation.setDeviceMetricsOverride", width=width, height=844, deviceScaleFactor=1, mobile=width == PHONE
        )
        features = [{"name": "prefers-color-scheme", "value": scheme}]
        self.call("Emulation.setEmulatedMedia", media=media, features=features)
        self.events.clear()
        self.call("Page.navigate", url=page.as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.receive())
        return list(self.events)

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"]["value"]

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.messages.close()
        os.close(self.to_browser)
        self.profile.cleanup()


def hypergraph(seed, ncells, nnets):
    random.seed(seed)
    cells = range(1, ncells + 1)
    return ncells, [random.sample(cells, min(ncells, int(random.paretovariate(1.0)))) for _ in range(nnets)]


def as_hgr(ncells, nets):
    return f"{len(nets)} {ncells}\n" + "".join(" ".join(map(str, net)) + "\n" for net in nets)


def count(ncells, nets, parts):
    """The numbers of the page, computed independently of the tool."""
    degrees = {cell: 0 for cell in range(1, ncells + 1)}
    for net in nets:
        for cell in net:
            degrees[cell] += 1
    sizes = [len(net) for net in nets]
    spans = [len({parts[cell - 1] for cell in net}) for net in nets]
    nparts = max(parts) + 1
    return {
        "cells": ncells,
        "nets": len(nets),
        "pins": sum(sizes),
        "average-degree": sum(sizes) / ncells,
        "average-size": sum(sizes) / len(nets),
        "degree-min": min(degrees.values()),
        "degree-max": max(degrees.values()),
        "degree-zero": sum(degree == 0 for degree in degrees.values()),
        "size-min": min(sizes),
        "size-max": max(sizes),
        "cell-weight-total": ncells,
        "net-weight-total": len(nets),
        "parts": nparts,
        "cut-nets": sum(span > 1 for span in spans),
        "cut": sum(span > 1 for span in spans),
        "connectivity": sum(span - 1 for span in spans),
        "external-degrees": sum(span for span in spans if span > 1),
        "imbalance": max(map(parts.count, range(nparts))) * nparts / ncells - 1,
    }


NUMBERS = "Object.fromEntries([...document.querySelectorAll('data')].map(d => [d.id, [d.value, d.textContent]]))"
CUT = "[...document.querySelectorAll('#cut-matrix tbody tr')].map(r => [...r.cells].slice(1).map(c => c.textContent))"
MEASURES = """[...[...document.querySelectorAll('table')].find(t => t.caption?.textContent === 'Measures').tBodies[0].rows]
    .map(r => [...r.cells].map(c => c.textContent))"""
# Elements wider than the page that are not inside a scrolling element.
WIDE = """[...document.body.querySelectorAll('*')].filter(e => !e.closest('.scroll, svg')
    && e.getBoundingClientRect().right > innerWidth + .5).map(e => e.tagName)"""
# Tables wider than the place that the page gives them.
CLIPPED = """[...document.querySelectorAll('table')].filter(t => t.getBoundingClientRect().right
    > t.closest('section').getBoundingClientRect().right + .5).map(t => t.caption?.textContent)"""
# Contrast of every text with its background.
CONTRAST = """(() => {
  const rgba = c => { const n = c.match(/[\\d.]+/g).map(Number); return n.length < 4 ? [...n, 1] : n; };
  const over = (top, below) => [0, 1, 2].map(k => top[k] * top[3] + below[k] * (1 - top[3])).concat(1);
  const light = c => { const [r, g, b] = c.map(v => v / 255).map(v => v <= .04045 ? v / 12.92
    : ((v + .055) / 1.055) ** 2.4); return .2126 * r + .7152 * g + .0722 * b; };
  const behind = e => e ? over(rgba(getComputedStyle(e).backgroundColor), behind(e.parentElement))
    : [255, 255, 255, 1];
  let least = 99;
  for (const e of document.querySelectorAll('h1, h2, h3, p, dt, dd, small, th, td, caption, figcaption, summary, text')) {
    if (!e.textContent) continue;
    const style = getComputedStyle(e);
    const [a, b] = [light(rgba(e.tagName === 'text' ? style.fill : style.color)), light(behind(e))];
    least = Math.min(least, (Math.max(a, b) + .05) / (Math.min(a, b) + .05));
  }
  return least;
})()"""
UNNAMED = """[...document.querySelectorAll('svg')].filter(s => s.getAttribute('role') !== 'img'
    || !s.getAttribute('aria-labelledby').split(' ').every(id => document.getElementById(id)?.textContent)).length"""
TWICE = """(ids => ids.filter((id, k) => ids.indexOf(id) !== k))([...document.querySelectorAll('[id]')].map(e => e.id))"""
SHOWN = """Promise.all([...document.querySelectorAll('image')].map(i => { const p = new Image();
    p.src = i.href.baseVal; return p.decode().then(() => p.naturalWidth); }))"""


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder_ = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.folder_.name)
        cls.browser = Browser(CHROMIUM)

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        cls.folder_.cleanup()

    def report(self, text, parts=None, name="h.hgr", more=()):
        (self.folder / name).write_text(text)
        arguments = [name]
        if parts is not None:
            (self.folder / "h.part").write_text("\n".join(map(str, parts)) + "\n")
            arguments += ["h.part", *more]
        subprocess.run([TOOL, "report", *arguments, "-o", "page.html"], cwd=self.folder, check=True)
        return self.folder / "page.html"

    def samples(self):
        """Pages of all kinds, with their inputs."""
        ncells, nets = hypergraph(1, 300, 500)
        yield "no partition", self.report(as_hgr(ncells, nets))
        (self.folder / "other.part").write_text("\n".join(str(cell % 40) for cell in range(ncells)) + "\n")
        yield "two partitions", self.report(as_hgr(ncells, nets), [cell % 5 for cell in range(ncells)], more=["other.part"])
        nets_of_names = [{"edge": "n" * 300, "node": "c" * 300}, {"edge": "n" * 300, "node": 2}]
        yield "long names", self.report(json.dumps({"incidences": nets_of_names}), [0, 1], "h.hif")
        for nparts in (1, 8, 30, 300):
            yield f"{nparts} parts", self.report(as_hgr(ncells, nets), [cell % nparts for cell in range(ncells)])
        yield "nothing", self.report("1 0 0 0\n", name="none.qhg")
        yield "no nets", self.report("1 5 0 0\n", name="none.qhg")
        yield "no cells", self.report("1 0 2 0\n\n\n", name="none.qhg")
        yield "one pin", self.report("1 1 1 1\n1\n", name="one.qhg")
        yield "large weights", self.report("1 2 2 4 3\n2147483647 1 2\n1 1 2\n2147483647 0\n", [0, 1], "w.qhg")
        yield "a long name", self.report("1 1 1 1\n1\n", name="x" * 200 + ".qhg")

    def test_numbers_are_those_of_an_independent_count(self):
        for seed, nparts in ((1, 5), (2, 12)):
            ncells, nets = hypergraph(seed, 300, 500)
            parts = [random.randrange(nparts) for _ in range(ncells)]
            page = self.report(as_hgr(ncells, nets), parts)
            self.browser.show(page, DESK)
            numbers = self.browser.value(NUMBERS)
            for name, number in count(ncells, nets, parts).items():
                with self.subTest(name=name, seed=seed):
                    value, shown = numbers[name]
                    self.assertAlmostEqual(float(value), number, delta=1e-8 * max(1, abs(number)))
                    if isinstance(number, int):
                        self.assertEqual(shown, f"{number:,}")

    def test_cut_matrix_is_that_of_an_independent_count(self):
        ncells, nets = hypergraph(3, 200, 900)
        parts = [random.randrange(6) for _ in range(ncells)]
        self.browser.show(self.report(as_hgr(ncells, nets), parts), DESK)
        spans = [{parts[cell - 1] for cell in net} for net in nets]
        expected = [
            [f"{sum({a, b} <= s for s in spans):,}" for b in range(6)] for a in range(6)
        ]
        self.assertEqual(self.browser.value(CUT), expected)

    def test_compares_partitions_in_columns(self):
        ncells, nets = hypergraph(4, 200, 300)
        text, columns = as_hgr(ncells, nets), []
        both = [[cell % 4 for cell in range(ncells)], [cell * 7 // ncells for cell in range(ncells)]]
        (self.folder / "other.part").write_text("\n".join(map(str, both[1])) + "\n")
        self.browser.show(self.report(text, both[0], more=["other.part"]), DESK)
        shown = self.browser.value(MEASURES)
        for parts in both:
            numbers = count(ncells, nets, parts)
            columns.append([numbers[name] for name in ("parts", "cut-nets", "cut", "connectivity", "external-degrees")])
        self.assertEqual([row[0] for row in shown[:2]], ["parts", "cut nets"])
        self.assertEqual([[int(row[k].replace(",", "")) for row in shown[:5]] for k in (1, 2)], columns)

    def test_texts_of_all_charts_have_one_size(self):
        ncells, nets = hypergraph(1, 300, 500)
        for width in (PHONE, DESK):
            self.browser.show(self.report(as_hgr(ncells, nets), [cell % 300 for cell in range(ncells)]), width)
            widths = self.browser.value("[...document.querySelectorAll('svg')].map(s => s.getBoundingClientRect().width)")
            self.assertGreater(len(widths), 3)
            self.assertLess(max(widths) / min(widths), 1.05, width)

    def test_loads_without_errors_and_without_a_network(self):
        for kind, page in self.samples():
            with self.subTest(kind=kind):
                events = self.browser.show(page, DESK)
                said = [e for e in events if e["method"] in ("Log.entryAdded", "Runtime.consoleAPICalled")]
                self.assertEqual(said, [])
                self.assertFalse([e for e in events if e["method"] == "Runtime.exceptionThrown"])
                asked = [e["params"]["request"]["url"] for e in events if e["method"] == "Network.requestWillBeSent"]
                self.assertEqual([url for url in asked if not url.startswith("data:")], [page.as_uri()])
                self.assertEqual(self.browser.value(UNNAMED), 0)
                self.assertEqual(self.browser.value(TWICE), [])
                self.assertGreaterEqual(min(self.browser.value(SHOWN), default=1), 1)

    def test_fits_every_width(self):
        for kind, page in self.samples():
            for width in (320, PHONE, 700, DESK):
                with self.subTest(kind=kind, width=width):
                    self.browser.show(page, width)
                    self.assertEqual(self.browser.value(WIDE), [])
                    self.assertTrue(self.browser.value("document.documentElement.scrollWidth <= innerWidth"))

    def test_is_readable_in_light_and_dark_and_on_paper(self):
        ncells, nets = hypergraph(1, 300, 500)
        page = self.report(as_hgr(ncells, nets), [cell % 8 for cell in range(ncells)])
        backgrounds = {}
        for scheme, media in (("light", ""), ("dark", ""), ("dark", "print")):
            self.browser.show(page, DESK, scheme, media)
            self.assertGreaterEqual(self.browser.value(CONTRAST), 4.5, f"{scheme} {media}")
            backgrounds[scheme, media] = self.browser.value("getComputedStyle(document.body).backgroundColor")
        self.assertEqual(backgrounds["light", ""], "rgb(255, 255, 255)")
        self.assertNotEqual(backgrounds["dark", ""], "rgb(255, 255, 255)")
        self.assertEqual(backgrounds["dark", "print"], "rgb(255, 255, 255)")

    def test_prints(self):
        ncells, nets = hypergraph(1, 300, 500)
        self.browser.show(self.report(as_hgr(ncells, nets), [cell % 8 for cell in range(ncells)]), DESK)
        pdf = base64.b64decode(self.browser.call("Page.printToPDF", paperWidth=8.27, paperHeight=11.69)["data"])
        self.assertTrue(pdf.startswith(b"%PDF-"))
        self.assertIn(pdf.count(b"/Type /Page\n"), range(1, 6))

    def test_tables_fit_on_paper_side_by_side(self):
        ncells, nets = hypergraph(1, 300, 500)
        (self.folder / "other.part").write_text("\n".join(str(cell % 4) for cell in range(ncells)) + "\n")
        parts = [cell % 3 for cell in range(ncells)]
        page = self.report(as_hgr(ncells, nets), parts, more=["h.part", "other.part", "other.part"])
        self.browser.show(page, 700, media="print")
        self.assertEqual(self.browser.value(CLIPPED), [])
        self.assertEqual(self.browser.value("document.querySelectorAll('.stack .scroll').length"), 2)

    def test_names_are_below_their_heading(self):
        members = [{"edge": edge, "node": node} for edge in ("all of them", "some") for node in ("Ada", "Emmy", 7)]
        self.browser.show(self.report(json.dumps({"incidences": members}), [0, 1, 0], "h.hif"), DESK)
        heads = "[...document.querySelectorAll('th')].filter(h => h.textContent === 'name')"
        self.assertEqual(self.browser.value(f"{heads}.map(h => getComputedStyle(h).textAlign)"), ["left"] * 3)
        self.assertEqual(self.browser.value("document.querySelectorAll('.stack td.name').length"), 7)

    def test_names_stay_text(self):
        name = "<img src=x onerror=alert(1)>&amp;.qhg"
        self.browser.show(self.report("1 1 1 1\n1\n", name=name), DESK)
        self.assertEqual(self.browser.value("document.title"), name)
        self.assertEqual(self.browser.value("document.querySelector('h1').textContent"), name)
        self.assertEqual(self.browser.value("document.querySelectorAll('img').length"), 0)


if __name__ == "__main__":
    TOOL = str(pathlib.Path(sys.argv[1]).resolve())
    CHROMIUM = shutil.which("chromium")
    if CHROMIUM is None:
        print("skipped: there is no chromium")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1])
