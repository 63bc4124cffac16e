// How the report page looks: light and dark, on a screen and on paper, with what is bad told by
// words and signs as well.
#pragma once

namespace veskctl {

constexpr const char* kReportStyle = R"css(
:root {
  color-scheme: light dark;
  --ground: #ffffff; --panel: #f5f6f8; --line: #d5d9e0; --ink: #1b1f27; --soft: #5a6270;
  --ok: #1a7f37; --warning: #9a5b00; --critical: #c0182b; --unknown: #6b3fa0; --accent: #0b57d0;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #14171c; --panel: #1d2128; --line: #38404c; --ink: #e7eaf0; --soft: #a3acba;
    --ok: #4ac26b; --warning: #e3a13a; --critical: #ff7b82; --unknown: #c4a3f5; --accent: #8ab4f8;
  }
}
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 72rem; padding: 1.5rem; background: var(--ground);
  color: var(--ink); font: 15px/1.5 system-ui, -apple-system, "Segoe UI", sans-serif; }
h1 { font-size: 1.5rem; margin: 0; }
h2 { font-size: 1.15rem; margin: 2.2rem 0 .6rem; padding-top: .4rem;
  border-top: 1px solid var(--line); }
p { margin: .4rem 0; }
.soft { color: var(--soft); }
.simulated { border: 2px dashed var(--unknown); color: var(--unknown); font-weight: 700;
  padding: .4rem .8rem; margin: 0 0 1rem; }
.verdict { border: 1px solid var(--line); border-left: .5rem solid currentColor;
  background: var(--panel); padding: .8rem 1rem; margin: 1rem 0; }
.verdict strong { font-size: 1.3rem; }
.verdict ul { margin: .4rem 0 0; padding-left: 1.2rem; color: var(--ink); }
.ok { color: var(--ok); } .warning { color: var(--warning); } .critical { color: var(--critical); }
.unknown { color: var(--unknown); }
.level { font-weight: 700; white-space: nowrap; }
nav ul { list-style: none; display: flex; flex-wrap: wrap; gap: .2rem 1.2rem; padding: 0;
  margin: .8rem 0; }
a { color: var(--accent); }
a:focus-visible, summary:focus-visible, [tabindex]:focus-visible { outline: 3px solid var(--accent);
  outline-offset: 2px; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { text-align: left; padding: .35rem .7rem .35rem 0; border-bottom: 1px solid var(--line);
  vertical-align: top; overflow-wrap: anywhere; }
th { color: var(--soft); font-weight: 600; white-space: nowrap; overflow-wrap: normal; }
td.number, th.number { text-align: right; white-space: nowrap; padding-right: 1.5rem; }
dl { display: grid; grid-template-columns: repeat(auto-fill, minmax(12rem, 1fr)); gap: .6rem 1.5rem;
  margin: .4rem 0; }
dt { color: var(--soft); font-size: .9rem; }
dd { margin: 0; overflow-wrap: anywhere; }
.bars { display: grid; grid-template-columns: repeat(auto-fit, minmax(20rem, 1fr)); gap: 1rem 2rem; }
.bars h3 { font-size: 1rem; margin: 0 0 .3rem; overflow-wrap: anywhere; }
.bar-label { display: flex; justify-content: space-between; gap: 1rem; }
.bar { position: relative; height: .9rem; background: var(--panel); border: 1px solid var(--line);
  margin: .1rem 0 .6rem; }
.bar i { display: block; height: 100%; background: currentColor; }
.bar b { position: absolute; top: -.25rem; bottom: -.25rem; width: 2px; background: var(--ink); }
svg { display: block; width: 100%; height: auto; }
svg text { fill: var(--ink); font-size: 12px; }
svg .soft { fill: var(--soft); }
svg .lane { stroke: var(--line); }
svg circle { fill: currentColor; fill-opacity: .75; }
pre { background: var(--panel); border: 1px solid var(--line); padding: .8rem; overflow: auto;
  max-height: 32rem; font-size: .85rem; }
footer { margin-top: 2.5rem; color: var(--soft); font-size: .9rem; }
@media print {
  :root { color-scheme: light; --ground: #fff; --panel: #f5f6f8; --line: #999; --ink: #000;
    --soft: #333; --ok: #1a7f37; --warning: #9a5b00; --critical: #c0182b; --unknown: #6b3fa0; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  nav, details { display: none; }
  * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  h2 { break-after: avoid; }
  tr, .verdict, .bars > div { break-inside: avoid; }
  .scroll { overflow: visible; }
}
)css";

}  // namespace veskctl
