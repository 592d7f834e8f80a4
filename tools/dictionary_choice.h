// The option -d/--dictionary, and the library started with the dictionary that it names.
#ifndef ZEL_TOOLS_DICTIONARY_CHOICE_H
#define ZEL_TOOLS_DICTIONARY_CHOICE_H

#include <CLI/CLI.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/catalog.h"
#include "tools/temporary_file.h"
#include "zeldata/mapped_file.h"

namespace zel::tools {

// There is no dictionary: a verb that needs one cannot begin.
struct DictionaryError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void AddDictionaryOption(CLI::App& verb, std::string& path);

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

#endif  // ZEL_TOOLS_DICTIONARY_CHOICE_H
