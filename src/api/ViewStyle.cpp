// SPDX-License-Identifier: Apache-2.0
// The built-in style of the message view: readable headers, body and attachment grid on
// screen in light and dark schemes, and on paper.
#include "api/MessageView.h"

namespace qb {

const char* const kBuiltInViewStyle = R"CSS(
:root { color-scheme: light dark; }
body {
  margin: 0;
  font-family: system-ui, "Noto Sans", "Noto Sans CJK JP", "DejaVu Sans", sans-serif;
  background: #ffffff;
  color: #1d2126;
}
div#qbx-alert {
  padding: 10px 18px;
  background: #fff4d6;
  color: #5c4400;
  border-bottom: 1px solid #e6c767;
}
div#qbx-ql-headers {
  padding: 14px 18px;
  background: #f3f5f8;
  border-bottom: 1px solid #d5dae1;
}
/* The body's own style sheet may style every table: the header table undoes that. */
table#qbx-ql-headers {
  border: none;
  border-collapse: collapse;
  margin: 0;
  font-size: 14px;
  line-height: 1.45;
}
table#qbx-ql-headers td {
  border: none;
  background: none;
  padding: 1px 10px 1px 0;
  vertical-align: top;
}
td.header_key { color: #5b6470; font-weight: 600; text-align: right; white-space: nowrap; }
td.header_value { overflow-wrap: anywhere; }
span.qbx-ql-address { white-space: normal; }
div#qbx-ql-inner-mail {
  padding: 16px 18px;
  overflow-wrap: break-word;
  background: #ffffff;
  color: #000000;
}
a.qbx-attachment {
  display: inline-block;
  vertical-align: top;
  width: 120px;
  margin: 6px 8px 6px 0;
  color: inherit;
  text-decoration: none;
}
div.qbx-attachment { padding: 6px; border-radius: 8px; text-align: center; }
a.qbx-attachment:hover div.qbx-attachment,
a.qbx-attachment:focus div.qbx-attachment { background: rgba(120, 130, 145, 0.18); }
img.qbx-attachment-icon { display: block; width: 64px; height: 64px; margin: 0 auto 4px; }
div.qbx-attachment-filename { font-size: 12px; line-height: 1.3; overflow-wrap: anywhere; }
@media (prefers-color-scheme: dark) {
  body { background: #16181c; color: #e4e7eb; }
  div#qbx-alert { background: #3d3210; color: #f5e2a8; border-bottom-color: #6b5a1e; }
  div#qbx-ql-headers { background: #202329; border-bottom-color: #363b44; }
  td.header_key { color: #9aa4b1; }
  td.header_value { color: #e4e7eb; }
  /* Senders write their bodies for white paper: the body keeps it, framed by the dark page. */
  div#qbx-ql-inner-mail { margin: 12px; border-radius: 6px; }
}
@media print {
  body, div#qbx-ql-headers, div#qbx-ql-inner-mail { background: none; color: #000000; }
  div#qbx-ql-headers { border-bottom: 1px solid #000000; padding: 0 0 8px; }
  div#qbx-ql-inner-mail { padding: 8px 0; margin: 0; }
  td.header_key { color: #000000; }
  a.qbx-attachment { break-inside: avoid; }
}
)CSS";

}  // namespace qb
