// A test runs in its own folder while this object exists. Reads files there and in the sources.
#ifndef ZEL_TESTS_SUPPORT_WORK_FOLDER_H
#define ZEL_TESTS_SUPPORT_WORK_FOLDER_H

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>

namespace zel::test {

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string SourcePath(const std::string& name) {
    return ZEL_SOURCE_DIR "/" + name;
}

class WorkFolder {
public:
    // Copies these files of the sources into the folder.
    explicit WorkFolder(std::initializer_list<const char*> copied = {}) {
        std::filesystem::create_directory(path_);
        std::filesystem::current_path(path_);
        for (const char* name : copied) {
            std::filesystem::copy_file(SourcePath(name), std::filesystem::path(name).filename());
        }
    }
    ~WorkFolder() {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(path_);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path before_ = std::filesystem::current_path();
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("zel-test-" + std::to_string(std::random_device()()));
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_WORK_FOLDER_H
