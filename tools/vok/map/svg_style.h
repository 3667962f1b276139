#pragma once

namespace vok::tool {

/// What the picture of the map looks like: colours for light and dark surroundings, a pattern for each share of bytes
/// that is not fine, a sign for each condition. A colour never stands alone.
inline constexpr const char* kSvgStyle = R"svg(<style>
  svg { --paper: #ffffff; --ink: #1a222e; --soft: #55606f; --line: #d3dae2; --live: #66748a; --free: #e3e8ee;
        --dead: #d08a00; --dead-light: #f3c867; --due: #2f6fc4; --due-light: #a9c8f2; --lost: #bd2f23; --lost-light: #f3b4ad;
        --error-paper: #fdeeec; --error-ink: #9d2418; }
  @media (prefers-color-scheme: dark) {
    svg { --paper: #161b22; --ink: #dfe6ee; --soft: #9aa7b7; --line: #2f3945; --live: #8d9bb0; --free: #2a333e;
          --dead: #d9a033; --dead-light: #7d5a14; --due: #5f97e6; --due-light: #254875; --lost: #ea6557;
          --lost-light: #84281f; --error-paper: #2e1a19; --error-ink: #f5a89f; } }
  text { font: 12px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: var(--ink); }
  .title { font-size: 19px; font-weight: 600; } .name { font-weight: 600; } .section { font-size: 14px; font-weight: 600; }
  .soft { fill: var(--soft); font-weight: 400; } .end { text-anchor: end; }
  .paper { fill: var(--paper); } .frame { fill: none; stroke: var(--line); }
  .frame.error { fill: var(--error-paper); stroke: var(--lost); }
  .live { fill: var(--live); } .free { fill: var(--free); } .dead { fill: url(#dead); }
  .unfinished { fill: url(#unfinished); } .lost { fill: url(#lost); }
  .sign.error { fill: var(--error-ink); } .sign.due { fill: var(--due); } .sign.regain { fill: var(--dead); }
  .cut { fill: none; stroke: var(--paper); stroke-width: 2; stroke-linecap: round; }
  .base { stroke: none; } .stripe { fill: none; stroke-width: 2; }
</style>
<defs>
<pattern id="dead" width="7" height="7" patternUnits="userSpaceOnUse" patternTransform="rotate(45)"><rect width="7" height="7" fill="var(--dead)"/><path class="stripe" stroke="var(--dead-light)" d="M1 0v7"/></pattern>
<pattern id="unfinished" width="5" height="8" patternUnits="userSpaceOnUse"><rect width="5" height="8" fill="var(--due)"/><path class="stripe" stroke="var(--due-light)" d="M1 0v8"/></pattern>
<pattern id="lost" width="5" height="5" patternUnits="userSpaceOnUse" patternTransform="rotate(45)"><rect width="5" height="5" fill="var(--lost)"/><path class="stripe" stroke="var(--lost-light)" stroke-width="1.4" d="M0 1h5M1 0v5"/></pattern>
<g id="error"><path d="M5 1h6l4 4v6l-4 4H5l-4-4V5z"/><path class="cut" d="M5.2 5.2l5.6 5.6M10.8 5.2l-5.6 5.6"/></g>
<g id="due"><circle cx="8" cy="8" r="7.2"/><path class="cut" d="M8 3.8v4.6l3 2"/></g>
<g id="regain"><path d="M8 .8L15.4 15H.6z"/><path class="cut" d="M5.4 12.6l4-6M8.4 13l2.6-4"/></g>
</defs>
)svg";

}  // namespace vok::tool
