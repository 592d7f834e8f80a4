// The message library, started with a dictionary.
#ifndef ZEL_TOOLS_DICTIONARY_LOADED_DICTIONARY_H
#define ZEL_TOOLS_DICTIONARY_LOADED_DICTIONARY_H

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/dictionary/catalog.h"
#include "tools/io/temporary_file.h"
#include "zeldata/mapped_file.h"

namespace zel::tools {

// There is no dictionary: a verb that needs one cannot begin.
struct DictionaryError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The message library with a dictionary, until the object goes. One at a time.
class LoadedDictionary {
public:
    // `path`: an image, or a source (*.json); empty leaves the choice to the provider. Throws DictionaryError.
    explicit LoadedDictionary(const std::string& path);
    ~LoadedDictionary();
    LoadedDictionary(const LoadedDictionary&) = delete;
    LoadedDictionary& operator=(const LoadedDictionary&) = delete;

    // They stay as long as the object.
    [[nodiscard]] const DictionaryTables& tables() const { return tables_; }

private:
    void Start(const std::string& image);
    void FindNames(const std::string& image);
    void TakeNames(const void* bytes, std::size_t size);

    DictionaryTables tables_{};
    std::optional<TemporaryFile> temporary_;  // a source's image
    std::vector<char> built_;                 // the same
    image::MappedFile mapped_{nullptr, 0};
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_LOADED_DICTIONARY_H
