// The command `zel`: hands the arguments to the verb that they name.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>

#include "tools/decode_command.h"
#include "tools/dict_command.h"
#include "tools/encode_command.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Run(int argc, char** argv) {
    CLI::App app("Tools for the ZEL message protocol", "zel");
    app.require_subcommand(1);
    app.footer("'zel VERB --help' tells more, with examples.");
    int status = 0;
    zel::tools::AddDecodeCommand(app, status);
    zel::tools::AddEncodeCommand(app, status);
    zel::tools::AddDictCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongUsage;
    }
    std::cout.flush();
    if (!std::cout) {
        throw std::runtime_error("cannot write to standard output");
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "zel: %s\n", error.what());
    } catch (...) {
        (void)std::fprintf(stderr, "zel: failed for an unknown reason\n");
    }
    return kFailed;
}
