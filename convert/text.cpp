#include "convert/text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "convert/wrap.h"

namespace zel {

namespace {

struct SignedDigits {
    bool negative;
    std::string_view rest;
};

SignedDigits SplitSign(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const bool negative = !text.empty() && text.front() == '-';
    text.remove_prefix(negative ? 1 : 0);
    return {negative, text};
}

}  // namespace

std::string_view Trimmed(const char* text) noexcept {
    while (*text == ' ') {
        ++text;
    }
    std::size_t length = std::strlen(text);
    while (length > 0 && text[length - 1] == ' ') {
        --length;
    }
    return {text, length};
}

void TrimSpaces(const char* source, char* target) noexcept {
    if (source == nullptr || target == nullptr) {
        return;
    }
    const std::string_view trimmed = Trimmed(source);
    std::memmove(target, trimmed.data(), trimmed.size());
    target[trimmed.size()] = '\0';
}

void AppendChar(char* text, char c) noexcept {
    const std::size_t length = std::strlen(text);
    text[length] = c;
    text[length + 1] = '\0';
}

int IsSignedNumber(std::string_view text) noexcept {
    const std::string_view rest = SplitSign(text).rest;
    return std::all_of(rest.begin(), rest.end(), IsDigit) ? 1 : 0;
}

std::int32_t ReadSignedNumber(std::string_view text) noexcept {
    const SignedDigits number = SplitSign(text);
    const std::int32_t value = ReadDigits(number.rest);
    return number.negative ? Negated(value) : value;
}

std::int32_t ReadDigits(std::string_view digits) noexcept {
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (const char digit : digits) {
        value = value * 10 + (digit - '0');
        if (value > kLargest) {
            return kLargest;
        }
    }
    return static_cast<std::int32_t>(value);
}

char* PutNumber(char* at, std::int32_t value) noexcept {
    constexpr std::ptrdiff_t kLongestNumber = 11;
    return std::to_chars(at, at + kLongestNumber, value).ptr;
}

int ShortToStr(short value, char* text) noexcept {
    *PutNumber(text, value) = '\0';
    return 0;
}

void SendReportOn(const Report& report, std::string_view text) noexcept {
    if (!HasErrorSink()) {
        return;
    }
    char terminated[kReportTextSize];
    const std::size_t length = text.copy(terminated, sizeof terminated - 1);
    terminated[length] = '\0';
    SendReportWith(report, static_cast<const char*>(terminated));
}

}  // namespace zel
