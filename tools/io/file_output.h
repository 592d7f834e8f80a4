// Files that appear whole or not at all.
#ifndef ZEL_TOOLS_IO_FILE_OUTPUT_H
#define ZEL_TOOLS_IO_FILE_OUTPUT_H

#include <string>
#include <vector>

namespace zel::tools {

// Writes a new file beside `path` and renames it; a process that has the old file mapped keeps it as it was. Throws
// std::runtime_error with what went wrong, and leaves the old file as it was.
void WriteFileAtomically(const std::string& path, const std::vector<char>& bytes);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_FILE_OUTPUT_H
