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

// Hears the reports of this thread while it lives, whatever sink there is. One that begins to listen while another does
// has the reports to itself.
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
    ReportListener* outer_;
};

// Whether anybody listens; formatting is skipped otherwise.
bool IsAnybodyListening() noexcept;

// Tells the listener of a report that names a field, before it is sent.
void NoteField(int fieldId) noexcept;

// Sends a finished text under the report's code.
void SendReport(const Report& report, const char* text) noexcept;

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
    if constexpr (std::is_integral_v<First>) {
        if (report.namesField) {
            NoteField(static_cast<int>(first));
        }
    }
    char text[kReportTextSize];
    (void)std::snprintf(text, sizeof text, report.text, first, args...);
    SendReport(report, text);
}

}  // namespace zel

#endif  // ZEL_RUNTIME_ERROR_REPORT_H
