#include "tools/verbs/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <sstream>

#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/text/wrapped_text.h"
#include "tools/verbs/help_text.h"
#include "tools/verbs/nearest_verb.h"

namespace zel::tools {

namespace {

constexpr std::size_t kLineWidth = 80;
constexpr std::size_t kTermWidth = 26;  // of an option and its value, in front of the description

class WrappingFormatter final : public CLI::Formatter {
public:
    WrappingFormatter() {
        column_width(kTermWidth);
        label("SUBCOMMAND", "VERB");
    }

    // The usage line tells which arguments may be left out.
    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        return Wrap(option->get_description(), kLineWidth - kTermWidth);
    }

    std::string make_footer(const CLI::App* app) const override {
        std::string text;
        for (const std::string& line : Lines(app->get_footer())) {
            text += (IsExample(line) ? line : Wrap(line, kLineWidth)) + '\n';
        }
        return text;
    }
};

// Adds the option by the type of what it sets.
struct AddTo {
    CLI::App& app;
    const VerbOption& option;

    CLI::Option* operator()(bool* flag) const { return app.add_flag(option.names, *flag, option.description); }
    CLI::Option* operator()(std::vector<std::string>* list) const {
        const bool isArgument = !option.names.starts_with('-');
        return app.add_option(option.names, *list, option.description)->delimiter(',')->allow_extra_args(isArgument);
    }
    CLI::Option* operator()(WholeTexts* list) const {
        const bool isArgument = !option.names.starts_with('-');
        return app.add_option(option.names, list->texts, option.description)->allow_extra_args(isArgument);
    }
    template <typename Value>
    CLI::Option* operator()(Value* value) const {
        return app.add_option(option.names, *value, option.description);
    }
};

void AddOption(CLI::App& app, const VerbOption& option) {
    CLI::Option* added = std::visit(AddTo{app, option}, option.target);
    added->required(option.isRequired);
    if (!option.placeholder.empty()) {
        added->option_text(option.placeholder);
    }
}

void ExcludeOneAnother(CLI::App& app, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        for (std::size_t j = i + 1; j < names.size(); ++j) {
            app.get_option(names[i])->excludes(app.get_option(names[j]));
        }
    }
}

// `chosen` is set while the arguments are parsed. A verb inherits what it does not say itself.
void Fill(CLI::App& app, const Verb& verb, const Verb*& chosen) {
    for (const VerbOption& option : verb.options) {
        AddOption(app, option);
    }
    for (const std::vector<std::string>& names : verb.exclusive) {
        ExcludeOneAnother(app, names);
    }
    if (!verb.footer.empty()) {
        app.footer(verb.footer);
    }
    if (verb.isHidden) {
        app.group("");
    }
    if (verb.run) {
        app.callback([&verb, &chosen] { chosen = &verb; });
        return;
    }
    app.require_subcommand(1);
    for (const Verb& below : verb.verbs) {
        Fill(*app.add_subcommand(below.name, below.summary), below, chosen);
    }
}

}  // namespace

ParsedCommand ParseCommandLine(const Verb& command, const std::function<std::string()>& version, int argc,
                               const char* const* argv) {
    if (const std::string fault = VerbFault(command, argc, argv); !fault.empty()) {
        Complain(command.name + ": " + fault);
        Complain(kSeeHelp);
        return {nullptr, kStatusUnable};
    }
    CLI::App app(command.summary, command.name);
    app.allow_windows_style_options(false);  // a path may begin with "/"
    app.formatter(std::make_shared<WrappingFormatter>());
    app.set_help_flag(kHelpNames, kHelpDescription);
    app.set_version_flag(kVersionNames, version, kVersionDescription);
    const Verb* chosen = nullptr;
    Fill(app, command, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream complaint;
        const bool isGood = app.exit(error, std::cout, complaint) == 0;
        for (const std::string& line : Lines(complaint.str())) {
            Complain(line);
        }
        return {nullptr, isGood ? kStatusGood : kStatusUnable};
    }
    return {chosen, kStatusGood};
}

}  // namespace zel::tools
