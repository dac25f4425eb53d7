#include "cli/check_page.h"

namespace qx::cli {

const char kCheckPageStyle[] = R"css(
:root { color-scheme: light; --failed: #b0141f; --remark: #8a4600; --passed: #0f6b33; --shown: #14549c; --rest: #55504d; }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 80rem; color: #1c1e22; background: #fff;
  font: 1rem/1.45 system-ui, "DejaVu Sans", Arial, sans-serif; overflow-wrap: break-word; }
h1 { font-size: 1.6rem; margin: .2rem 0 .6rem; }
h2 { font-size: 1.3rem; margin: 0 0 .3rem; }
h3 { font-size: 1.05rem; margin: 1.2rem 0 .4rem; }
a { color: #14549c; }
section { border-top: 2px solid #c9c9cd; margin-top: 2rem; padding-top: 1.2rem; }
.failed { color: var(--failed); } .remark { color: var(--remark); } .passed { color: var(--passed); }
.shown { color: var(--shown); } .rest { color: var(--rest); }
.verdict { font-size: 1.15rem; font-weight: 700; margin: 0 0 .8rem; }
.sign { display: inline-block; min-width: 1.2em; font-weight: 700; }
.pictures { display: grid; grid-template-columns: 1fr 2fr; gap: 1rem; align-items: start; margin: 1rem 0; }
figure { margin: 0; }
figure img { display: block; width: 100%; height: auto; border: 1px solid #c9c9cd; }
figcaption, small { color: var(--rest); font-size: .86em; }
small { display: block; }
ul.todo { list-style: none; padding: 0; margin: .4rem 0; }
ul.todo li { padding: .35rem 0 .35rem .7rem; border-left: .3rem solid; margin: .4rem 0; }
ul.todo span.why { color: #1c1e22; display: block; }
table { border-collapse: collapse; width: 100%; font-size: .92rem; }
th, td { text-align: left; vertical-align: top; padding: .4rem .6rem .4rem 0; border-bottom: 1px solid #dcdce0; }
th { border-bottom: 2px solid #8a8a90; white-space: nowrap; }
td.state { white-space: nowrap; font-weight: 700; }
td.number { white-space: nowrap; }
bdi, small { overflow-wrap: anywhere; }
summary { cursor: pointer; font-weight: 700; margin: 1.2rem 0 .4rem; }
.paper { display: none; }
@media screen and (max-width: 46rem) {
  .pictures { grid-template-columns: 1fr; }
  thead { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
  table, tbody, tr, td { display: block; }
  tr { border-bottom: 1px solid #8a8a90; padding: .5rem 0; }
  td { border: 0; padding: .1rem 0; }
  td:empty { display: none; }
  td[data-label]::before { content: attr(data-label) ": "; color: var(--rest); font-weight: 400; }
  td small { display: inline; }
  td small::before { content: " ("; }
  td small::after { content: ")"; }
}
@page { size: A4; margin: 14mm; }
@media print {
  body { padding: 0; max-width: none; font-size: 9pt; line-height: 1.3; }
  table { font-size: 8pt; }
  td { padding: .2rem .5rem .2rem 0; }
  section { border: 0; margin: 0; padding: 0; break-before: page; }
  section.only { break-before: auto; }
  .pictures img { max-height: 120mm; width: auto; max-width: 100%; }
  .todo { break-inside: avoid; }
  tr, li, figure, h2, h3 { break-inside: avoid; }
  h2, h3 { break-after: avoid; }
  thead { display: table-header-group; }
  details { display: none; }
  .paper { display: block; }
}
)css";

}  // namespace qx::cli
