#include "tools/dict_command.h"

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "tools/dictionary_check.h"
#include "tools/dictionary_image.h"
#include "tools/dictionary_source.h"
#include "tools/file_output.h"
#include "tools/findings.h"
#include "tools/json_file.h"
#include "zeldata/image_check.h"

namespace zel::tools {

namespace {

constexpr int kOk = 0;
constexpr int kErrorsFound = 1;

struct DictOptions {
    std::string source;
    std::string image;
};

// Reads the source and prints everything that was found; the findings tell whether the dictionary can be used.
DictionarySource LoadDictionary(const std::string& source, Findings& findings) {
    DictionarySource dictionary;
    const nlohmann::json json = ReadJsonFile(source, findings);
    if (!json.is_discarded()) {
        dictionary = ParseDictionary(json, findings);
        CheckDictionary(dictionary, findings);
    }
    PrintFindings(std::cerr, source, findings);
    return dictionary;
}

std::string Summary(const DictionarySource& dictionary) {
    return Counted(dictionary.fields.size(), "field") + ", " + Counted(dictionary.messages.size(), "message");
}

int CheckSource(const DictOptions& options) {
    Findings findings;
    const DictionarySource dictionary = LoadDictionary(options.source, findings);
    const std::size_t errors = CountErrors(findings);
    std::cout << options.source << ": " << Summary(dictionary) << ": " << Counted(errors, "error") << ", "
              << Counted(findings.size() - errors, "warning") << '\n';
    return errors == 0 ? kOk : kErrorsFound;
}

// What the provider would refuse must not leave the compiler.
void VerifyImage(const std::vector<char>& bytes) {
    image::ImageView view;
    image::ImageFault fault;
    if (!image::CheckImage(bytes.data(), bytes.size(), view, fault)) {
        throw std::runtime_error(std::string("the image built ") + fault.text);
    }
}

int BuildImage(const DictOptions& options) {
    Findings findings;
    const DictionarySource dictionary = LoadDictionary(options.source, findings);
    const std::size_t errors = CountErrors(findings);
    if (errors != 0) {
        std::cerr << options.source << ": " << Counted(errors, "error") << "; no image written\n";
        return kErrorsFound;
    }
    const std::vector<char> bytes = BuildDictionaryImage(dictionary);
    VerifyImage(bytes);
    WriteFileAtomically(options.image, bytes);
    std::cout << options.image << ": " << Summary(dictionary) << ", " << Counted(bytes.size(), "byte") << '\n';
    return kOk;
}

}  // namespace

void AddDictCommand(CLI::App& app, int& status) {
    CLI::App* dict = app.add_subcommand("dict", "Check dictionary sources and build the images that a provider serves");
    dict->require_subcommand(1);
    auto options = std::make_shared<DictOptions>();

    CLI::App* build = dict->add_subcommand("build", "Build the image of a dictionary source");
    build->add_option("SRC", options->source, "Dictionary source (JSON, comments allowed)")->required();
    build->add_option("-o,--output", options->image, "Image to write; an old one is replaced in one step")
        ->required()
        ->option_text("IMAGE");
    build->footer(
        "Example:\n  zel dict build market.json -o zeldata.img\n"
        "Exit status: 0 built, 1 errors in the source or no image written, 2 wrong usage.");
    build->callback([options, &status] { status = BuildImage(*options); });

    CLI::App* check = dict->add_subcommand("check", "Report every fault of a dictionary source");
    check->add_option("SRC", options->source, "Dictionary source (JSON, comments allowed)")->required();
    check->footer(
        "Example:\n  zel dict check market.json\n"
        "Exit status: 0 no errors (warnings do not count), 1 errors, 2 wrong usage.");
    check->callback([options, &status] { status = CheckSource(*options); });
}

}  // namespace zel::tools
