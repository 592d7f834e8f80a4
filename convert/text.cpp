#include "convert/text.h"

#include <charconv>
#include <cstring>

namespace zel {

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
    std::int32_t value = 0;
    return ReadSignedNumber(text, value) ? 1 : 0;
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
    if (!IsAnybodyListening()) {
        return;
    }
    char terminated[kReportTextSize];
    const std::size_t length = text.copy(terminated, sizeof terminated - 1);
    terminated[length] = '\0';
    SendReportWith(report, static_cast<const char*>(terminated));
}

}  // namespace zel
