// The bytes of a hex text as it stands in logs: plain groups of digits, or a dump with offsets and a column of text.
#ifndef ZEL_TOOLS_TEXT_HEX_DUMP_H
#define ZEL_TOOLS_TEXT_HEX_DUMP_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tools/io/byte_input.h"

namespace zel::tools {

using FaultSink = std::function<void(const std::string&)>;

// Takes one line after the other. Lines that cannot be read are left out and told, as is an offset that is not the
// number of bytes before it. Empty lines and those that start with "#" hold nothing.
class HexDump {
public:
    explicit HexDump(FaultSink complain) : complain_(std::move(complain)) {}

    // Appends the bytes of the line. A line that may or may not begin with an offset is kept until the next one tells.
    void Read(std::string_view line, std::string& bytes);
    // After the last line.
    void End(std::string& bytes);

private:
    // A first group that may be an offset, with what follows it.
    struct Offset {
        std::string_view digits;
        std::string_view after;
        std::string_view group;  // the first one after it
        bool hasColon;
    };
    enum class Meaning { kData, kNext, kRestart, kGap, kUnsure };
    // How a dump's offsets look and count.
    struct Counting {
        bool hasColon;
        std::size_t width;
        std::size_t groupWidth;
        std::array<std::optional<std::uint64_t>, 3> starts;  // by base; none: the dump does not count in this one
    };

    static std::optional<Offset> FindOffset(std::string_view line);
    static Counting CountFrom(const Offset& offset, std::uint64_t count);
    [[nodiscard]] Meaning MeaningOf(const Offset& offset) const;
    [[nodiscard]] bool ConfirmsOffset(const Offset& first, std::string_view next) const;
    void ReadLine(std::string_view line, std::string& bytes);
    void ReadHeld(std::string_view next, std::string& bytes);
    void ReadAfterOffset(const Offset& offset, Meaning meaning, std::string& bytes);
    void ReadData(std::string_view data, bool isDump, std::string& bytes);
    void Repeat(const Offset& offset, std::string& bytes);
    void Refuse(const std::string& fault);

    FaultSink complain_;
    std::optional<Counting> counting_;  // none: the lines so far have no offsets
    std::uint64_t count_ = 0;           // bytes since the dump's start
    std::uint64_t line_ = 0;
    std::string held_;         // a line whose first group is an offset if the next line says so
    std::string lastLine_;     // its bytes, which "*" repeats
    bool repeats_ = false;     // after "*", until an offset tells how often
    bool isFresh_ = true;      // no line of data came since the last line of another kind
    bool isLineLost_ = false;  // told: so the next offset is taken at its word
};

// The bytes of a hex text.
[[nodiscard]] ByteInput HexInput(ByteInput text, FaultSink complain);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_HEX_DUMP_H
