#include "mailboxd/web/WebStyle.h"

namespace mailbox::web {
namespace {

// Text of strangers stands in elements with unicode-bidi: plaintext, so that each of its lines runs
// in its own direction and none can turn what stands beside it.
constexpr std::string_view kStyle = R"css(
:root { color-scheme: light dark; --ink: #1d2430; --soft: #5b6577; --line: #e3e7ee;
  --paper: #fff; --ground: #f5f7fa; --accent: #1f5fbf; --hover: #f0f4fa; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e8ef; --soft: #a0aaba; --line: #30363f;
  --paper: #1b2027; --ground: #13171c; --accent: #82b1ff; --hover: #232a33; } }
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; }
body { margin: 0 auto; max-width: 76rem; padding: 1.25rem 1.5rem; color: var(--ink);
  background: var(--ground);
  font: 15px/1.5 system-ui, "Noto Sans", "Noto Sans CJK JP", "DejaVu Sans", sans-serif; }
a { color: var(--accent); text-decoration: none; }
a:hover { text-decoration: underline; }
:focus-visible { outline: 2px solid var(--accent); outline-offset: 2px; border-radius: 2px; }
.soft, footer, header { color: var(--soft); }
h1 { margin: .25rem 0 .75rem; font-size: 1.5rem; line-height: 1.3; }
h2 { margin: 1.75rem 0 .5rem; font-size: 1.1rem; }
h1, h2, td, pre, bdi { overflow-wrap: anywhere; unicode-bidi: plaintext; text-align: start; }
header bdi, .pages bdi { unicode-bidi: isolate; }
footer { margin-top: 2rem; font-size: .85rem; }
.box { overflow-x: auto; background: var(--paper); border: 1px solid var(--line);
  border-radius: 8px; }
table { width: 100%; border-collapse: collapse; }
caption, .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden;
  clip-path: inset(50%); white-space: nowrap; }
th, td { padding: .4rem .8rem; vertical-align: top; border-top: 1px solid var(--line); }
tr:first-child > td, tr:first-child > th[scope=row], thead th { border-top: 0; }
thead + tbody tr:first-child > * { border-top: 1px solid var(--line); }
th { color: var(--soft); font-weight: 500; font-size: .85rem; line-height: 1.7; text-align: start;
  white-space: nowrap; }
th[scope=row] { width: 9rem; }
.names th[scope=row] { width: 14rem; white-space: normal; overflow-wrap: anywhere; }
tbody tr:hover { background: var(--hover); }
.number { text-align: end; white-space: nowrap; font-variant-numeric: tabular-nums; }
.date, .type { white-space: nowrap; font-variant-numeric: tabular-nums; }
.type { color: var(--soft); }
.none, .none a { color: var(--soft); }
.folders i { display: inline-block; width: 1.5rem; }
.items td:first-child { width: 55%; }
.items .unread > td:nth-child(-n + 2) { font-weight: 600; }
.items .unread > td:first-child::before { content: "● "; color: var(--accent); }
.clip { width: 1em; height: 1em; vertical-align: -.1em; fill: none; stroke: var(--soft);
  stroke-width: 1.3; }
.search { display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: center; margin: 0 0 1rem; }
.search input { flex: 0 1 20rem; min-width: 0; }
.search input, .search button { font: inherit; padding: .3rem .6rem; color: inherit;
  background: var(--paper); border: 1px solid var(--line); border-radius: 6px; }
.month { table-layout: fixed; }
.month td { height: 6rem; border-inline-start: 1px solid var(--line); }
.month td:first-child { border-inline-start: 0; }
.month td > time { color: var(--soft); font-size: .85rem; }
.month tbody tr:hover { background: none; }
.month ul { margin: 0; padding: 0; list-style: none; }
.month li { font-size: .85rem; line-height: 1.35; margin-top: .2rem; }
.photo { float: inline-end; max-width: 9rem; max-height: 9rem; margin: 0 0 .75rem .75rem;
  border-radius: 8px; }
.pages { display: flex; flex-wrap: wrap; gap: .25rem 1.5rem; margin: 1rem 0; }
iframe { display: block; width: 100%; height: 60vh; min-height: 12rem; border: 0;
  border-radius: 8px; background: #fff; color-scheme: light; resize: vertical; }
details { margin-top: 1rem; }
summary { margin-bottom: .5rem; color: var(--soft); cursor: pointer; width: fit-content; }
pre { margin: 0; padding: .8rem; white-space: pre-wrap; tab-size: 8;
  font: 13px/1.45 ui-monospace, "Noto Sans Mono", "Noto Sans Mono CJK JP", monospace; }
@media (max-width: 44rem) {
  body { padding: .75rem; }
  .items thead, .month thead, .month .empty { display: none; }
  .month tr, .month td { display: block; height: auto; border-inline-start: 0; }
  .photo { max-width: 6rem; }
  .items tr { display: flex; flex-wrap: wrap; gap: 0 1rem; padding: .4rem .8rem;
    border-top: 1px solid var(--line); }
  .items tr:first-child { border-top: 0; }
  .items tbody tr > td { padding: 0; border: 0; }
  .items td:first-child { width: 100%; }
  .items td:nth-child(2) { flex: 1 1 8rem; }
  .items td:nth-child(n + 2) { font-size: .85rem; font-weight: 400; color: var(--soft); }
  th[scope=row], .names th[scope=row] { width: 6rem; white-space: normal; }
}
)css";

}  // namespace

std::string_view Style() { return kStyle; }

}  // namespace mailbox::web
