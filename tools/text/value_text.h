// Values that have a text of their own: money, dates and times, and characters of fixed length.
#ifndef ZEL_TOOLS_TEXT_VALUE_TEXT_H
#define ZEL_TOOLS_TEXT_VALUE_TEXT_H

#include <string>
#include <string_view>

#include "include/zelmessage.h"

namespace zel::tools {

// How a text is read: in the forms of the documents alone, and only when the record means what the text says; or as the
// library reads texts, which passes over what it does not know.
enum class Reading { kStrict, kLenient };

// What is wrong with a text, to stand after "is TEXT, which"; null: nothing.
using TextFault = const char*;
inline constexpr char kRefusedByLibrary[] = "is refused by the library";

// Money as text that reads back as the same record, or nothing.
[[nodiscard]] bool AppendMoneyText(std::string& out, const _money& money);
[[nodiscard]] TextFault ReadMoneyText(const std::string& text, Reading reading, _money& money);

// "1999-11-30", "09:05:07", "1999-11-30T09:05:07" or, for a record of zeros, ""; nothing for records that none of
// these stands for. Lenient reading takes every day from 0 to 31 and every month from 0 to 12.
[[nodiscard]] bool AppendDateTimeText(std::string& out, const _datetime& value);
[[nodiscard]] TextFault ReadDateTimeText(std::string_view text, Reading reading, _datetime& value);

// What is wrong with the date and the time that a record says it has.
[[nodiscard]] TextFault CheckDateTime(const _datetime& value);

// The bytes of a text without the zero bytes that fill it up.
[[nodiscard]] std::string_view WithoutPadding(std::string_view bytes);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_VALUE_TEXT_H
