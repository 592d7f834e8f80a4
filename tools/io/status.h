// The exit status of every verb.
#ifndef ZEL_TOOLS_IO_STATUS_H
#define ZEL_TOOLS_IO_STATUS_H

namespace zel::tools {

inline constexpr int kStatusGood = 0;
inline constexpr int kStatusDiffers = 1;  // something is bad, differs, or was not found
inline constexpr int kStatusUnable = 2;   // wrong arguments, no usable dictionary, no way to write, no memory

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_STATUS_H
