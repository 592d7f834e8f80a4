// Files that do not outlive the command, even one that memory fails.
#ifndef ZEL_TOOLS_IO_TEMPORARY_FILE_H
#define ZEL_TOOLS_IO_TEMPORARY_FILE_H

#include <filesystem>
#include <string>

namespace zel::tools {

// The name of a file, which goes with the object at the latest: where a system does not remove files that are in use.
// The command's one thread makes and destroys them.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& path);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    // Takes no memory. A file that is not there is no fault.
    void Remove() const noexcept;

private:
    friend void RemoveTemporaryFiles() noexcept;

    std::filesystem::path path_;
    TemporaryFile* previous_;
};

// Removes the files of all objects that live.
void RemoveTemporaryFiles() noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_TEMPORARY_FILE_H
