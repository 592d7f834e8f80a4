// Filter and sort data that travel in a field, term by term for people's eyes.
#ifndef ZEL_TOOLS_CAPTURE_STREAM_LISTING_H
#define ZEL_TOOLS_CAPTURE_STREAM_LISTING_H

#include <string>
#include <string_view>

#include "tools/dictionary/catalog.h"

namespace zel::tools {

// Lines that each begin with `indent`, or one that says that the bytes are neither: their length word does not fit. The
// field may be longer than the stream. Sort data is what has exactly 4 bytes for each that it counts: a term has 6 or
// more. An empty stream is shown as sort data.
void AppendStream(std::string& out, const Catalog& catalog, std::string_view bytes, std::string_view indent);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_STREAM_LISTING_H
