// Error reports: what the library sends to the sink of SetError.
#ifndef ZEL_RUNTIME_ERROR_REPORT_H
#define ZEL_RUNTIME_ERROR_REPORT_H

#include <cstdio>
#include <type_traits>

#include "include/zelmessage.h"

namespace zel {

// One kind of report. `text` is a printf format that takes the arguments of the call that reports it.
struct Report {
    int code;
    const char* text;
    bool namesField = false;  // its first argument is a field's id
};

// Code of a report that is sent with the system's error number as its code.
inline constexpr int kSystemErrorNumber = 0;

// Notes of the reports of this thread what a failing call says of itself, while it lives.
class ReportListener {
public:
    ReportListener() noexcept;
    ~ReportListener() noexcept;
    ReportListener(const ReportListener&) = delete;
    ReportListener& operator=(const ReportListener&) = delete;

    bool hasHeard = false;
    int code = 0;     // of the first report
    int fieldId = 0;  // of the first report that names a field

private:
    static void Hear(int code, int fieldId, const char* text, void* self) noexcept;

    ZELListener listener_;
};

// Whether anybody listens; formatting is skipped otherwise.
bool IsAnybodyListening() noexcept;

// Tells the listeners of this thread alone.
void TellListeners(int code, int fieldId, const char* text) noexcept;

// Sends a finished text under the report's code. `fieldId` is the field that it names, or 0.
void SendReport(const Report& report, const char* text, int fieldId = 0) noexcept;

inline void SendReport(const Report& report) noexcept {
    SendReport(report, report.text);
}

// Longest text: a money text of 31 characters or a field name of 64 within a sentence.
inline constexpr int kReportTextSize = 192;

// Out of line, so that callers that report nothing save no registers and have no text buffer on the stack.
template <typename First, typename... Args>
[[gnu::noinline]] void SendReportWith(const Report& report, First first, Args... args) noexcept {
    if (!IsAnybodyListening()) {
        return;
    }
    int fieldId = 0;
    if constexpr (std::is_integral_v<First>) {
        fieldId = report.namesField ? static_cast<int>(first) : 0;
    }
    char text[kReportTextSize];
    (void)std::snprintf(text, sizeof text, report.text, first, args...);
    SendReport(report, text, fieldId);
}

}  // namespace zel

#endif  // ZEL_RUNTIME_ERROR_REPORT_H
