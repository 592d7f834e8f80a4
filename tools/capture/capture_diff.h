// Two captures compared message by message, as they are read. A message waits until its counterpart comes.
#ifndef ZEL_TOOLS_CAPTURE_CAPTURE_DIFF_H
#define ZEL_TOOLS_CAPTURE_CAPTURE_DIFF_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "tools/capture/message_reader.h"
#include "tools/dictionary/catalog.h"
#include "tools/io/byte_output.h"
#include "tools/text/error_lines.h"
#include "tools/text/json_document.h"

namespace zel::tools {

struct DiffView {
    bool byOrder = false;
    bool json = false;
    std::set<std::string, std::less<>> ignored = {};  // members of a message's JSON form, and names of fields
    std::array<std::string, 2> names = {};            // of the captures
};

class CaptureDiff {
public:
    CaptureDiff(const Catalog& catalog, DiffView view, ByteOutput& output);

    // The next frame of capture 0 or 1.
    void Add(std::size_t side, const Frame& frame);
    // Tells what is left without a counterpart, and to people the counts.
    void EndCaptures();
    [[nodiscard]] bool AnyDifference() const { return different_ + only_[0] + only_[1] != 0; }

private:
    // A frame that has its own copy of the bytes.
    struct KeptFrame {
        Frame read;  // its bytes are no longer there
        std::string bytes;

        [[nodiscard]] Frame frame() const { return {bytes.data(), read.size, read.kind, read.offset, read.number}; }
    };
    // Whether there is a header; type and sub-type; the message id unless messages are matched by order.
    using Key = std::array<int, 6>;
    using Frames = std::array<const Frame*, 2>;  // null: that capture has none

    [[nodiscard]] Key KeyOf(const Frame& frame) const;
    [[nodiscard]] std::string TextOf(std::size_t side, const Frame& frame, bool& anyFault);
    void Compare(const Frames& frames);
    void Begin(const Frames& frames, const JsonValue& message);
    void CompareMessages(const JsonValue& a, const JsonValue& b);
    void CompareMembers(const std::string& place, const JsonValue& a, const JsonValue& b);
    // A value that differs; none: that side has none. Without a place, the whole message.
    void Tell(const std::string& place, const JsonValue& a, const JsonValue& b);

    const Catalog& catalog_;
    DiffView view_;
    ByteOutput& output_;
    ErrorLines faults_;
    MessageReader reader_;
    std::array<std::multimap<Key, KeptFrame>, 2> waiting_;
    // Of the messages that are compared: written before their first difference, or in JSON before each.
    std::string title_;
    bool isTold_ = false;
    std::uint64_t same_ = 0;
    std::uint64_t different_ = 0;
    std::array<std::uint64_t, 2> only_{};
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_CAPTURE_DIFF_H
