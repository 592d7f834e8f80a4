// The whole command, run in the process of the test.
#ifndef ZEL_TESTS_TOOLS_RUN_COMMAND_H
#define ZEL_TESTS_TOOLS_RUN_COMMAND_H

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "tools/command.h"

namespace zel::tools {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

// The arguments as they stand behind "zel" on a command line.
inline Outcome RunZel(const std::string& arguments) {
    std::istringstream line(arguments);
    std::vector<std::string> words{"zel"};
    for (std::string word; line >> std::quoted(word);) {
        words.push_back(word);
    }
    std::vector<const char*> argv;
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = RunCommand(static_cast<int>(argv.size()), argv.data(), "1.2");
    const std::string err = testing::internal::GetCapturedStderr();
    return {status, testing::internal::GetCapturedStdout(), err};
}

}  // namespace zel::tools

#endif  // ZEL_TESTS_TOOLS_RUN_COMMAND_H
