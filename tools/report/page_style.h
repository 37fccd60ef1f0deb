#pragma once
// How the page looks: light and dark, wide and narrow, on paper.

namespace quillon::tool {

inline constexpr const char* kPageStyle = R"(
:root {
  color-scheme: light;
  --paper: #ffffff; --panel: #f5f7f9; --text: #1c2128; --muted: #57606a; --line: #d4dae0; --mark: #8b949e;
  --bar: #2f6fd0; --ink: #3b7ddd; --shade: 59 125 221;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    color-scheme: dark;
    --paper: #101419; --panel: #181e25; --text: #e4e9ee; --muted: #a0abb6; --line: #313a44; --mark: #76818c;
    --bar: #6aa2f2;
  }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body {
  margin: 0 auto; padding: 2rem 1.25rem 3rem; max-width: 62rem;
  background: var(--paper); color: var(--text);
  font: 1rem/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Liberation Sans", Arial, sans-serif;
}
header { margin-bottom: 1.5rem; }
h1 { margin: 0; font-size: 1.7rem; line-height: 1.2; overflow-wrap: anywhere; }
header p { margin: .35rem 0 0; color: var(--muted); overflow-wrap: anywhere; }
h2 { margin: 2.5rem 0 .75rem; padding-top: .9rem; border-top: 1px solid var(--line); font-size: 1.2rem; }
h3 { margin: 0 0 -.75rem; font-size: 1rem; }
.tiles {
  display: grid; gap: .75rem; margin: 0; grid-template-columns: repeat(auto-fit, minmax(8.6rem, 1fr));
}
.tiles div { padding: .7rem .8rem; border: 1px solid var(--line); border-radius: .5rem; background: var(--panel); }
.tiles dt { color: var(--muted); font-size: .85rem; }
.tiles dd { margin: 0; font-size: 1.2rem; font-weight: 600; overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }
.tiles small { display: block; color: var(--muted); font-size: .8rem; font-weight: 400; }
.columns { display: grid; gap: 1.5rem 2.5rem; grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr)); }
.columns > * { min-width: 0; }
section > * + *, figure + details { margin-top: 1.25rem; }
section > h2 + * { margin-top: 0; }
section > .note { margin-top: .5rem; }
figure { margin: 0; }
figcaption { margin-bottom: .3rem; font-weight: 600; }
.picture { max-width: 36rem; }
.note { margin: .4rem 0 0; color: var(--muted); font-size: .9rem; }
svg { display: block; width: 100%; height: auto; }
svg text { fill: var(--muted); font-size: 12px; font-variant-numeric: tabular-nums; }
.axis, .frame { stroke: var(--mark); fill: none; }
.grid { stroke: var(--line); }
.mean { stroke: var(--text); stroke-dasharray: 5 4; }
.bar { fill: var(--bar); }
.faint { stop-color: var(--ink); stop-opacity: .275; }
.full { stop-color: var(--ink); }
.swatch { fill: var(--ink); }
image { image-rendering: pixelated; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; }
.scroll > table { width: 100%; }
caption { padding-bottom: .3rem; font-weight: 600; text-align: left; }
th, td { padding: .28rem .7rem; border-bottom: 1px solid var(--line); text-align: right; white-space: nowrap; }
th { color: var(--muted); font-weight: 500; }
th:first-child, td:first-child { padding-left: 0; text-align: left; }
.matrix th:first-child { padding-right: .7rem; }
.matrix td { text-align: right; border: 1px solid var(--paper); background: rgb(var(--shade) / var(--a, 0));
  -webkit-print-color-adjust: exact; print-color-adjust: exact; }
.matrix td:first-child { padding-left: .7rem; text-align: right; }
.matrix .within { color: var(--muted); }
details[open] > summary { margin-bottom: .5rem; }
summary { color: var(--muted); cursor: pointer; font-size: .9rem; }
:focus-visible { outline: 2px solid var(--bar); outline-offset: 2px; }
footer { margin-top: 2.5rem; padding-top: .9rem; border-top: 1px solid var(--line); color: var(--muted);
  font-size: .9rem; }
@media (max-width: 30rem) {
  body { padding: 1.25rem 1rem 2rem; }
  .tiles { grid-template-columns: repeat(2, minmax(0, 1fr)); }
  .tiles dd { font-size: 1.15rem; }
  th, td { padding: .28rem .45rem; }
}
@media print {
  @page { margin: 15mm; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  h2 { break-after: avoid; }
  figure, table, .tiles div, tr { break-inside: avoid; }
  .tiles { grid-template-columns: repeat(3, 1fr); }
  .columns { grid-template-columns: 1fr 1fr; }
  .scroll { overflow: visible; }
  details:not([open]) { display: none; }
}
)";

}  // namespace quillon::tool
