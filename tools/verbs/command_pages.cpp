#include "tools/verbs/command_pages.h"

#include <cctype>
#include <memory>
#include <vector>

#include "tools/io/file_output.h"
#include "tools/verbs/help.h"

namespace zel::tools {

namespace {

// A verb with its full name, "zel dict build".
struct Verb {
    std::string name;
    const CLI::App* app;
};

std::vector<const CLI::App*> ShownVerbs(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* verb) { return !IsHidden(*verb); });
}

std::vector<const CLI::Option*> ShownOptions(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return !IsHidden(*option); });
}

bool IsLeaf(const CLI::App& app) {
    return ShownVerbs(app).empty();
}

// Every verb, each before those below it.
void CollectVerbs(const CLI::App& app, const std::string& name, std::vector<Verb>& verbs) {
    verbs.push_back({name, &app});
    for (const CLI::App* verb : ShownVerbs(app)) {
        CollectVerbs(*verb, name + ' ' + verb->get_name(), verbs);
    }
}

std::vector<Verb> AllVerbs(const CLI::App& app) {
    std::vector<Verb> verbs;
    CollectVerbs(app, app.get_name(), verbs);
    return verbs;
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
std::string OptionTerm(const CLI::Option& option) {
    if (option.get_positional()) {
        return "\\fI" + Roff(option.get_name()) + "\\fR";
    }
    std::string term;
    for (const std::string& name : option.get_snames()) {
        term += (term.empty() ? "\\fB\\-" : ", \\fB\\-") + Roff(name) + "\\fR";
    }
    for (const std::string& name : option.get_lnames()) {
        term += (term.empty() ? "\\fB\\-\\-" : ", \\fB\\-\\-") + Roff(name) + "\\fR";
    }
    const std::string taken = option.get_option_text().empty() ? option.get_type_name() : option.get_option_text();
    return option.get_type_size() == 0 || taken.empty() ? term : term + " \\fI" + Roff(taken) + "\\fR";
}

std::string Synopsis(const Verb& verb) {
    std::string text = ".B " + Roff(verb.name) + "\n[\\fIoptions\\fR]";
    for (const CLI::Option* option : ShownOptions(*verb.app)) {
        if (option->get_positional()) {
            const std::string name = OptionTerm(*option);
            text += option->get_required() ? ' ' + name : " [" + name + ']';
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

std::string VerbSection(const Verb& verb, const std::string& inherited) {
    std::string text = ".SS " + Roff(verb.name) + '\n' + Roff(verb.app->get_description()) + ".\n";
    for (const CLI::Option* option : ShownOptions(*verb.app)) {
        // Every verb has it: the description above tells of it once.
        if (option == verb.app->get_help_ptr()) {
            continue;
        }
        text += ".TP\n" + OptionTerm(*option) + '\n' + Roff(option->get_description()) + ".\n";
    }
    // A verb without a footer of its own has that of the command.
    return verb.app->get_footer() == inherited ? text : text + FooterText(verb.app->get_footer());
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::string OptionWords(const CLI::App& app) {
    std::string words;
    for (const CLI::Option* option : ShownOptions(app)) {
        for (const std::string& name : option->get_lnames()) {
            words += (words.empty() ? "--" : " --") + name;
        }
        for (const std::string& name : option->get_snames()) {
            words += (words.empty() ? "-" : " -") + name;
        }
    }
    return words;
}

std::string VerbWords(const CLI::App& app) {
    std::string words;
    for (const CLI::App* verb : ShownVerbs(app)) {
        words += (words.empty() ? "" : " ") + verb->get_name();
    }
    return words;
}

}  // namespace

std::string ManualPage(const CLI::App& app, const std::string& version) {
    const std::vector<Verb> verbs = AllVerbs(app);
    std::string text = ".TH ZEL 1 \"\" \"zel " + version + "\" \"User Commands\"\n.SH NAME\nzel \\- " +
                       Roff(Lowered(app.get_description())) + "\n.SH SYNOPSIS\n.nh\n.ad l\n";
    const char* separator = "";
    for (const Verb& verb : verbs) {
        if (IsLeaf(*verb.app)) {
            text += separator + Synopsis(verb);
            separator = ".br\n";
        }
    }
    text += ".SH DESCRIPTION\n" + FooterText(app.get_footer());
    for (const CLI::Option* option : ShownOptions(app)) {
        text += ".TP\n" + OptionTerm(*option) + '\n' + Roff(option->get_description()) + ".\n";
    }
    text += ".SH VERBS\n";
    for (const Verb& verb : verbs) {
        if (IsLeaf(*verb.app)) {
            text += VerbSection(verb, app.get_footer());
        }
    }
    return text;
}

std::string BashCompletion(const CLI::App& app) {
    std::string known;
    std::string choices;
    for (const Verb& verb : AllVerbs(app)) {
        known += (known.empty() ? "" : " | ") + Quoted(verb.name);
        choices += "        " + Quoted(verb.name) + ") options=" + Quoted(OptionWords(*verb.app)) +
                   " verbs=" + Quoted(VerbWords(*verb.app)) + " ;;\n";
    }
    // Where no verb is left to choose, readline completes the names of files.
    return "# Completion of " + app.get_name() + " for bash, made by the command itself.\n_" + app.get_name() +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} verb=" +
           app.get_name() +
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
           app.get_name() + ' ' + app.get_name() + '\n';
}

void AddPagesCommand(CLI::App& app, const std::string& version) {
    struct PagesOptions {
        std::string manual;
        std::string completion;
    };
    auto options = std::make_shared<PagesOptions>();
    CLI::App* pages = app.add_subcommand("pages", "Write the manual page and the shell completion");
    pages->group("");
    pages->add_option("MANUAL", options->manual, "File for the manual page")->required();
    pages->add_option("COMPLETION", options->completion, "File for the completion of bash")->required();
    pages->callback([options, &app, version] {
        const std::string manual = ManualPage(app, version);
        const std::string completion = BashCompletion(app);
        WriteFileAtomically(options->manual, {manual.begin(), manual.end()});
        WriteFileAtomically(options->completion, {completion.begin(), completion.end()});
    });
}

}  // namespace zel::tools
