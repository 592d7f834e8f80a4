// Error reports: what the library sends to the sink of SetError.
#ifndef ZEL_RUNTIME_ERROR_REPORT_H
#define ZEL_RUNTIME_ERROR_REPORT_H

#include <cstdio>

#include "include/zelmessage.h"

namespace zel {

// One kind of report. `text` is a printf format that takes the arguments of the call that reports it.
struct Report {
    int code;
    const char* text;
};

// Code of a report that is sent with the system's error number as its code.
inline constexpr int kSystemErrorNumber = 0;

// Whether the program installed a sink. If not, texts need not be formatted.
bool HasErrorSink() noexcept;

// Sends a finished text under the report's code.
void SendReport(const Report& report, const char* text) noexcept;

inline void SendReport(const Report& report) noexcept {
    SendReport(report, report.text);
}

// Longest text: a money text of 31 characters or a field name of 64 within a sentence.
inline constexpr int kReportTextSize = 192;

// Out of line, so that callers that report nothing save no registers and have no text buffer on the stack.
template <typename... Args>
[[gnu::noinline]] void SendReportWith(const Report& report, Args... args) noexcept {
    if (!HasErrorSink()) {
        return;
    }
    char text[kReportTextSize];
    (void)std::snprintf(text, sizeof text, report.text, args...);
    SendReport(report, text);
}

}  // namespace zel

#endif  // ZEL_RUNTIME_ERROR_REPORT_H
