#include "tools/dictionary/loaded_dictionary.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <random>

#include "include/zelmessage.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/file_output.h"
#include "tools/text/findings.h"
#include "zeldata/image_check.h"
#include "zeldata/provider.h"

namespace zel::tools {

namespace {

namespace fs = std::filesystem;

void SetVariable(const std::string& value) {
    // The environment keeps pointing to what it was given.
    static std::deque<std::string> given;
    given.push_back(std::string(image::kImageVariable) + '=' + value);
    // A provider that is not told would serve another dictionary.
    if (putenv(given.back().data()) != 0) {
        throw DictionaryError(std::string("no dictionary: cannot set ") + image::kImageVariable);
    }
}

std::string Variable() {
    const char* value = std::getenv(image::kImageVariable);
    return value != nullptr ? value : "";
}

std::vector<char> BuildSource(const std::string& path) {
    Findings findings;
    const DictionarySource dictionary = ReadSourceFile(path, findings);
    const std::size_t errors = CountErrors(findings);
    if (errors != 0) {
        PrintFindings(path, findings);
        throw DictionaryError(path + ": " + Counted(errors, "error") + "; no dictionary");
    }
    return BuildDictionaryImage(dictionary);
}

// A function of the provider's: the object begins with the address of the table of its slots.
const void* ProviderCode(const VormaZelData* provider) {
    const void* const* slots = nullptr;
    std::memcpy(&slots, static_cast<const void*>(provider), sizeof slots);
    return slots[0];
}

}  // namespace

LoadedDictionary::LoadedDictionary(const std::string& path) {
    if (!IsSourceName(path)) {
        Start(path);
        FindNames(path);
        return;
    }
    built_ = BuildSource(path);
    const fs::path image = fs::temp_directory_path() / ("zel-" + std::to_string(std::random_device()()) + ".img");
    temporary_.emplace(image.string());
    WriteFileAtomically(image.string(), built_);
    Start(image.string());
    temporary_->Remove();
    TakeNames(built_.data(), built_.size());
}

LoadedDictionary::~LoadedDictionary() {
    CZELMessage::terminate();
    if (mapped_.bytes != nullptr) {
        image::UnmapFile(mapped_);
    }
}

// Starts the library with this image, or with the provider's own choice.
void LoadedDictionary::Start(const std::string& image) {
    const std::string before = Variable();
    if (!image.empty()) {
        SetVariable(image);
    }
    CZELMessage::init();
    if (!image.empty()) {
        SetVariable(before);
    }
    VormaZelData* provider = CZELMessage::getVormaZelData();
    if (provider == nullptr) {
        CZELMessage::terminate();
        throw DictionaryError("no dictionary: the provider did not start");
    }
    tables_.fields = provider->dataDictionary();
    tables_.messages = provider->messageTable();
}

// The names come from the image that the provider serves. A provider of another kind may serve something else: names
// are taken only when the image holds the very dictionary that is in use.
void LoadedDictionary::FindNames(const std::string& image) {
    char served[image::kImagePathSize];
    const char* path =
        image.empty() ? image::FindServedImage(ProviderCode(CZELMessage::getVormaZelData()), served) : image.c_str();
    image::MapFault ignored;
    if (path != nullptr && image::MapFile(path, mapped_, ignored)) {
        TakeNames(mapped_.bytes, mapped_.size);
        return;
    }
    mapped_ = {nullptr, 0};
}

void LoadedDictionary::TakeNames(const void* bytes, std::size_t size) {
    image::ImageView view;
    image::ImageFault ignored;
    const ZELDictionaryHeader* fields = tables_.fields;
    if (fields == nullptr || !image::CheckImage(bytes, size, view, ignored) ||
        view.dictionary->count != fields->count) {
        return;
    }
    const std::size_t recordBytes = (static_cast<std::size_t>(fields->count) + 1) * sizeof(ZELDictionaryField);
    if (std::memcmp(view.dictionary, fields, recordBytes) == 0) {
        tables_.names = view;
    }
}

}  // namespace zel::tools
