#include "tools/dictionary/dictionary_file.h"

#include "include/zelmessage.h"
#include "runtime/module.h"
#include "tools/dictionary/image_reader.h"
#include "tools/dictionary/source_check.h"
#include "tools/text/complaint.h"
#include "tools/text/json_file.h"
#include "zeldata/image_check.h"
#include "zeldata/mapped_file.h"
#include "zeldata/provider.h"

namespace zel::tools {

namespace {

struct Mapping {
    image::MappedFile file;
    explicit Mapping(const image::MappedFile& mapped) : file(mapped) {}
    ~Mapping() { image::UnmapFile(file); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
};

void ReadImageFile(DictionaryFile& read, Findings& findings) {
    image::MappedFile file;
    image::MapFault mapFault;
    if (!image::MapFile(read.path.c_str(), file, mapFault)) {
        AddError(findings, "", mapFault.text);
        return;
    }
    const Mapping mapping(file);
    image::ImageView view;
    image::ImageFault fault;
    if (!image::CheckImage(file.bytes, file.size, view, fault)) {
        AddError(findings, "", std::string(fault.text) + " (sources have names that end with .json)");
        return;
    }
    const char* bytes = static_cast<const char*>(file.bytes);
    read.image.assign(bytes, bytes + file.size);
    read.dictionary = SourceOfImage(view);
}

}  // namespace

// The message library looks for the provider where the platform searches, then beside itself.
std::string ServedImage() {
    ModuleHandle provider = LoadModule("zeldata");
    ModuleSymbol entry = provider == nullptr ? nullptr : FindModuleSymbol(provider, "VORMA_DLL_ENTRY");
    const auto* address =
        entry == nullptr ? reinterpret_cast<const void*>(&ZELSetErrorSink) : reinterpret_cast<const void*>(entry);
    char buffer[image::kImagePathSize];
    const char* path = image::FindServedImage(address, buffer);
    return path == nullptr ? "" : path;
}

bool IsSourceName(const std::string& path) {
    return path.ends_with(".json");
}

DictionarySource ReadSourceFile(const std::string& path, Findings& findings) {
    DictionarySource dictionary;
    const JsonDocument document = ReadJsonFile(path, findings);
    if (const JsonValue root = document.root()) {
        dictionary = ParseDictionary(root, findings);
        CheckDictionary(dictionary, findings);
    }
    return dictionary;
}

DictionaryFile ReadDictionaryFile(const std::string& path, Findings& findings) {
    DictionaryFile read{path, {}, {}};
    if (IsSourceName(path)) {
        read.dictionary = ReadSourceFile(path, findings);
        return read;
    }
    ReadImageFile(read, findings);
    return read;
}

std::optional<DictionaryFile> OpenDictionaryFile(const std::string& path) {
    const std::string chosen = path.empty() ? ServedImage() : path;
    if (chosen.empty()) {
        Complain(std::string("zel: ") + kNoImageKnown);
        return std::nullopt;
    }
    Findings findings;
    DictionaryFile file = ReadDictionaryFile(chosen, findings);
    if (CountErrors(findings) != 0) {
        PrintFindings(chosen, findings);
        return std::nullopt;
    }
    return file;
}

}  // namespace zel::tools
