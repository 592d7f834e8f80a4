// The way back from an image: its records as a dictionary source, and a source as JSON text.
#ifndef ZEL_TOOLS_IMAGE_SOURCE_H
#define ZEL_TOOLS_IMAGE_SOURCE_H

#include <string>

#include "tools/dictionary_source.h"
#include "zeldata/image.h"

namespace zel::tools {

// Fields by their ids, messages in the image's order.
[[nodiscard]] DictionarySource SourceOfImage(const image::ImageView& view);

// The JSON text that `zel dict build` reads, one field a line. Text that is no UTF-8 has replacement characters.
[[nodiscard]] std::string SourceText(const DictionarySource& dictionary);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IMAGE_SOURCE_H
