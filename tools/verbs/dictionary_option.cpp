#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

VerbOption DictionaryOption(std::string* path) {
    return {"-d,--dictionary", path,
            "Dictionary: an image, or a source (*.json); else the image that ZELDATA_IMAGE names, else "
            "zeldata.img beside the provider",
            "FILE"};
}

VerbOption DictionaryArgument(std::string* path) {
    return {"IMAGE", path,
            "Dictionary: an image, or a source whose name ends with .json. Without it, the image that the provider "
            "serves: what ZELDATA_IMAGE names, else zeldata.img beside the provider library"};
}

}  // namespace zel::tools
