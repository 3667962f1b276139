#pragma once

namespace vok {

/// The text of an error code, "Unknown Exception" for one without a text.
const char* TextOfCode(int code);

}  // namespace vok
