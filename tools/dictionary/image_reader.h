// The way back from an image: its records as a dictionary source.
#ifndef ZEL_TOOLS_DICTIONARY_IMAGE_READER_H
#define ZEL_TOOLS_DICTIONARY_IMAGE_READER_H

#include "tools/dictionary/dictionary_source.h"
#include "zeldata/image.h"

namespace zel::tools {

// Fields by their ids, messages in the image's order.
[[nodiscard]] DictionarySource SourceOfImage(const image::ImageView& view);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_IMAGE_READER_H
