#include "tools/verbs/pages.h"

#include <cctype>
#include <memory>
#include <sstream>
#include <vector>

#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/verbs/command_line.h"
#include "tools/verbs/help_text.h"

namespace zel::tools {

namespace {

// A verb with its full name, "zel dict build".
struct NamedVerb {
    std::string name;
    const Verb* verb;
};

// Every verb that is shown, each before those below it.
void CollectVerbs(const Verb& verb, const std::string& name, std::vector<NamedVerb>& verbs) {
    verbs.push_back({name, &verb});
    for (const Verb& below : verb.verbs) {
        if (!below.isHidden) {
            CollectVerbs(below, name + ' ' + below.name, verbs);
        }
    }
}

std::vector<NamedVerb> AllVerbs(const Verb& command) {
    std::vector<NamedVerb> verbs;
    CollectVerbs(command, command.name, verbs);
    return verbs;
}

bool IsArgument(const VerbOption& option) {
    return !option.names.starts_with('-');
}

// The names of an option that begin with just this many dashes, without them.
std::vector<std::string> NamesWithDashes(const std::string& names, std::size_t dashes) {
    std::vector<std::string> found;
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
        if (name.find_first_not_of('-') == dashes) {
            found.push_back(name.substr(dashes));
        }
    }
    return found;
}

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

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

void AppendWord(std::string& words, const std::string& word) {
    words += (words.empty() ? "" : " ") + word;
}

void AppendOptionWords(std::string& words, const std::string& names) {
    for (const std::string& name : NamesWithDashes(names, 2)) {
        AppendWord(words, "--" + name);
    }
    for (const std::string& name : NamesWithDashes(names, 1)) {
        AppendWord(words, '-' + name);
    }
}

std::string OptionWords(const Verb& verb, bool isCommand) {
    std::string words;
    AppendOptionWords(words, kHelpNames);
    if (isCommand) {
        AppendOptionWords(words, kVersionNames);
    }
    for (const VerbOption& option : verb.options) {
        AppendOptionWords(words, option.names);
    }
    return words;
}

std::string VerbWords(const Verb& verb) {
    std::string words;
    for (const Verb& below : verb.verbs) {
        if (!below.isHidden) {
            AppendWord(words, below.name);
        }
    }
    return words;
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
    return text;
}

std::string BashCompletion(const Verb& command) {
    std::string known;
    std::string choices;
    for (const NamedVerb& named : AllVerbs(command)) {
        known += (known.empty() ? "" : " | ") + Quoted(named.name);
        choices += "        " + Quoted(named.name) +
                   ") options=" + Quoted(OptionWords(*named.verb, named.verb == &command)) +
                   " verbs=" + Quoted(VerbWords(*named.verb)) + " ;;\n";
    }
    // Where no verb is left to choose, readline completes the names of files.
    return "# Completion of " + command.name + " for bash, made by the command itself.\n_" + command.name +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} verb=" +
           command.name +
           " options= verbs= i\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
           "        case \"$verb ${COMP_WORDS[i]}\" in\n"
           "        " +
           known +
           ") verb=\"$verb ${COMP_WORDS[i]}\" ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$verb\" in\n" +
           choices +
           "    esac\n"
           "    COMPREPLY=()\n"
           "    case \"$word\" in\n"
           "    -*) mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\") ;;\n"
           "    *) mapfile -t COMPREPLY < <(compgen -W \"$verbs\" -- \"$word\") ;;\n"
           "    esac\n"
           "}\n"
           "complete -o default -F _" +
           command.name + ' ' + command.name + '\n';
}

Verb PagesVerb(const Verb& command, const std::string& version) {
    struct PagesOptions {
        std::string manual;
        std::string completion;
    };
    auto options = std::make_shared<PagesOptions>();
    return {.name = "pages",
            .summary = "Write the manual page and the shell completion",
            .options = {{"MANUAL", &options->manual, "File for the manual page", "", true},
                        {"COMPLETION", &options->completion, "File for the completion of bash", "", true}},
            .run =
                [options, command, version] {
                    const std::string manual = ManualPage(command, version);
                    const std::string completion = BashCompletion(command);
                    WriteFileAtomically(options->manual, {manual.begin(), manual.end()});
                    WriteFileAtomically(options->completion, {completion.begin(), completion.end()});
                    return kStatusGood;
                },
            .isHidden = true};
}

}  // namespace zel::tools
