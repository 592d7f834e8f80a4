#include "tools/text/hex_dump.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "tools/io/line_reader.h"
#include "tools/text/hex_text.h"
#include "tools/text/value_listing.h"

namespace zel::tools {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kSeparators = ",;:-";
constexpr std::array kBases{16, 8, 10};
constexpr char kLostLines[] = R"("*" stands for lines that the dump leaves out; dump them all (hexdump -v, od -v))";

// The offset with which lines begin has at least so many digits where no ":" follows.
constexpr std::size_t kFewestDigits = 4;

// The line up to its first blank.
std::string_view FirstToken(std::string_view line) {
    return line.substr(0, line.find_first_of(kBlanks));
}

std::string_view SkipBlanks(std::string_view line) {
    const std::size_t at = line.find_first_not_of(kBlanks);
    return at == std::string_view::npos ? std::string_view() : line.substr(at);
}

std::string_view CutBlanks(std::string_view line) {
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

std::string_view DropPrefix(std::string_view token) {
    return token.starts_with("0x") || token.starts_with("0X") ? token.substr(2) : token;
}

bool IsZero(std::string_view digits) {
    return digits.find_first_not_of('0') == std::string_view::npos;
}

std::optional<std::uint64_t> NumberOf(std::string_view digits, int base) {
    std::uint64_t number = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    const bool isNumber = parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

// Appends the bytes of one group of digits, in which pairs may be kept apart by separators. False: it is none.
bool ReadGroup(std::string_view group, std::string& bytes) {
    const std::size_t size = bytes.size();
    while (!group.empty()) {
        std::string_view digits = DropPrefix(group);
        digits = digits.substr(0, digits.find_first_of(kSeparators));
        if (digits.empty() || !ParseHex(digits, bytes)) {
            bytes.resize(size);
            return false;
        }
        group.remove_prefix(static_cast<std::size_t>(digits.data() + digits.size() - group.data()));
        group.remove_prefix(group.empty() ? 0 : 1);
    }
    return true;
}

// Whether the groups up to the next gap of two blanks are all bytes.
bool IsBytes(std::string_view rest) {
    std::string ignored;
    for (rest = rest.substr(0, rest.find("  ")); !rest.empty(); rest = SkipBlanks(rest)) {
        const std::string_view group = FirstToken(rest);
        if (group != "|" && !ReadGroup(group, ignored)) {
            return false;
        }
        rest.remove_prefix(group.size());
    }
    return true;
}

// Whether the text shows these bytes, one character each.
bool Shows(std::string_view text, std::string_view bytes) {
    return std::equal(text.begin(), text.end(), bytes.begin(), bytes.end(), [](char shown, char byte) {
        const bool isPrintable = byte >= ' ' && byte <= '~';
        return (isPrintable && shown == byte) || (shown == '.' && (!isPrintable || byte == ' '));
    });
}

// Whether the rest of a line, from the last group's end on, is the text that the line's bytes stand for. Blanks at its
// end may have been cut off.
bool IsTextColumn(std::string_view rest, std::string_view bytes, bool isDump) {
    constexpr std::size_t kLongestColumn = 1024;  // no dump shows so many bytes a line
    rest = CutBlanks(rest);
    const std::string_view column = SkipBlanks(rest);
    // For most groups of a line this is all that is looked at: the bytes are walked over once for each of the others.
    if (bytes.size() > kLongestColumn || column.empty() || column.size() > bytes.size() + 2) {
        return false;
    }
    const std::size_t gap = rest.size() - column.size();
    for (const std::string_view marks : {"||", "><"}) {
        if (column.size() == bytes.size() + 2 && column.front() == marks[0] && column.back() == marks[1] &&
            Shows(column.substr(1, bytes.size()), bytes)) {
            return true;
        }
    }
    for (const std::size_t blanks : {std::min(bytes.find_first_not_of(' '), bytes.size()), std::size_t{0}}) {
        if (isDump && blanks < gap && blanks + column.size() <= bytes.size() &&
            Shows(column, bytes.substr(blanks, column.size())) &&
            bytes.find_first_not_of(' ', blanks + column.size()) == std::string_view::npos) {
            return gap - blanks >= 2 || !IsBytes(column);
        }
    }
    return false;
}

// Reads groups up to the text column, or to a text after a gap. Returns what is wrong, or nothing.
std::string ReadGroups(std::string_view data, bool isDump, bool areWordsSwapped, std::string& bytes) {
    const std::size_t before = bytes.size();
    std::string swapped;  // each group in the other order
    std::string_view afterGroup;
    for (std::string_view rest = SkipBlanks(data); !rest.empty(); rest = SkipBlanks(afterGroup)) {
        const std::string_view line = std::string_view(bytes).substr(before);
        if (!line.empty() && IsTextColumn(afterGroup, line, isDump)) {
            return "";
        }
        if (!line.empty() && isDump && IsTextColumn(afterGroup, swapped, true)) {
            return "the text column shows that the groups are words in the machine's order; "
                   "dump bytes (hexdump -C, xxd, od -t x1)";
        }
        if (!line.empty() && afterGroup.starts_with("  ") && !IsBytes(rest)) {
            return "";
        }
        const std::string_view group = FirstToken(rest);
        const std::size_t at = bytes.size();
        if (group != "|" && !ReadGroup(group, bytes)) {
            std::string fault;
            AppendQuoted(fault, group.substr(0, 40));
            return fault + " is no group of hex digits";
        }
        if (areWordsSwapped && bytes.size() - at > 1 && group.find_first_of(kSeparators) == std::string_view::npos) {
            return "the groups are words in the machine's order; dump bytes (hexdump -C, od -t x1, x/xb)";
        }
        swapped.append(bytes.rbegin(), bytes.rbegin() + static_cast<std::ptrdiff_t>(bytes.size() - at));
        afterGroup = rest.substr(group.size());
    }
    return "";
}

// Whether the tool that counts so shows groups of several bytes in the order of its machine: od, hexdump and gdb do.
bool AreWordsSwapped(std::size_t width, bool hasColon, std::string_view group) {
    return hasColon ? group.starts_with("0x") : width == 6 || width == 7;
}

}  // namespace

// "00000010:", "0x4020 <name+8>:", or a group in front of others.
std::optional<HexDump::Offset> HexDump::FindOffset(std::string_view line) {
    const std::string_view first = FirstToken(line);
    std::string_view after = line.substr(first.size());
    bool hasColon = first.ends_with(':');
    if (const std::string_view name = SkipBlanks(after); first.starts_with("0x") && name.starts_with('<')) {
        const std::size_t end = name.find(">:");
        hasColon = end != std::string_view::npos;
        after = hasColon ? name.substr(end + 2) : after;
    }
    const std::string_view digits = DropPrefix(first.substr(0, first.size() - (first.ends_with(':') ? 1 : 0)));
    const std::string_view group = FirstToken(SkipBlanks(after));
    if (!IsHex(digits) || group.ends_with(':') || (!hasColon && digits.size() < kFewestDigits)) {
        return std::nullopt;
    }
    return Offset{digits, after, group, hasColon};
}

HexDump::Counting HexDump::CountFrom(const Offset& offset, std::uint64_t count) {
    Counting counting{offset.hasColon, offset.digits.size(), offset.group.size(), {}};
    for (std::size_t i = 0; i < kBases.size(); ++i) {
        const std::optional<std::uint64_t> number = NumberOf(offset.digits, kBases[i]);
        counting.starts[i] = number ? std::optional(*number - count) : std::nullopt;
    }
    return counting;
}

HexDump::Meaning HexDump::MeaningOf(const Offset& offset) const {
    const bool isZero = IsZero(offset.digits) && !offset.group.empty();
    if (counting_ && counting_->hasColon == offset.hasColon &&
        (offset.hasColon || offset.digits.size() >= counting_->width)) {
        for (std::size_t i = 0; i < kBases.size(); ++i) {
            const std::optional<std::uint64_t>& start = counting_->starts[i];
            if (start && NumberOf(offset.digits, kBases[i]) == *start + count_) {
                return Meaning::kNext;
            }
        }
        const bool isLikeOthers = offset.digits.size() == counting_->width &&
                                  (offset.group.empty() || offset.group.size() == counting_->groupWidth);
        if (offset.hasColon || isLikeOthers) {
            return isZero ? Meaning::kRestart : Meaning::kGap;
        }
    }
    if (offset.hasColon && !offset.group.empty()) {
        return Meaning::kRestart;
    }
    return isZero && (isFresh_ || counting_) ? Meaning::kUnsure : Meaning::kData;
}

// Whether the line after one that begins with zeros says that these are an offset: it has the offset that follows, or
// one of the same form; or it is no data, and the zeros stand out by being longer than the next group.
bool HexDump::ConfirmsOffset(const Offset& first, std::string_view next) const {
    std::string bytes;
    (void)ReadGroups(first.after, true, false, bytes);
    const std::optional<Offset> offset = FindOffset(next);
    if (offset && !offset->hasColon) {
        for (const int base : kBases) {
            if (NumberOf(offset->digits, base) == bytes.size()) {
                return true;
            }
        }
    }
    if (first.digits.size() <= first.group.size()) {
        return false;
    }
    if (offset && offset->digits.size() == first.digits.size() && offset->group.size() == first.group.size()) {
        return true;
    }
    bytes.clear();
    return !ReadGroup(FirstToken(next), bytes) || bytes.empty();
}

void HexDump::Refuse(const std::string& fault) {
    complain_("line " + std::to_string(line_) + ": " + fault);
    isFresh_ = true;
    isLineLost_ = true;
}

void HexDump::Read(std::string_view line, std::string& bytes) {
    line = CutBlanks(SkipBlanks(line));
    ReadHeld(line, bytes);
    ++line_;
    ReadLine(line, bytes);
}

void HexDump::End(std::string& bytes) {
    ReadHeld("", bytes);
    if (std::exchange(repeats_, false)) {
        Refuse(kLostLines);
    }
}

void HexDump::ReadHeld(std::string_view next, std::string& bytes) {
    if (held_.empty()) {
        return;
    }
    const std::string held = std::exchange(held_, "");
    if (const std::optional<Offset> offset = FindOffset(held); offset && ConfirmsOffset(*offset, next)) {
        return ReadAfterOffset(*offset, Meaning::kRestart, bytes);
    }
    ReadData(held, false, bytes);
}

void HexDump::ReadLine(std::string_view line, std::string& bytes) {
    if (line.empty() || line.starts_with('#')) {
        isFresh_ = true;
        return;
    }
    if (line == "*" && counting_ && !lastLine_.empty()) {
        repeats_ = true;
        return;
    }
    if (line == "*") {
        return Refuse(kLostLines);
    }
    const std::optional<Offset> offset = FindOffset(line);
    const Meaning meaning = offset ? MeaningOf(*offset) : Meaning::kData;
    if (meaning != Meaning::kData && meaning != Meaning::kUnsure) {
        return ReadAfterOffset(*offset, meaning, bytes);
    }
    if (std::exchange(repeats_, false)) {
        Refuse(kLostLines);
    }
    if (meaning == Meaning::kUnsure) {
        held_ = line;
        return;
    }
    ReadData(line, false, bytes);
}

void HexDump::ReadAfterOffset(const Offset& offset, Meaning meaning, std::string& bytes) {
    if (std::exchange(repeats_, false)) {
        Repeat(offset, bytes);
        meaning = meaning == Meaning::kRestart ? meaning : MeaningOf(offset);
    }
    if (meaning == Meaning::kGap && !std::exchange(isLineLost_, false)) {
        complain_("line " + std::to_string(line_) + ": the offset " + std::string(offset.digits) +
                  " is not the one that follows the bytes before it");
    }
    if (meaning == Meaning::kRestart) {
        count_ = 0;
    }
    if (meaning != Meaning::kNext) {
        counting_ = CountFrom(offset, count_);
    } else {
        const Counting exact = CountFrom(offset, count_);
        for (std::size_t i = 0; i < kBases.size(); ++i) {
            counting_->starts[i] = counting_->starts[i] == exact.starts[i] ? exact.starts[i] : std::nullopt;
        }
    }
    isLineLost_ = false;
    if (offset.group.empty()) {
        counting_.reset();
        isFresh_ = true;
        return;
    }
    ReadData(offset.after, true, bytes);
}

// Appends the last line's bytes as often as "*" stood for, which the offset after it tells.
void HexDump::Repeat(const Offset& offset, std::string& bytes) {
    constexpr std::uint64_t kMostRepeated = std::uint64_t{1} << 20U;  // more bytes than any message has
    std::optional<std::uint64_t> missing;
    bool isKnown = counting_.has_value();
    for (std::size_t i = 0; isKnown && i < kBases.size(); ++i) {
        // Of the tools that count in 6 or in 8 digits, none counts in another base than 16.
        const bool isUsual = kBases[i] == 16 ? offset.digits.size() != 7 : offset.digits.size() == 7;
        const std::optional<std::uint64_t> number = NumberOf(offset.digits, kBases[i]);
        if (!counting_->starts[i] || !number || !(isUsual || offset.hasColon)) {
            continue;
        }
        const std::uint64_t distance = *number - *counting_->starts[i] - count_;
        if (distance > kMostRepeated || distance % lastLine_.size() != 0) {
            continue;
        }
        isKnown = !missing || missing == distance;
        missing = distance;
    }
    if (!isKnown || !missing) {
        return Refuse(kLostLines);
    }
    count_ += *missing;
    for (; *missing != 0; *missing -= lastLine_.size()) {
        bytes += lastLine_;
    }
}

void HexDump::ReadData(std::string_view data, bool isDump, std::string& bytes) {
    const std::size_t before = bytes.size();
    const bool areWordsSwapped =
        isDump && AreWordsSwapped(counting_->width, counting_->hasColon, FirstToken(SkipBlanks(data)));
    const std::string fault = ReadGroups(data, isDump, areWordsSwapped, bytes);
    if (!fault.empty()) {
        bytes.resize(before);
        return Refuse(fault);
    }
    isFresh_ = false;
    lastLine_.assign(bytes, before);
    count_ += lastLine_.size();
}

ByteInput HexInput(ByteInput text, FaultSink complain) {
    struct State {
        LineReader lines;
        HexDump dump;
        Line line = {};
        std::string bytes = {};  // not yet handed out: from `taken` on
        std::size_t taken = 0;
        bool atEnd = false;
    };
    return
        [state = State{LineReader(std::move(text)), HexDump(std::move(complain))}](char* to, std::size_t size) mutable {
            if (state.taken == state.bytes.size()) {
                state.bytes.clear();
                state.taken = 0;
            }
            while (state.bytes.empty() && !state.atEnd) {
                state.atEnd = !state.lines.Next(state.line);
                if (state.line.isCut) {
                    throw InputError("a line of hex text is longer than 16 MiB");
                }
                if (state.atEnd) {
                    state.dump.End(state.bytes);
                } else {
                    state.dump.Read(state.line.text, state.bytes);
                }
            }
            const std::size_t count = std::min(size, state.bytes.size() - state.taken);
            state.bytes.copy(to, count, state.taken);
            state.taken += count;
            return count;
        };
}

}  // namespace zel::tools
