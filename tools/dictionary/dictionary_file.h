// Dictionaries from files: a source, whose name ends with .json, or an image, which every other file is.
#ifndef ZEL_TOOLS_DICTIONARY_DICTIONARY_FILE_H
#define ZEL_TOOLS_DICTIONARY_DICTIONARY_FILE_H

#include <optional>
#include <string>
#include <vector>

#include "tools/dictionary/dictionary_source.h"
#include "tools/text/findings.h"

namespace zel::tools {

struct DictionaryFile {
    std::string path;
    DictionarySource dictionary;
    std::vector<char> image;  // the file's bytes when it is an image
};

// A source read and checked; the findings tell whether it can be used.
[[nodiscard]] DictionarySource ReadSourceFile(const std::string& path, Findings& findings);

// Either kind of file; what an error would keep from being built or served is an error in the findings here too.
[[nodiscard]] DictionaryFile ReadDictionaryFile(const std::string& path, Findings& findings);

// Reads a dictionary for a verb. An empty path means the image that the provider serves here. Returns nothing if it
// cannot be used, and says why on standard error.
[[nodiscard]] std::optional<DictionaryFile> OpenDictionaryFile(const std::string& path);

// The path of the image that the provider library on this machine serves, or nothing when that is not known.
[[nodiscard]] std::string ServedImage();
inline constexpr char kNoImageKnown[] = "no dictionary image is known here; name one, or set ZELDATA_IMAGE";

[[nodiscard]] bool IsSourceName(const std::string& path);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_DICTIONARY_FILE_H
