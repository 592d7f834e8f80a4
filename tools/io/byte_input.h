// Where a verb's bytes come from: a file, standard input, or hex text turned into bytes.
#ifndef ZEL_TOOLS_IO_BYTE_INPUT_H
#define ZEL_TOOLS_IO_BYTE_INPUT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace zel::tools {

// The input cannot be opened or read.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads at most `size` bytes to `to`: how many, 0 at the end. Throws InputError.
using ByteInput = std::function<std::size_t(char* to, std::size_t size)>;

// A file, or standard input for "-".
class InputFile {
public:
    // Throws InputError when it cannot be opened.
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    std::size_t Read(char* to, std::size_t size);

    // The name for reports.
    [[nodiscard]] const std::string& name() const { return name_; }
    // The file's size now; 0 when it is not known.
    [[nodiscard]] std::uint64_t Size() const;
    [[nodiscard]] bool IsFile() const;

private:
    std::string path_;
    std::string name_;
    int descriptor_;
};

// A file that grows: at its end `wait` is called, and reading goes on as long as it returns true. A file that has
// become shorter than what was read ends with an exception.
[[nodiscard]] ByteInput FollowedInput(InputFile& file, std::function<bool()> wait);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_BYTE_INPUT_H
