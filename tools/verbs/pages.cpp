#include "tools/verbs/pages.h"

#include <cctype>
#include <memory>
#include <vector>

#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/verbs/command_line.h"
#include "tools/verbs/completion.h"
#include "tools/verbs/help_text.h"
#include "tools/verbs/verb_list.h"

namespace zel::tools {

namespace {

// Text that the formatter prints as it is, also at the start of a line.
std::string Roff(const std::string& text) {
    std::string escaped = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
    for (const char c : text) {
        switch (c) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += "\\-";
                break;
            case '\'':
                escaped += "\\(aq";
                break;
            case '"':
                escaped += "\\(dq";
                break;
            case '^':
                escaped += "\\(ha";
                break;
            case '~':
                escaped += "\\(ti";
                break;
            case '`':
                escaped += "\\(ga";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string Lowered(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
}

// "\fISRC\fR", "\fB\-o\fR, \fB\-\-output\fR \fIIMAGE\fR"
std::string OptionTerm(const std::string& names, const std::string& placeholder) {
    std::string term;
    for (const std::string& name : NamesWithDashes(names, 0)) {
        term += "\\fI" + Roff(name) + "\\fR";
    }
    for (const std::string& name : NamesWithDashes(names, 1)) {
        term += (term.empty() ? "\\fB\\-" : ", \\fB\\-") + Roff(name) + "\\fR";
    }
    for (const std::string& name : NamesWithDashes(names, 2)) {
        term += (term.empty() ? "\\fB\\-\\-" : ", \\fB\\-\\-") + Roff(name) + "\\fR";
    }
    return placeholder.empty() ? term : term + " \\fI" + Roff(placeholder) + "\\fR";
}

std::string OptionParagraph(const std::string& term, const std::string& description) {
    return ".TP\n" + term + '\n' + Roff(description) + ".\n";
}

std::string Synopsis(const NamedVerb& named) {
    std::string text = ".B " + Roff(named.name) + "\n[\\fIoptions\\fR]";
    for (const VerbOption& option : named.verb->options) {
        if (IsArgument(option)) {
            const std::string name = OptionTerm(option.names, "");
            text += option.isRequired ? ' ' + name : " [" + name + ']';
        }
    }
    return text + '\n';
}

// Paragraphs, and examples as they are typed.
std::string FooterText(const std::string& footer) {
    std::string text;
    bool inExamples = false;
    for (const std::string& line : Lines(footer)) {
        if (IsExample(line) != inExamples) {
            inExamples = !inExamples;
            text += inExamples ? ".PP\n.RS\n.nf\n" : ".fi\n.RE\n";
        }
        text += inExamples ? Roff(line.substr(2)) + '\n' : ".PP\n" + Roff(line) + '\n';
    }
    return text + (inExamples ? ".fi\n.RE\n" : "");
}

// The option that shows the help is told of once, above the verbs.
std::string VerbSection(const NamedVerb& named) {
    std::string text = ".SS " + Roff(named.name) + '\n' + Roff(named.verb->summary) + ".\n";
    for (const VerbOption& option : named.verb->options) {
        text += OptionParagraph(OptionTerm(option.names, option.placeholder), option.description);
    }
    return text + FooterText(named.verb->footer);
}

}  // namespace

std::string ManualPage(const Verb& command, const std::string& version) {
    const std::vector<NamedVerb> verbs = AllVerbs(command);
    std::string text = ".TH ZEL 1 \"\" \"zel " + version + "\" \"User Commands\"\n.SH NAME\nzel \\- " +
                       Roff(Lowered(command.summary)) + "\n.SH SYNOPSIS\n.nh\n.ad l\n";
    const char* separator = "";
    for (const NamedVerb& named : verbs) {
        if (named.verb->run) {
            text += separator + Synopsis(named);
            separator = ".br\n";
        }
    }
    text += ".SH DESCRIPTION\n" + FooterText(command.footer) +
            OptionParagraph(OptionTerm(kHelpNames, ""), kHelpDescription) +
            OptionParagraph(OptionTerm(kVersionNames, ""), kVersionDescription) + ".SH VERBS\n";
    for (const NamedVerb& named : verbs) {
        if (named.verb->run) {
            text += VerbSection(named);
        }
    }
    for (const ManualSection& section : command.sections) {
        text += ".SH " + Roff(section.title) + '\n';
        for (const auto& [term, description] : section.items) {
            text += OptionParagraph("\\fB" + Roff(term) + "\\fR", description);
        }
    }
    return text;
}

Verb PagesVerb(const Verb& command, const std::string& version) {
    struct PagesOptions {
        std::string manual;
        std::string bash;
        std::string zsh;
        std::string fish;
    };
    auto options = std::make_shared<PagesOptions>();
    return {.name = "pages",
            .summary = "Write the manual page and the completions of shells",
            .options = {{"MANUAL", &options->manual, "File for the manual page", "", true},
                        {"BASH", &options->bash, "File for the completion of bash", "", true},
                        {"ZSH", &options->zsh, "File for that of zsh", "", true},
                        {"FISH", &options->fish, "File for that of fish", "", true}},
            .run =
                [options, command, version] {
                    const auto write = [](const std::string& path, const std::string& text) {
                        WriteFileAtomically(path, {text.begin(), text.end()});
                    };
                    write(options->manual, ManualPage(command, version));
                    write(options->bash, BashCompletion(command));
                    write(options->zsh, ZshCompletion(command));
                    write(options->fish, FishCompletion(command));
                    return kStatusGood;
                },
            .isHidden = true};
}

}  // namespace zel::tools
