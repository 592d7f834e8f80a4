// What is wrong with a message: the library's reports, and the line that tells the user.
#ifndef ZEL_TOOLS_MESSAGE_REPORT_H
#define ZEL_TOOLS_MESSAGE_REPORT_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/byte_output.h"
#include "tools/catalog.h"
#include "tools/report_collector.h"

namespace zel::tools {

// A message that cannot be written or read, as the line about it ends.
struct MessageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The id of the field that a report's text names.
[[nodiscard]] std::optional<std::uint16_t> FieldInReport(const std::string& text);

// The first report with code, text and the name of the field in question; "" without reports.
[[nodiscard]] std::string Explain(const std::vector<LibraryReport>& reports, const Catalog* catalog);

// Where complaints go: one line each, behind what was written so far.
class Complaints {
public:
    // `output` is flushed before each line, so that both stay in order on a terminal.
    Complaints(std::string input, ByteOutput& output);

    // "INPUT: offset 52, message 2: TEXT"
    void AboutMessage(std::uint64_t offset, std::uint64_t number, const std::string& text);
    // "INPUT: TEXT"
    void About(const std::string& text);

    [[nodiscard]] bool any() const { return any_; }

private:
    std::string input_;
    ByteOutput& output_;
    bool any_ = false;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_REPORT_H
