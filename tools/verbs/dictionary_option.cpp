#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

void AddDictionaryOption(CLI::App& verb, std::string& path) {
    verb.add_option("-d,--dictionary", path,
                    "Dictionary: an image, or a source (*.json); else the image that ZELDATA_IMAGE names, else "
                    "zeldata.img beside the provider")
        ->option_text("FILE");
}

}  // namespace zel::tools
