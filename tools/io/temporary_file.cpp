#include "tools/io/temporary_file.h"

#include <system_error>

namespace zel::tools {

namespace {

// The objects that live, the youngest first: they go in that order.
TemporaryFile* youngest = nullptr;

}  // namespace

TemporaryFile::TemporaryFile(const std::string& path) : path_(path), previous_(youngest) {
    youngest = this;
}

TemporaryFile::~TemporaryFile() {
    Remove();
    youngest = previous_;
}

void TemporaryFile::Remove() const noexcept {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void RemoveTemporaryFiles() noexcept {
    for (const TemporaryFile* file = youngest; file != nullptr; file = file->previous_) {
        file->Remove();
    }
}

}  // namespace zel::tools
