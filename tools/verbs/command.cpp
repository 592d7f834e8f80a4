#include "tools/verbs/command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>

#include "tools/io/status.h"
#include "tools/io/terminal.h"
#include "tools/verbs/command_pages.h"
#include "tools/verbs/decode.h"
#include "tools/verbs/dict.h"
#include "tools/verbs/encode.h"
#include "tools/verbs/help.h"
#include "tools/verbs/value.h"

namespace zel::tools {

namespace {

int Run(int argc, const char* const* argv, const std::string& version) {
    CLI::App app("Tools for the ZEL message protocol", "zel");
    ConfigureApp(app);
    app.set_version_flag("--version", "zel " + version, "Show the version");
    app.require_subcommand(1);
    app.footer(
        "Examples:\n"
        "  zel encode examples/orders.jsonl > orders.zel\n"
        "  zel decode orders.zel\n"
        "  zel dict show zeldata/sample.json 10/2\n"
        "  zel value money \"101'16\"\n"
        "'zel VERB --help' tells more.\n"
        "Exit status: 0 good, 1 something bad or different was found, 2 wrong usage, no usable dictionary, output that "
        "cannot be written, or no memory.");
    int status = kStatusGood;
    AddDecodeCommand(app, status);
    AddEncodeCommand(app, status);
    AddDictCommand(app, status);
    AddValueCommand(app, status);
    AddPagesCommand(app, version);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        status = app.exit(error) == 0 ? kStatusGood : kStatusUnable;
    }
    // Help is output, too.
    std::cout.flush();
    if (!std::cout && !IsReaderGone()) {
        throw std::runtime_error("cannot write to standard output");
    }
    return status;
}

}  // namespace

int RunCommand(int argc, const char* const* argv, const char* version) noexcept {
    try {
        return Run(argc, argv, version);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zel: %s\n", error.what());
    } catch (...) {
        (void)std::fprintf(stderr, "zel: failed for an unknown reason\n");
    }
    return kStatusUnable;
}

}  // namespace zel::tools
