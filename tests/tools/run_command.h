// The whole command, run in the process of the test.
#ifndef ZEL_TESTS_TOOLS_RUN_COMMAND_H
#define ZEL_TESTS_TOOLS_RUN_COMMAND_H

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "tools/verbs/command.h"

namespace zel::tools {

// The arguments as they stand after "zel" on a command line.
class CommandLine {
public:
    explicit CommandLine(const std::string& arguments) {
        std::istringstream line(arguments);
        for (std::string word; line >> std::quoted(word);) {
            words_.push_back(word);
        }
        for (const std::string& word : words_) {
            pointers_.push_back(word.c_str());
        }
    }
    int Run() const { return RunCommand(static_cast<int>(pointers_.size()), pointers_.data(), {"1.2", "abc"}); }

private:
    std::vector<std::string> words_;
    std::vector<const char*> pointers_{"zel"};
};

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

inline Outcome RunZel(const std::string& arguments) {
    const CommandLine line(arguments);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = line.Run();
    const std::string err = testing::internal::GetCapturedStderr();
    return {status, testing::internal::GetCapturedStdout(), err};
}

}  // namespace zel::tools

#endif  // ZEL_TESTS_TOOLS_RUN_COMMAND_H
