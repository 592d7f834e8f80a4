#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/verbs/all_verbs.h"
#include "zeldata/image_check.h"

namespace zel::tools {

namespace {

struct BuildOptions {
    std::string source;
    std::string image;
};

// What the provider would refuse must not leave the compiler.
void VerifyImage(const std::vector<char>& bytes) {
    image::ImageView view;
    image::ImageFault fault;
    if (!image::CheckImage(bytes.data(), bytes.size(), view, fault)) {
        throw std::runtime_error(std::string("the image built ") + fault.text);
    }
}

int BuildImage(const BuildOptions& options) {
    Findings findings;
    const DictionarySource dictionary = ReadSourceFile(options.source, findings);
    PrintFindings(options.source, findings);
    const std::size_t errors = CountErrors(findings);
    if (errors != 0) {
        Complain(options.source + ": " + Counted(errors, "error") + "; no image written");
        return kStatusDiffers;
    }
    const std::vector<char> bytes = BuildDictionaryImage(dictionary);
    VerifyImage(bytes);
    WriteFileAtomically(options.image, bytes);
    std::cout << Printable(options.image) << ": " << Summary(dictionary) << ", " << Counted(bytes.size(), "byte")
              << '\n';
    return kStatusGood;
}

}  // namespace

Verb DictBuildVerb() {
    auto options = std::make_shared<BuildOptions>();
    return {.name = "build",
            .summary = "Build the image of a dictionary source",
            .options = {{"SRC", &options->source, "Dictionary source (JSON, comments allowed)", "", true},
                        {"-o,--output", &options->image, "Image to write; an old one is replaced in one step", "IMAGE",
                         true}},
            .footer =
                "Example:\n"
                "  zel dict show --json > market.json\n"
                "  zel dict build market.json -o market.img\n"
                "Exit status: 0 built, 1 errors in the source, 2 wrong usage or the image cannot be written.",
            .run = [options] { return BuildImage(*options); }};
}

}  // namespace zel::tools
