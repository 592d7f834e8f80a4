// The verbs `zel dict build` and `zel dict check`: exit status, output, and what they leave on the disk.
#include "tools/dict_command.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/support/cases.h"

namespace zel::tools {
namespace {

namespace fs = std::filesystem;

class DictCommand : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(folder_);
        fs::current_path(folder_);
        fs::copy_file(ZEL_SOURCE_DIR "/tests/tools/cases/small.json", "small.json");
        std::ofstream("bad.json") << "{\"fields\": [],\n}";
        std::ofstream("old.img") << "old";
    }
    void TearDown() override {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }

    // Runs one verb: its exit status, and what it wrote, complaints and the failure that it throws first.
    static int Run(const std::string& arguments, std::string& said) {
        CLI::App app;
        int status = -1;
        AddDictCommand(app, status);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        try {
            app.parse("dict " + arguments);
        } catch (const std::runtime_error& error) {
            std::cerr << error.what() << '\n';
        }
        std::cout.flush();
        said = testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout();
        return status;
    }

    static std::string Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    fs::path before_ = fs::current_path();
    fs::path folder_ = fs::temp_directory_path() / ("zel-dict-test-" + std::to_string(std::random_device()()));
};

TEST_F(DictCommand, TellsWhatItDidAndLeavesNothingElse) {
    std::string said;
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/commands.txt", 5)) {
        EXPECT_EQ(Run(row[0], said), std::stoi(row[1])) << row[0];
        EXPECT_TRUE(said.starts_with(row[2])) << said;
        EXPECT_TRUE(said.ends_with(row[3] + '\n')) << said;
        EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), std::stoi(row[4])) << row[0];
    }
    EXPECT_EQ(Read("old.img"), "old");
    EXPECT_EQ(Run("build small.json --output old.img", said), 0) << said;
    EXPECT_EQ(Read("old.img"), Read("new.img"));
}

}  // namespace
}  // namespace zel::tools
