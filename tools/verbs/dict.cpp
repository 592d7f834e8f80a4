#include "tools/verbs/dict.h"

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/text/findings.h"
#include "tools/verbs/dict_diff.h"
#include "tools/verbs/dict_show.h"
#include "tools/verbs/dict_wireshark.h"
#include "zeldata/image_check.h"

namespace zel::tools {

namespace {

constexpr const char* kDictionary =
    "Dictionary: an image, or a source whose name ends with .json. Without it, the image that the provider serves: "
    "what ZELDATA_IMAGE names, else zeldata.img beside the provider library";

struct BuildOptions {
    std::string source;
    std::string image;
};

// Prints everything that was found; the findings tell whether the dictionary can be used.
DictionarySource LoadSource(const std::string& source, Findings& findings) {
    DictionarySource dictionary = ReadSourceFile(source, findings);
    PrintFindings(std::cerr, source, findings);
    return dictionary;
}

int CheckSource(const std::string& source) {
    Findings findings;
    const DictionarySource dictionary = LoadSource(source, findings);
    const std::size_t errors = CountErrors(findings);
    std::cout << source << ": " << Summary(dictionary) << ": " << Counted(errors, "error") << ", "
              << Counted(findings.size() - errors, "warning") << '\n';
    return errors == 0 ? kStatusGood : kStatusFound;
}

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
    const DictionarySource dictionary = LoadSource(options.source, findings);
    const std::size_t errors = CountErrors(findings);
    if (errors != 0) {
        std::cerr << options.source << ": " << Counted(errors, "error") << "; no image written\n";
        return kStatusFound;
    }
    const std::vector<char> bytes = BuildDictionaryImage(dictionary);
    VerifyImage(bytes);
    WriteFileAtomically(options.image, bytes);
    std::cout << options.image << ": " << Summary(dictionary) << ", " << Counted(bytes.size(), "byte") << '\n';
    return kStatusGood;
}

void AddBuild(CLI::App& dict, int& status) {
    CLI::App* build = dict.add_subcommand("build", "Build the image of a dictionary source");
    auto options = std::make_shared<BuildOptions>();
    build->add_option("SRC", options->source, "Dictionary source (JSON, comments allowed)")->required();
    build->add_option("-o,--output", options->image, "Image to write; an old one is replaced in one step")
        ->required()
        ->option_text("IMAGE");
    build->footer(
        "Example:\n"
        "  zel dict build zeldata/sample.json -o sample.img\n"
        "Exit status: 0 built, 1 errors in the source, 2 wrong usage or the image cannot be written.");
    build->callback([options, &status] { status = BuildImage(*options); });
}

void AddCheck(CLI::App& dict, int& status) {
    CLI::App* check = dict.add_subcommand("check", "Report every fault of a dictionary source");
    auto source = std::make_shared<std::string>();
    check->add_option("SRC", *source, "Dictionary source (JSON, comments allowed)")->required();
    check->footer(
        "Example:\n"
        "  zel dict check zeldata/sample.json\n"
        "Exit status: 0 no errors (warnings do not count), 1 errors, 2 wrong usage.");
    check->callback([source, &status] { status = CheckSource(*source); });
}

void AddShow(CLI::App& dict, int& status) {
    CLI::App* show = dict.add_subcommand("show", "Show the fields and messages of a dictionary");
    auto options = std::make_shared<ShowOptions>();
    show->add_option("IMAGE", options->dictionary, kDictionary);
    show->add_option("WHAT", options->subject,
                     "Name of a field or a message, id of a field, or TYPE/SUBTYPE of a message. Without it, "
                     "everything");
    show->add_flag("--json", options->json, "Write the whole dictionary as a source that builds to the same image");
    show->footer(
        "Examples:\n"
        "  zel dict show zeldata/sample.json\n"
        "  zel dict show zeldata/sample.json LIMIT_PRICE\n"
        "  zel dict show zeldata/sample.json 10/2\n"
        "  zel dict show zeldata/sample.json --json\n"
        "Exit status: 0 shown, 1 nothing has that name or number, 2 wrong usage or no usable dictionary.");
    show->callback([options, &status] { status = ShowDictionary(*options); });
}

void AddDiff(CLI::App& dict, int& status) {
    CLI::App* diff = dict.add_subcommand("diff", "Compare two dictionaries and tell what breaks peers");
    auto options = std::make_shared<DiffOptions>();
    diff->add_option("OLD", options->before, "Image, or source whose name ends with .json")->required();
    diff->add_option("NEW", options->after, "Image, or source whose name ends with .json")->required();
    diff->add_flag("--breaking", options->breakingOnly, "Tell only what breaks peers");
    diff->add_flag("--json", options->json, "Write the changes as a JSON array");
    diff->footer(
        "A change breaks peers when a program with the one dictionary and a program with the other cannot exchange a "
        "message, or read other values than were sent, in the field formats that are named.\n"
        "Examples:\n"
        "  zel dict diff zeldata/sample.json zeldata/sample.json\n"
        "  zel dict diff --breaking zeldata/sample.json sample.img\n"
        "Exit status: 0 no changes to tell, 1 changes, 2 wrong usage or no usable dictionary.");
    diff->callback([options, &status] { status = DiffDictionaries(*options); });
}

void AddWireshark(CLI::App& dict, int& status) {
    CLI::App* wireshark = dict.add_subcommand("wireshark", "Write a dissector for Wireshark that knows a dictionary");
    auto options = std::make_shared<WiresharkOptions>();
    wireshark->add_option("IMAGE", options->dictionary, kDictionary);
    wireshark->add_option("-o,--output", options->output, "Lua file to write; without it, standard output")
        ->option_text("FILE");
    wireshark->footer(
        std::string("The file is a whole dissector, for Wireshark and tshark from 3.6 on. To install it, copy it to ") +
        kPluginFolders +
        ". To try it out, name it: tshark -X lua_script:FILE.\n"
        "Examples:\n"
        "  zel dict wireshark zeldata/sample.json -o zel.lua\n"
        "Exit status: 0 written, 2 wrong usage, no usable dictionary or the file cannot be written.");
    wireshark->callback([options, &status] { status = WriteDissector(*options); });
}

}  // namespace

void AddDictCommand(CLI::App& app, int& status) {
    CLI::App* dict =
        app.add_subcommand("dict", "Check, build, show and compare dictionaries, and show them to Wireshark");
    dict->require_subcommand(1);
    dict->footer(
        "Examples:\n"
        "  zel dict check zeldata/sample.json\n"
        "  zel dict show zeldata/sample.json 10/2\n"
        "'zel dict VERB --help' tells more.");
    AddBuild(*dict, status);
    AddCheck(*dict, status);
    AddShow(*dict, status);
    AddDiff(*dict, status);
    AddWireshark(*dict, status);
}

}  // namespace zel::tools
