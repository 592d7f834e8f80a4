#include "tools/verbs/help.h"

#include <memory>
#include <sstream>

namespace zel::tools {

namespace {

constexpr std::size_t kLineWidth = 80;
constexpr std::size_t kTermWidth = 26;  // of an option with what it takes, in front of its description

// Breaks a paragraph at blanks; a word that is longer than the line stays whole.
std::string Wrap(const std::string& paragraph, std::size_t width) {
    std::string wrapped;
    std::size_t used = 0;
    std::istringstream words(paragraph);
    for (std::string word; words >> word;) {
        const bool fits = used == 0 || used + 1 + word.size() <= width;
        wrapped += used == 0 ? "" : fits ? " " : "\n";
        used = fits && used != 0 ? used + 1 + word.size() : word.size();
        wrapped += word;
    }
    return wrapped;
}

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

}  // namespace

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool IsExample(const std::string& line) {
    return line.starts_with("  ");
}

bool IsHidden(const CLI::App& verb) {
    return verb.get_group().empty();
}

bool IsHidden(const CLI::Option& option) {
    return option.get_group().empty();
}

// Paths may begin with a slash on every platform.
void ConfigureApp(CLI::App& app) {
    app.allow_windows_style_options(false);  // a path may begin with "/"
    app.formatter(std::make_shared<WrappingFormatter>());
    app.set_help_flag("-h,--help", "Show this help");
}

}  // namespace zel::tools
