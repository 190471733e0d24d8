// SPDX-License-Identifier: Apache-2.0
// How the page looks: on light and dark screens, and on paper.
#include "html_style.h"

namespace tool {

const char* const kHtmlStyle = R"(
:root {
    color-scheme: light dark;
    --back: #f5f6f8; --card: #ffffff; --text: #1c2430; --dim: #5b6675; --rule: #d9dee5; --code: #eef1f5;
    --passed: #1a7f43; --marginal: #a86400; --failed: #c02626; --other: #6a7482; --link: #0b5cad;
    --passed-back: #e3f4e9; --marginal-back: #fdf0d9; --failed-back: #fde6e6; --other-back: #e9ecf0;
    --c0: #2f6fd0; --c1: #d9730d; --c2: #7a4fc9; --c3: #0f8a8a; --c4: #b5317c; --c5: #6b7a1e;
    --red: #d03030; --green: #1f9a4d; --blue: #2f6fd0;
}
@media (prefers-color-scheme: dark) {
    :root {
        --back: #14181e; --card: #1d232b; --text: #e4e8ee; --dim: #9aa6b5; --rule: #36404c; --code: #262e38;
        --passed: #5cc98a; --marginal: #f0b35a; --failed: #ff8a84; --other: #a5b0be; --link: #7db8f5;
        --passed-back: #173526; --marginal-back: #3b2c12; --failed-back: #431f20; --other-back: #2b333d;
        --c0: #6ea8fe; --c1: #f5a45d; --c2: #b597f0; --c3: #4fc4c4; --c4: #ee7fb8; --c5: #b9c95f;
        --red: #ff7b72; --green: #5cc98a; --blue: #6ea8fe;
    }
}
* { box-sizing: border-box; }
body {
    margin: 0 auto; padding: 24px 20px 64px; max-width: 1160px; background: var(--back); color: var(--text);
    font: 15px/1.45 system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif;
}
h1 { margin: 0 0 2px; font-size: 22px; line-height: 1.25; overflow-wrap: anywhere; }
h2 { margin: 32px 0 10px; font-size: 18px; }
h3 { margin: 0; font-size: 16px; display: flex; gap: 10px; align-items: baseline; flex-wrap: wrap; }
h4 { margin: 14px 0 4px; font-size: 13px; color: var(--dim); }
p { margin: 6px 0; }
a { color: var(--link); text-decoration: none; }
a:hover { text-decoration: underline; }
code, pre { font: 13px/1.45 ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace; }
code { overflow-wrap: anywhere; white-space: pre-wrap; }
pre { margin: 0; white-space: pre-wrap; overflow-wrap: anywhere; }
table { border-collapse: collapse; }

.v-passed { --tone: var(--passed); --tint: var(--passed-back); }
.v-marginal { --tone: var(--marginal); --tint: var(--marginal-back); }
.v-failed, .v-died, .v-interrupted { --tone: var(--failed); --tint: var(--failed-back); }
.v-not-run { --tone: var(--other); --tint: var(--other-back); }
.badge {
    padding: 1px 9px; border-radius: 10px; font-size: 12.5px; font-weight: 600; white-space: nowrap;
    color: var(--tone); background: var(--tint);
}

.verdict {
    display: flex; flex-wrap: wrap; gap: 10px 28px; align-items: center; padding: 18px 22px; border-radius: 10px;
    background: var(--card); border: 1px solid var(--rule); border-left: 10px solid var(--tone);
}
.verdict .word { font-size: 44px; line-height: 1; font-weight: 800; letter-spacing: 1px; color: var(--tone); }
.verdict .what { flex: 1 1 340px; min-width: 0; }
.counts { display: flex; flex-wrap: wrap; gap: 6px; margin: 8px 0 0; }
.facts {
    display: grid; grid-template-columns: max-content 1fr max-content 1fr; gap: 3px 14px; margin: 12px 2px 0;
    font-size: 14px;
}
.facts dt { color: var(--dim); }
.facts dd { margin: 0; overflow-wrap: anywhere; }
.tape { display: flex; height: 12px; margin: 14px 0 0; border-radius: 4px; overflow: hidden; gap: 1px; }
.tape a { flex: 1 1 0; background: var(--tone); min-width: 2px; opacity: 0.85; }
.tape a:hover { opacity: 1; }

.list { width: 100%; background: var(--card); border: 1px solid var(--rule); font-size: 14px; }
.list th, .list td { padding: 5px 10px; text-align: left; vertical-align: top; border-bottom: 1px solid var(--rule); }
.list thead th { font-size: 12.5px; color: var(--dim); font-weight: 600; white-space: nowrap; }
.list thead .number, .list .number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.list .step { width: 32%; overflow-wrap: anywhere; }
.list .text { width: 34%; color: var(--dim); font-size: 13px; overflow-wrap: anywhere; }
.list tr.v-failed .text, .list tr.v-died .text { color: var(--failed); }
.list td.bar { width: 100px; min-width: 60px; padding-left: 0; padding-top: 12px; }
.list td.gauge { width: 250px; min-width: 130px; vertical-align: middle; padding-top: 3px; padding-bottom: 3px; }
.list .bar span { display: block; height: 9px; min-width: 1px; background: var(--tone); opacity: 0.75; border-radius: 2px; }
.tag { font-size: 12px; font-weight: 400; color: var(--dim); border: 1px solid var(--rule); border-radius: 4px; padding: 0 5px; }

section.step {
    margin: 6px 0; padding: 8px 14px; background: var(--card); border: 1px solid var(--rule);
    border-left: 5px solid var(--tone); border-radius: 6px;
}
section.step:target { outline: 2px solid var(--link); }
h3 .number { color: var(--dim); font-variant-numeric: tabular-nums; min-width: 22px; }
h3 .name { overflow-wrap: anywhere; }
h3 .time { margin-left: auto; font-weight: 400; font-size: 13px; color: var(--dim); white-space: nowrap; }
.why { overflow-wrap: anywhere; white-space: pre-wrap; color: var(--tone); }
.why.bad { font-weight: 600; }
.note { color: var(--dim); font-size: 13px; overflow-wrap: anywhere; }

summary { cursor: pointer; color: var(--dim); font-size: 13px; }
.attempt { margin-top: 3px; }
.command { margin: 8px 0 0 4px; padding: 0 0 2px 10px; border-left: 2px solid var(--rule); }
.command .head { display: flex; gap: 12px; align-items: baseline; }
.command .line { flex: none; width: 56px; color: var(--dim); font-size: 12.5px; white-space: nowrap; }
.command .call { flex: 1 1 auto; min-width: 0; font-weight: 600; }
.command .status, .command .time { flex: none; font-size: 12.5px; white-space: nowrap; }
.command .time { color: var(--dim); width: 64px; text-align: right; font-variant-numeric: tabular-nums; }
.status.good { color: var(--passed); }
.status.bad { color: var(--dim); font-weight: 600; }
.outputs { display: grid; grid-template-columns: max-content 1fr; gap: 2px 12px; margin: 3px 0 3px 68px; font-size: 13px; }
.outputs dt { color: var(--dim); }
.outputs dd { margin: 0; min-width: 0; }
.expectation {
    display: flex; flex-wrap: wrap; gap: 2px 14px; margin: 3px 0 3px 68px; padding: 2px 8px; font-size: 13px;
    border-left: 3px solid var(--tone);
}
.expectation.v-failed, .expectation.v-marginal { background: var(--tint); }
.expectation .found { color: var(--dim); overflow-wrap: anywhere; min-width: 0; }
.log {
    margin-top: 4px; padding: 8px 10px; max-height: 420px; overflow: auto; background: var(--code); border-radius: 4px;
    font-size: 12px;
}

.gallery { display: flex; flex-wrap: wrap; gap: 12px; margin: 10px 0 4px; }
.picture summary { display: block; }
.picture summary::-webkit-details-marker { display: none; }
.picture img {
    display: block; width: 256px; height: 144px; object-fit: contain; border: 1px solid var(--rule);
    border-radius: 3px; cursor: zoom-in; background: repeating-conic-gradient(#c6cad0 0 25%, #ffffff 0 50%) 0 0 / 16px 16px;
}
.picture .caption { display: block; margin-top: 3px; font-size: 13px; }
.picture[open] { flex: 1 1 100%; overflow: auto; }
.picture[open] img { width: auto; height: auto; max-width: none; cursor: zoom-out; }
figure { margin: 12px 0 6px; }
figcaption { margin-bottom: 4px; font-size: 14px; font-weight: 600; }
svg { display: block; height: auto; max-width: 100%; }
svg text { font: 12px system-ui, 'DejaVu Sans', sans-serif; fill: var(--dim); }
svg .end { text-anchor: end; }
svg .middle { text-anchor: middle; }
.grid { stroke: var(--rule); stroke-width: 1; }
.axis { stroke: var(--dim); stroke-width: 1; }
.curve { fill: none; stroke: var(--series); stroke-linejoin: round; }
.fill { fill: var(--series); }
.series0 { --series: var(--c0); } .series1 { --series: var(--c1); } .series2 { --series: var(--c2); }
.series3 { --series: var(--c3); } .series4 { --series: var(--c4); } .series5 { --series: var(--c5); }
.series-red { --series: var(--red); } .series-green { --series: var(--green); } .series-blue { --series: var(--blue); }
.legend { display: flex; flex-wrap: wrap; gap: 4px 20px; margin: 4px 0 0 64px; font-size: 13px; color: var(--dim); }
.key { display: inline-block; width: 18px; height: 3px; vertical-align: middle; background: var(--series); }
.bars { font-size: 13.5px; }
.bars th { padding: 2px 12px 2px 0; text-align: left; font-weight: 400; color: var(--dim); }
.bars td { padding: 2px 10px 2px 0; }
.bars .number { text-align: right; font-variant-numeric: tabular-nums; }
.track { fill: var(--code); } .near { fill: var(--marginal); opacity: 0.55; } .inside { fill: var(--passed); opacity: 0.45; }
.limit { stroke: var(--dim); stroke-width: 1.5; }
.mark { fill: var(--text); stroke: var(--card); stroke-width: 1.5; } .mark.out { fill: var(--failed); }
.faults { margin: 0; padding-left: 20px; }

@media (max-width: 720px) {
    .facts { grid-template-columns: max-content 1fr; }
    .list thead, .list td.bar { display: none; }
    .list tr { display: block; padding: 6px 4px; border-bottom: 1px solid var(--rule); }
    .list td { display: inline-block; padding: 1px 6px; border: 0; width: auto; }
    .list .step, .list .text { width: auto; }
    .command .head { flex-wrap: wrap; }
    .outputs, .expectation { margin-left: 8px; }
}
@media print {
    :root { --back: #ffffff; --card: #ffffff; }
    body { max-width: none; padding: 0; font-size: 11pt; }
    tr, figure, .picture, .command { break-inside: avoid; }
    h3, h4 { break-after: avoid; }
    details:not([open])::details-content { content-visibility: visible; block-size: auto; }
    .log { max-height: none; }
    * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)";

}  // namespace tool
