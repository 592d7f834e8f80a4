#include "tools/verbs/completion.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include "runtime/digits.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/io/status.h"
#include "tools/verbs/verb_list.h"

namespace zel::tools {

namespace {

bool IsLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool TakesNames(const Verb& verb) {
    return std::any_of(verb.options.begin(), verb.options.end(),
                       [](const VerbOption& option) { return option.isName; });
}

// Replaces each {} of a script by the command's name.
std::string Named(std::string script, const std::string& name) {
    for (std::size_t at = script.find("{}"); at != std::string::npos; at = script.find("{}", at + name.size())) {
        script.replace(at, 2, name);
    }
    return script;
}

// In single quotes, `quote` standing for one within.
std::string Quoted(const std::string& text, const char* quote) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? quote : std::string(1, c);
    }
    return quoted + '\'';
}

// What a list shows beside a name: a description's first clause.
std::string Brief(const std::string& description) {
    std::size_t end = description.size();
    for (const char* separator : {": ", "; ", ". "}) {
        end = std::min(end, description.find(separator));
    }
    return description.substr(0, end);
}

void AppendWord(std::string& words, const std::string& word) {
    words += (words.empty() ? "" : " ") + word;
}

// The full names of all verbs, as patterns of a shell's case.
std::string KnownVerbs(const Verb& command) {
    std::string known;
    for (const NamedVerb& named : AllVerbs(command)) {
        known += (known.empty() ? "\"" : " | \"") + named.name + '"';
    }
    return known;
}

std::string BashWords(const NamedVerb& named, bool isCommand) {
    std::string options;
    for (const VerbOption& option : OptionsOf(*named.verb, isCommand)) {
        for (const std::string& name : NamesWithDashes(option.names, 2)) {
            AppendWord(options, "--" + name);
        }
        for (const std::string& name : NamesWithDashes(option.names, 1)) {
            AppendWord(options, '-' + name);
        }
    }
    std::string verbs;
    for (const Verb& below : named.verb->verbs) {
        if (!below.isHidden) {
            AppendWord(verbs, below.name);
        }
    }
    return "options=\"" + options + "\" verbs=\"" + verbs + '"' + (TakesNames(*named.verb) ? " named=1" : "");
}

std::string ZshItem(const std::string& name, const std::string& description) {
    return Quoted(name + ':' + Brief(description), "'\\''");
}

std::string ZshWords(const NamedVerb& named, bool isCommand) {
    std::string options;
    for (const VerbOption& option : OptionsOf(*named.verb, isCommand)) {
        for (const std::size_t dashes : {std::size_t{2}, std::size_t{1}}) {
            for (const std::string& name : NamesWithDashes(option.names, dashes)) {
                AppendWord(options, ZshItem(std::string(dashes, '-') + name, option.description));
            }
        }
    }
    std::string verbs;
    for (const Verb& below : named.verb->verbs) {
        if (!below.isHidden) {
            AppendWord(verbs, ZshItem(below.name, below.summary));
        }
    }
    return "options=(" + options + ") verbs=(" + verbs + ')' + (TakesNames(*named.verb) ? " named=1" : "");
}

std::string FishOption(const std::string& start, const VerbOption& option) {
    std::string line = start;
    for (const std::string& name : NamesWithDashes(option.names, 1)) {
        line += " -s " + name;
    }
    for (const std::string& name : NamesWithDashes(option.names, 2)) {
        line += " -l " + name;
    }
    const bool isFlag = std::holds_alternative<bool*>(option.target);
    return line + (isFlag ? " -d " : " -r -d ") + Quoted(Brief(option.description), "\\'") + '\n';
}

// Names that mean something to a shell are left out: shells expand what they complete from.
void PrintName(const std::string& name) {
    const auto isPlain = [](char c) { return IsDigit(c) || IsLetter(c) || c == '_' || c == '-' || c == '.'; };
    if (std::all_of(name.begin(), name.end(), isPlain)) {
        std::cout << name << '\n';
    }
}

}  // namespace

// Where nothing is left to choose, readline completes the names of files.
std::string BashCompletion(const Verb& command) {
    std::string choices;
    for (const NamedVerb& named : AllVerbs(command)) {
        choices += "        \"" + named.name + "\") " + BashWords(named, named.verb == &command) + " ;;\n";
    }
    return Named(
        "# Completion of {} for bash, made by the command itself.\n"
        "_{}() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} verb={} options= verbs= named= dictionary=() i\n"
        "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        "        case \"$verb ${COMP_WORDS[i]}\" in\n"
        "        " +
            KnownVerbs(command) +
            ") verb=\"$verb ${COMP_WORDS[i]}\" ;;\n"
            "        *.img | *.json) dictionary=(\"${COMP_WORDS[i]}\") ;;\n"
            "        esac\n"
            "    done\n"
            "    case \"$verb\" in\n" +
            choices +
            "    esac\n"
            "    COMPREPLY=()\n"
            "    case \"$word\" in\n"
            "    -*) mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\") ;;\n"
            "    *)\n"
            "        [ -z \"$named\" ] || verbs=$(\"${COMP_WORDS[0]}\" names \"${dictionary[@]}\" 2>/dev/null)\n"
            "        mapfile -t COMPREPLY < <(compgen -W \"$verbs\" -- \"$word\")\n"
            "        ;;\n"
            "    esac\n"
            "}\n"
            "complete -o default -F _{} {}\n",
        command.name);
}

std::string ZshCompletion(const Verb& command) {
    std::string choices;
    for (const NamedVerb& named : AllVerbs(command)) {
        choices += "(\"" + named.name + "\") " + ZshWords(named, named.verb == &command) + " ;;\n";
    }
    return Named(
        "#compdef {}\n"
        "# Completion of {} for zsh, made by the command itself.\n"
        "local verb={} named= i\n"
        "local -a options verbs dictionary names\n"
        "for ((i = 2; i < CURRENT; ++i)); do\n"
        "    case \"$verb ${words[i]}\" in\n"
        "    (" +
            KnownVerbs(command) +
            ") verb=\"$verb ${words[i]}\" ;;\n"
            "    (*.img | *.json) dictionary=(\"${words[i]}\") ;;\n"
            "    esac\n"
            "done\n"
            "case \"$verb\" in\n" +
            choices +
            "esac\n"
            "if [[ $PREFIX == -* ]]; then\n"
            "    _describe -o option options\n"
            "elif (( $#verbs )); then\n"
            "    _describe verb verbs\n"
            "else\n"
            "    [[ -z $named ]] || names=(${(f)\"$(\"${words[1]}\" names $dictionary 2>/dev/null)\"})\n"
            "    (( ! $#names )) || compadd -- $names\n"
            "    _files\n"
            "fi\n",
        command.name);
}

std::string FishCompletion(const Verb& command) {
    std::string script =
        "# Completion of {} for fish, made by the command itself.\n"
        "function __{}_at\n"
        "    set -l words (commandline -opc)\n"
        "    set -l verb {}\n"
        "    for word in $words[2..]\n"
        "        switch \"$verb $word\"\n"
        "            case";
    for (const NamedVerb& named : AllVerbs(command)) {
        script += " '" + named.name + '\'';
    }
    script +=
        "\n"
        "                set verb \"$verb $word\"\n"
        "        end\n"
        "    end\n"
        "    test \"$verb\" = \"$argv\"\n"
        "end\n"
        "function __{}_names\n"
        "    set -l words (commandline -opc)\n"
        "    set -l dictionary (string match -r '^.*[.](?:img|json)$' -- $words)\n"
        "    command $words[1] names $dictionary[-1] 2>/dev/null\n"
        "end\n";
    for (const NamedVerb& named : AllVerbs(command)) {
        const std::string start = "complete -c {} -n '__{}_at " + named.name + '\'';
        for (const Verb& below : named.verb->verbs) {
            if (!below.isHidden) {
                script += start + " -f -a " + below.name + " -d " + Quoted(Brief(below.summary), "\\'") + '\n';
            }
        }
        for (const VerbOption& option : OptionsOf(*named.verb, named.verb == &command)) {
            script += FishOption(start, option);
        }
        script += TakesNames(*named.verb) ? start + " -a '(__{}_names)'\n" : "";
    }
    return Named(script, command.name);
}

Verb NamesVerb() {
    auto image = std::make_shared<std::string>();
    return {.name = "names",
            .summary = "List the names of messages and fields",
            .options = {{"IMAGE", image.get(), "Dictionary"}},
            .run =
                [image] {
                    const std::optional<DictionaryFile> file = OpenDictionaryFile(*image);
                    if (!file) {
                        return kStatusUnable;
                    }
                    for (const MessageSource& message : file->dictionary.messages) {
                        PrintName(message.name);
                    }
                    for (const FieldSource& field : file->dictionary.fields) {
                        PrintName(field.name);
                    }
                    return kStatusGood;
                },
            .isHidden = true};
}

}  // namespace zel::tools
