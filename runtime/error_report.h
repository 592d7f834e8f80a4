// Error reports: the sink behind SetError, and the way in for the library's own code.
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

// The code of a Report that is sent with the system's error number instead.
inline constexpr int kSystemErrorNumber = 0;

// Whether anybody listens; formatting is skipped otherwise.
bool HasErrorSink() noexcept;

// Sends a finished text under the report's code.
void SendReport(const Report& report, const char* text) noexcept;

inline void SendReport(const Report& report) noexcept {
    SendReport(report, report.text);
}

// Longest text: a money text of 31 characters or a field name of 64 within a sentence.
inline constexpr int kReportTextSize = 192;

// Out of line: what has nothing to report saves no registers for it and has no text on its stack.
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
