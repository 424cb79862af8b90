#include "worker/views/report/style.h"

namespace corrivane::worker {

const char* const report_style = R"css(
:root {
  color-scheme: light dark;
  --page: #f3f5f8; --card: #fff; --text: #18202b; --quiet: #5a6779; --line: #dde3ea;
  --done: #3a6fd0; --failed: #c22f26; --skipped: #8a97a8; --good: #22783f; --warn: #8f5a00;
  --failed-tint: #fbeae8; --good-tint: #e4f3e9; --warn-tint: #fbf1dd; --code: #f6f8fa;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #10151c; --card: #19202a; --text: #e6ebf2; --quiet: #9aa8ba; --line: #2c3642;
    --done: #7aa5f5; --failed: #f47c70; --skipped: #748295; --good: #67c98a; --warn: #e6b35a;
    --failed-tint: #3a2022; --good-tint: #1a3325; --warn-tint: #362c18; --code: #121821;
  }
}
* { box-sizing: border-box; }
html { scroll-behavior: smooth; scroll-padding-top: 1rem; }
body {
  margin: 0 auto; max-width: 76rem; padding: 2rem 1.5rem 4rem; background: var(--page); color: var(--text);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif;
}
h1 { margin: .4rem 0 .2rem; font-size: 1.7rem; line-height: 1.2; overflow-wrap: anywhere; }
h2 { margin: 2.2rem 0 .8rem; font-size: 1.1rem; }
p { margin: .3rem 0; }
a { color: inherit; text-decoration-color: var(--line); text-underline-offset: .2em; }
a:hover { text-decoration-color: currentColor; }
:focus-visible { outline: 2px solid var(--done); outline-offset: 2px; }
.quiet { color: var(--quiet); }
.path, td, dd, li { overflow-wrap: anywhere; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .6rem; padding: 1rem 1.2rem; }
.state { display: inline-block; border-radius: 2rem; padding: .1rem .8rem; font-weight: 600; font-size: .85rem; }
.state.good { background: var(--good-tint); color: var(--good); }
.state.bad { background: var(--failed-tint); color: var(--failed); }
.state.halted { background: var(--warn-tint); color: var(--warn); }
.facts { display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: .8rem; margin: 1.4rem 0 0; }
.facts div { background: var(--card); border: 1px solid var(--line); border-radius: .6rem; padding: .7rem 1rem; }
.facts dt { color: var(--quiet); font-size: .82rem; }
.facts dd { margin: 0; font-size: 1.35rem; font-weight: 600; font-variant-numeric: tabular-nums; line-height: 1.3; }
.facts .more { font-size: .82rem; font-weight: 400; color: var(--quiet); }
.facts .bad { color: var(--failed); }
.problem + .problem { margin-top: .8rem; }
.problem { border-left: .25rem solid var(--failed); }
.problem h3::first-letter { text-transform: uppercase; }
.problem h3 { margin: 0 0 .3rem; font-size: 1rem; overflow-wrap: anywhere; }
summary { cursor: pointer; color: var(--quiet); padding: .2rem 0; }
summary:hover { color: var(--text); }
pre {
  margin: .3rem 0 .6rem; padding: .7rem .9rem; max-height: 26rem; overflow: auto; background: var(--code);
  border: 1px solid var(--line); border-radius: .4rem; white-space: pre-wrap; overflow-wrap: anywhere;
  font: 12.5px/1.45 ui-monospace, "SFMono-Regular", Menlo, Consolas, "DejaVu Sans Mono", monospace;
}
.chart { position: relative; height: 15rem; margin: .6rem 0 .3rem 3.6rem; }
.chart svg { position: absolute; inset: 0; width: 100%; height: 100%; display: block; }
.chart rect.done { fill: var(--done); }
.chart rect.failed { fill: var(--failed); }
.chart rect.skipped { fill: var(--skipped); }
.chart rect.left { fill: var(--line); opacity: .6; }
.chart a:hover rect, .chart a:focus rect { opacity: .65; }
.grid, .median { position: absolute; left: 0; right: 0; border-top: 1px solid var(--line); }
.grid span {
  position: absolute; right: 100%; transform: translateY(-50%); padding-right: .6rem; white-space: nowrap;
  color: var(--quiet); font-size: .8rem; font-variant-numeric: tabular-nums;
}
.median { border-top: 2px dashed var(--text); z-index: 1; pointer-events: none; opacity: .75; }
.median span {
  position: absolute; right: 0; bottom: .2rem; background: var(--card); border-radius: .3rem; padding: 0 .4rem;
  font-size: .8rem; font-variant-numeric: tabular-nums; white-space: nowrap;
}
.ends { display: flex; justify-content: space-between; margin-left: 3.6rem; color: var(--quiet); font-size: .8rem; }
.legend { display: flex; flex-wrap: wrap; gap: .2rem 1.2rem; color: var(--quiet); font-size: .85rem; }
.legend span::before {
  content: ""; display: inline-block; width: .7rem; height: .7rem; border-radius: .15rem; margin-right: .4rem;
  background: var(--color);
}
.slow { list-style: none; margin: 0; padding: 0; }
.slow li { display: grid; grid-template-columns: 7rem 1fr 5rem; gap: .8rem; align-items: center; padding: .2rem 0; }
.slow i { display: block; height: .7rem; border-radius: .2rem; background: var(--done); min-width: 2px; }
.slow .failed i { background: var(--failed); }
.slow b { text-align: right; font-weight: 500; font-variant-numeric: tabular-nums; }
.filter { display: flex; flex-wrap: wrap; gap: .4rem; margin: 0 0 .8rem; }
.filter label {
  border: 1px solid var(--line); border-radius: 2rem; padding: .1rem .8rem; background: var(--card);
  cursor: pointer; font-size: .88rem;
}
.filter input { position: absolute; opacity: 0; pointer-events: none; }
.filter label:has(:checked) { border-color: var(--done); box-shadow: inset 0 0 0 1px var(--done); }
.filter label:has(:focus-visible) { outline: 2px solid var(--done); outline-offset: 2px; }
#sheet:has(#only-failed:checked) figure:not(.failed),
#sheet:has(#only-left:checked) figure:not(.left),
#sheet:has(#only-skipped:checked) figure:not(.skipped) { display: none; }
.tiles { display: grid; grid-template-columns: repeat(auto-fill, minmax(9.5rem, 1fr)); gap: .8rem; }
figure { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: .5rem; overflow: hidden; }
figure:target { outline: 3px solid var(--done); outline-offset: 1px; }
figure.failed { border-color: var(--failed); background: var(--failed-tint); }
figure.left { border-style: dashed; }
figure .image {
  display: grid; place-items: center; aspect-ratio: var(--shape, 16 / 9); color: var(--quiet); font-size: .85rem;
  text-align: center; padding: 0 .6rem;
  background: color-mix(in srgb, var(--line) 45%, transparent); text-decoration: none;
}
figure.failed .image { background: none; color: var(--failed); }
figure .image:has(img) { padding: 0; background: #000; }
figure img { width: 100%; height: 100%; object-fit: contain; display: block; }
figcaption { display: flex; justify-content: space-between; gap: .5rem; padding: .3rem .6rem; font-size: .85rem; }
figcaption b { font-variant-numeric: tabular-nums; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .88rem; }
th { text-align: left; color: var(--quiet); font-weight: 500; }
th, td:not(.files) { overflow-wrap: normal; }
td.text { min-width: 14rem; overflow-wrap: anywhere; }
th, td { padding: .35rem .8rem .35rem 0; border-bottom: 1px solid var(--line); vertical-align: top; }
th.number { text-align: right; }
td.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; overflow-wrap: normal; }
td.files { min-width: 14rem; }
td.bad, b.bad { color: var(--failed); }
td .quiet { font-size: .8rem; }
dl.about { display: grid; grid-template-columns: max-content 1fr; gap: .25rem 1.4rem; margin: 0; }
dl.about dt { color: var(--quiet); }
dl.about dd { margin: 0; }
footer { margin-top: 2.5rem; color: var(--quiet); font-size: .82rem; }
@media (max-width: 36rem) {
  body { padding: 1.2rem .9rem 3rem; }
  h1 { font-size: 1.35rem; }
  .card { padding: .8rem .9rem; }
  .facts { grid-template-columns: 1fr 1fr; gap: .5rem; }
  .facts dd { font-size: 1.15rem; }
  .tiles { grid-template-columns: 1fr 1fr; gap: .5rem; }
  .chart { height: 11rem; margin-left: 3rem; }
  .ends { margin-left: 3rem; }
  .slow li { grid-template-columns: 5rem 1fr 4.2rem; }
  dl.about { grid-template-columns: 1fr; gap: 0; }
  dl.about dd { margin-bottom: .5rem; }
}
@media (prefers-reduced-motion: reduce) { html { scroll-behavior: auto; } }
@media print { body { max-width: none; } figure, .card { break-inside: avoid; } }
)css";

}  // namespace corrivane::worker
