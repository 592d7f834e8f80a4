#include "tools/verbs/about.h"

#include <array>
#include <climits>
#include <cstring>

#include "core/wire/compression.h"
#include "include/zelmessage.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/io/out_of_memory.h"
#include "tools/text/complaint.h"
#include "zeldata/image.h"

namespace zel::tools {

namespace {

std::string DictionaryText() {
    const std::string path = ServedImage();
    if (path.empty()) {
        return std::string("none: ") + kNoImageKnown;
    }
    const std::string shown = Printable(path);
    if (IsSourceName(path)) {
        return "none: " + shown + " is a source, not an image";
    }
    Findings findings;
    const DictionaryFile file = ReadDictionaryFile(path, findings);
    for (const Finding& finding : findings) {
        if (finding.isError) {
            return "none: " + shown + ' ' + finding.text;
        }
    }
    return shown + ": " + Summary(file.dictionary) + ", image version " + std::to_string(image::kVersion);
}

// Which library is loaded is the system's choice; what it does with bytes is what counts.
std::string CompressorText() {
    constexpr unsigned char kFlags = kPackSent + kPackCompressed;
    constexpr std::array<char, 1000> kPlain{};
    static std::array<char, kZELMaxPayload> packed;
    static std::array<char, kZELMaxPayload> again;
    short packedSize = 0;
    short size = 0;
    const auto pack = [&] {
        return zelCompressPayload(kFlags, kPlain.data(), kPlain.size(), packed.data(), &packedSize);
    };
    if (WithMemory(pack) != 0) {
        return "none: the compression library compresses nothing";
    }
    const auto expand = [&] { return zelExpandPayload(kFlags, packed.data(), packedSize, again.data(), &size); };
    if (WithMemory(expand) != 0 || size != kPlain.size() ||
        std::memcmp(again.data(), kPlain.data(), kPlain.size()) != 0) {
        return "none: the compression library does not read what it wrote";
    }
    return "works: 1000 zero bytes travel as " + std::to_string(packedSize);
}

}  // namespace

std::string AboutText(const BuildInfo& build) {
    return std::string("zel ") + build.version + "\ncommit      " + build.commit + "\nword size   " +
           std::to_string(sizeof(void*) * CHAR_BIT) + " bits" + "\ndictionary  " + DictionaryText() + "\ncompressor  " +
           CompressorText();
}

}  // namespace zel::tools
