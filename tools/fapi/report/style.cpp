// SPDX-License-Identifier: Apache-2.0
// How the page looks: on light and dark screens, and on paper.
#include "report/style.h"

namespace tool {

const char* const kHtmlStyle = R"(
:root {
    color-scheme: light dark;
    --back: #f5f6f8; --card: #ffffff; --text: #1c2430; --dim: #5b6675; --rule: #d9dee5; --code: #eef1f5;
    --passed: #16703a; --marginal: #8f5500; --failed: #b82020; --other: #56606e; --link: #0b5cad;
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
h3 {
    position: relative; margin: 0; padding-right: 20px; display: flex; flex-wrap: wrap; gap: 2px 10px; align-items: baseline;
    font-size: 16px;
}
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
.v-failed, .v-died, .v-error { --tone: var(--failed); --tint: var(--failed-back); }
.v-not-run, .v-interrupted { --tone: var(--other); --tint: var(--other-back); }
.badge {
    padding: 1px 9px; border-radius: 10px; font-size: 12.5px; font-weight: 600; white-space: nowrap;
    color: var(--tone); background: var(--tint);
}

.verdict {
    display: flex; flex-wrap: wrap; gap: 10px 28px; align-items: center; padding: 18px 22px; border-radius: 10px;
    background: var(--card); border: 1px solid var(--rule); border-left: 10px solid var(--tone);
}
.verdict .word {
    order: -1; font-size: clamp(28px, 8.5vw, 44px); line-height: 1; font-weight: 800; letter-spacing: 1px; color: var(--tone);
}
.verdict .what { flex: 1 1 340px; min-width: 0; }
.first { margin-top: 6px; color: var(--dim); overflow-wrap: anywhere; }
.first a { font-weight: 600; }
.counts { display: flex; flex-wrap: wrap; gap: 6px; margin: 8px 0 0; }
.counts label { cursor: pointer; }
.counts input { margin: 0 6px 0 0; vertical-align: -2px; accent-color: var(--tone); }
@supports not selector(:has(a)) { .counts input { display: none; } }
.facts {
    display: grid; grid-template-columns: max-content 1fr max-content 1fr; gap: 3px 14px; margin: 12px 2px 0;
    font-size: 14px;
}
.facts dt { color: var(--dim); }
.facts dd { margin: 0; overflow-wrap: anywhere; }
.tape { display: flex; height: 12px; margin: 14px 0 0; border-radius: 4px; overflow: hidden; gap: 1px; }
.tape a { flex: 1 1 0; background: var(--tone); min-width: 1px; opacity: 0.85; }
.tape a:hover { opacity: 1; }

.list {
    width: 100%; table-layout: fixed; background: var(--card); border: 1px solid var(--rule); font-size: 14px;
}
.list th, .list td {
    padding: 5px 10px; text-align: left; vertical-align: top; border-bottom: 1px solid var(--rule);
    overflow-wrap: anywhere;
}
.list thead th { font-size: 12.5px; color: var(--dim); font-weight: 600; white-space: nowrap; }
.list :is(.no, .count, .time, .value, .limits) { text-align: right; font-variant-numeric: tabular-nums; }
.list .no { white-space: nowrap; color: var(--dim); }
.list th.no { width: 52px; } .list th.badges { width: 118px; }
.list th.count { width: 84px; } .list th.time { width: 96px; } .list th.bar { width: 130px; }
.list th.value { width: 84px; } .list th.limits { width: 130px; } .list th.gauge { width: 250px; }
.list .text { color: var(--dim); font-size: 13px; }
.list :is(.v-failed, .v-died, .v-error) .text { color: var(--failed); }
.list .what code { display: block; color: var(--dim); font-size: 12px; }
.list .margin { display: block; color: var(--dim); font-size: 12.5px; }
.list td.bar { padding-top: 12px; }
.list td.gauge { vertical-align: middle; padding-top: 3px; padding-bottom: 3px; }
.part rect { height: 100%; }
.part { width: 100%; max-width: 130px; height: 11px; fill: var(--tone); opacity: 0.75; }
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
.plain summary { display: block; color: var(--text); }
.plain summary::-webkit-details-marker { display: none; }
.plain h3::after {
    content: ''; position: absolute; right: 2px; top: 6px; width: 7px; height: 7px; border: solid var(--dim);
    border-width: 0 2px 2px 0; transform: rotate(45deg);
}
.plain[open] h3::after { transform: rotate(225deg); }
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
.numbers { display: flex; flex-wrap: wrap; gap: 4px 24px; margin: 4px 0; font-size: 14px; }
.numbers div { display: flex; gap: 8px; min-width: 0; }
.numbers dt { color: var(--dim); overflow-wrap: anywhere; }
.numbers dd { margin: 0; font-weight: 600; font-variant-numeric: tabular-nums; }
.moments { margin: 0; padding: 0; list-style: none; font-size: 13px; }
.moments li { display: flex; flex-wrap: wrap; gap: 0 12px; align-items: center; padding: 2px 0; }
.moments .time { width: 64px; text-align: right; color: var(--dim); font-variant-numeric: tabular-nums; }
.moments .line { width: 200px; }
.moments .name { flex: 1 1 300px; min-width: 0; overflow-wrap: anywhere; }
.track { fill: var(--code); } .near { fill: var(--marginal); opacity: 0.55; } .inside { fill: var(--passed); opacity: 0.45; }
.limit { stroke: var(--dim); stroke-width: 1.5; }
.mark { fill: var(--text); stroke: var(--card); stroke-width: 1.5; } .mark.out { fill: var(--failed); }
.faults { margin: 0; padding-left: 20px; }

@media (max-width: 1000px) {
    .list { font-size: 13px; }
    .list th, .list td { padding: 5px 6px; }
    .list th.no { width: 38px; } .list th.badges { width: 112px; } .list th.time { width: 80px; }
    .list th.bar { width: 84px; } .list th.value { width: 94px; }
    .list th.limits { width: 104px; } .list th.gauge { width: 104px; }
}
@media screen and (max-width: 720px) {
    body { padding: 12px 10px 40px; }
    .facts { grid-template-columns: max-content 1fr; }
    .list, .list tbody { display: block; }
    .list thead, .list td.bar, .list td:empty { display: none; }
    .list tr { display: flex; flex-wrap: wrap; gap: 3px 16px; padding: 8px 10px; border-bottom: 1px solid var(--rule); }
    .list tbody td { flex: none; max-width: 100%; padding: 0; border: 0; }
    .list tbody :is(.no, .count, .time, .value, .limits) { text-align: left; }
    .list tbody .step { flex: 1 1 calc(100% - 64px); font-weight: 600; }
    .list .step .text, .list .step .tag { font-weight: 400; }
    .list tbody .what { flex: 1 1 100%; }
    .list .what code, .list .margin { display: inline; }
    .list tbody .gauge { flex: 1 1 100%; order: 1; }
    .list td[data-label]::before { content: attr(data-label) ' '; color: var(--dim); font-size: 12.5px; }
    .list td.time:not(:empty)::before { content: 'Duration '; color: var(--dim); font-size: 12.5px; }
    section.step { padding: 8px 10px; }
    h3 .name { flex: 1 1 calc(100% - 40px); }
    .command .head { flex-wrap: wrap; gap: 0 12px; }
    .command .call { flex: 1 1 calc(100% - 68px); }
    .command .time { width: auto; }
    .outputs, .expectation, .legend { margin-left: 8px; }
}
@media print {
    :root { --back: #ffffff; --card: #ffffff; }
    body { max-width: none; padding: 0; font-size: 10pt; }
    h2 { margin-top: 20px; }
    .list { font-size: 9pt; }
    .list th, .list td { padding-top: 2px; padding-bottom: 2px; }
    .list td.bar { padding-top: 6px; }
    .v-passed .what code { display: none; }
    .v-passed .margin { display: inline; }
    .picture img { width: 176px; height: 99px; }
    figure svg { max-width: 62%; }
    section.step { padding: 4px 10px; }
    .counts input { display: none; }
    tr, figure, .picture, .command, .verdict, section.v-passed { break-inside: avoid; }
    h2, h3, h4 { break-after: avoid; }
    .plain h3::after, section.v-passed:not(:has(.gallery, figure, details[open])) { display: none; }
    .log { max-height: none; }
    * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)";

}  // namespace tool
