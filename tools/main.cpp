// The command `zel`: hands the arguments to the verb that they name.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>

#include "tools/command_pages.h"
#include "tools/decode_command.h"
#include "tools/dict_command.h"
#include "tools/encode_command.h"
#include "tools/help.h"
#include "tools/status.h"
#include "tools/terminal.h"
#include "tools/value_command.h"

namespace {

int Run(int argc, char** argv) {
    CLI::App app("Tools for the ZEL message protocol", "zel");
    zel::tools::ConfigureApp(app);
    app.set_version_flag("--version", "zel " ZEL_VERSION, "Show the version");
    app.require_subcommand(1);
    app.footer(
        "Examples:\n"
        "  zel encode examples/orders.jsonl > orders.zel\n"
        "  zel decode orders.zel\n"
        "  zel dict show zeldata/sample.json 10/2\n"
        "  zel value money \"101'16\"\n"
        "'zel VERB --help' tells more.\n"
        "Exit status: 0 good, 1 something bad or different was found, 2 wrong usage or no usable dictionary.");
    int status = zel::tools::kStatusGood;
    zel::tools::AddDecodeCommand(app, status);
    zel::tools::AddEncodeCommand(app, status);
    zel::tools::AddDictCommand(app, status);
    zel::tools::AddValueCommand(app, status);
    zel::tools::AddPagesCommand(app, ZEL_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? zel::tools::kStatusGood : zel::tools::kStatusUsage;
    }
    std::cout.flush();
    if (!std::cout && !zel::tools::IsReaderGone()) {
        throw std::runtime_error("cannot write to standard output");
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    zel::tools::PrepareStreams();
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zel: %s\n", error.what());
    } catch (...) {
        (void)std::fprintf(stderr, "zel: failed for an unknown reason\n");
    }
    return zel::tools::kStatusFound;
}
