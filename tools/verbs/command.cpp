#include "tools/verbs/command.h"

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/io/byte_output.h"
#include "tools/io/status.h"
#include "tools/io/terminal.h"
#include "tools/text/complaint.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/command_line.h"
#include "tools/verbs/completion.h"
#include "tools/verbs/pages.h"

namespace zel::tools {

namespace {

int RunVerb(const Verb& verb) {
    try {
        return verb.run();
    } catch (const OutputClosed&) {
        return kStatusGood;
    } catch (const UsageError& error) {
        Complain(error.what());
        Complain(kSeeHelp);
        return kStatusUnable;
    }
}

int Run(int argc, const char* const* argv, const BuildInfo& build) {
    Verb command = ZelCommand();
    command.verbs.push_back(PagesVerb(command, build.version));
    command.verbs.push_back(NamesVerb());
    const ParsedCommand parsed = ParseCommandLine(
        command, [&build] { return AboutText(build); }, argc, argv);
    const int status = parsed.verb == nullptr ? parsed.status : RunVerb(*parsed.verb);
    // Help is output, too.
    std::cout.flush();
    if (!std::cout && !IsReaderGone()) {
        throw std::runtime_error("cannot write to standard output");
    }
    return status;
}

}  // namespace

// All that a verb throws ends here or in RunVerb.
int RunCommand(int argc, const char* const* argv, const BuildInfo& build) noexcept {
    try {
        return Run(argc, argv, build);
    } catch (const std::exception& error) {
        Complain(std::string("zel: ") + error.what());
    } catch (...) {
        Complain("zel: failed for an unknown reason");
    }
    return kStatusUnable;
}

}  // namespace zel::tools
