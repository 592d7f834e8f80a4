// Values that have a text of their own: money, dates and times, and characters of fixed length.
#ifndef ZEL_TOOLS_TEXT_VALUE_TEXT_H
#define ZEL_TOOLS_TEXT_VALUE_TEXT_H

#include <string>
#include <string_view>

#include "include/zelmessage.h"

namespace zel::tools {

// Money as text that reads back as the same record, or nothing.
[[nodiscard]] bool AppendMoneyText(std::string& out, const _money& money);

// "1999-11-30", "09:05:07", "1999-11-30T09:05:07" or, for a record of zeros, ""; nothing for records that none of
// these stands for. ReadDateTimeText returns false for other texts.
[[nodiscard]] bool AppendDateTimeText(std::string& out, const _datetime& value);
[[nodiscard]] bool ReadDateTimeText(std::string_view text, _datetime& value);

// The bytes of a text without the zero bytes that fill it up.
[[nodiscard]] std::string_view WithoutPadding(std::string_view bytes);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_VALUE_TEXT_H
