// Records the library's reports while it exists: "code text", innermost cause first.
#ifndef ZEL_TESTS_SUPPORT_RECORDED_REPORTS_H
#define ZEL_TESTS_SUPPORT_RECORDED_REPORTS_H

#include <string>
#include <vector>

#include "include/zelmessage.h"

namespace zel::test {

using Lines = std::vector<std::string>;

class RecordedReports {
public:
    RecordedReports() { ZELSetErrorSink(&RecordedReports::Record, this); }
    ~RecordedReports() { ZELSetErrorSink(nullptr, nullptr); }
    RecordedReports(const RecordedReports&) = delete;
    RecordedReports& operator=(const RecordedReports&) = delete;

    // The reports since the last call.
    Lines Take() {
        Lines taken;
        taken.swap(lines_);
        return taken;
    }

    // The reports since the last call as one text, separated by "; ".
    std::string TakeText() {
        std::string text;
        for (const std::string& line : Take()) {
            text += (text.empty() ? "" : "; ") + line;
        }
        return text;
    }

    // A result with the reports before it: "-1: 1001 ...; 1432 ...".
    std::string With(long result) {
        const std::string text = TakeText();
        return std::to_string(result) + (text.empty() ? "" : ": ") + text;
    }

private:
    static void Record(int code, const char* text, void* context) {
        static_cast<RecordedReports*>(context)->lines_.push_back(std::to_string(code) + " " + text);
    }

    Lines lines_;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RECORDED_REPORTS_H
