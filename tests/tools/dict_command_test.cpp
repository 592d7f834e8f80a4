// The verbs `zel dict build` and `zel dict check`: exit status, output, and what they leave on the disk.
#include "tools/dict_command.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace zel::tools {
namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = R"({"fields": [
    {"id": 1, "name": "A", "type": "short"}, {"id": 2, "name": "B", "type": "long"},
    {"id": 3, "name": "C", "type": "long"}, {"id": 4, "name": "D", "type": "long"},
    {"id": 5, "name": "E", "type": "short"}, {"id": 6, "name": "F", "type": "long"},
    {"id": 7, "name": "G", "type": "text"}], "messages": []})";

class DictCommand : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(folder_); }
    void TearDown() override { fs::remove_all(folder_); }

    std::string Path(const char* name) const { return (folder_ / name).string(); }

    std::string Put(const char* name, const std::string& text) const {
        std::ofstream(Path(name)) << text;
        return Path(name);
    }

    static std::string Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    // Runs one verb; said_ and complained_ become what it wrote.
    int Run(const std::string& arguments) {
        CLI::App app;
        int status = -1;
        AddDictCommand(app, status);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        try {
            app.parse(arguments);
        } catch (const std::runtime_error& error) {
            failure_ = error.what();
        }
        std::cout.flush();
        said_ = testing::internal::GetCapturedStdout();
        complained_ = testing::internal::GetCapturedStderr();
        return status;
    }

    std::size_t FilesLeft() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
    }

    fs::path folder_ = fs::temp_directory_path() / ("zel-dict-test-" + std::to_string(std::random_device()()));
    std::string said_;
    std::string complained_;
    std::string failure_;
};

TEST_F(DictCommand, BuildsTheSameImageEveryTime) {
    const std::string source = Put("a.json", kSource);
    ASSERT_EQ(Run("dict build " + source + " -o " + Path("a.img")), 0) << complained_;
    EXPECT_EQ(said_.rfind(Path("a.img") + ": 7 fields, 0 messages, ", 0), 0U) << said_;
    ASSERT_EQ(Run("dict build " + source + " --output " + Path("b.img")), 0);
    EXPECT_EQ(Read(Path("a.img")), Read(Path("b.img")));
    EXPECT_EQ(FilesLeft(), 3U);
}

TEST_F(DictCommand, LeavesTheOldImageWhenTheSourceIsWrong) {
    const std::string image = Put("a.img", "old");
    EXPECT_EQ(Run("dict build " + Put("a.json", "{\"fields\": [],\n}") + " -o " + image), 1);
    EXPECT_NE(complained_.find("a.json: error: line 2, column 1: syntax error"), std::string::npos) << complained_;
    EXPECT_NE(complained_.find("a.json: 1 error; no image written\n"), std::string::npos) << complained_;
    EXPECT_EQ(Read(image), "old");
    EXPECT_EQ(FilesLeft(), 2U);
}

TEST_F(DictCommand, SaysWhyAnImageCannotBeWritten) {
    const std::string source = Put("a.json", kSource);
    Run("dict build " + source + " -o " + Path("missing/a.img"));
    EXPECT_EQ(failure_.rfind("cannot write " + Path("missing/a.img") + ": ", 0), 0U) << failure_;
    Run("dict build " + source + " -o " + folder_.string());
    EXPECT_EQ(failure_, "cannot write " + folder_.string() + ": it is there and is not a regular file");
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(DictCommand, ChecksWithoutWriting) {
    EXPECT_EQ(Run("dict check " + Put("a.json", kSource)), 0);
    EXPECT_EQ(said_, Path("a.json") + ": 7 fields, 0 messages: 0 errors, 0 warnings\n");
    EXPECT_EQ(complained_, "");
    EXPECT_EQ(Run("dict check " + Path("missing.json")), 1);
    EXPECT_NE(complained_.find("missing.json: error: cannot be read: "), std::string::npos) << complained_;
    EXPECT_EQ(Run("dict check " + folder_.string()), 1);
    EXPECT_NE(complained_.find(": error: cannot be read: it is a folder"), std::string::npos) << complained_;
    EXPECT_EQ(FilesLeft(), 1U);
}

}  // namespace
}  // namespace zel::tools
