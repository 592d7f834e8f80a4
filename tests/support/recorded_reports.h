// Records what the library reports while it lives: "code text", innermost cause first.
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

    // What came since the last call.
    Lines Take() {
        Lines taken;
        taken.swap(lines_);
        return taken;
    }

    // The same in one text, "; " between them.
    std::string TakeText() {
        std::string text;
        for (const std::string& line : Take()) {
            text += (text.empty() ? "" : "; ") + line;
        }
        return text;
    }

    // An answer with the reports that came before it: "-1: 1001 ...; 1432 ...".
    std::string With(long answer) {
        const std::string text = TakeText();
        return std::to_string(answer) + (text.empty() ? "" : ": ") + text;
    }

private:
    static void Record(int code, const char* text, void* context) {
        static_cast<RecordedReports*>(context)->lines_.push_back(std::to_string(code) + " " + text);
    }

    Lines lines_;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RECORDED_REPORTS_H
