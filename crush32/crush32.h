// The compression library's six entry points. On Windows they are exported and imported by ordinal only: 3 begin,
// 4 end, 5 compress, 6 expand, 10 shut-down, 24 start-up; these names stand for the ordinals.
//
// A pass is begin, then one compress or expand, then end, in one thread. Different threads may run passes at the same
// time; start-up and shut-down run alone.
#ifndef ZEL_CRUSH32_CRUSH32_H
#define ZEL_CRUSH32_CRUSH32_H

#if defined(_WIN32)
#define CRUSH_API
#else
#define CRUSH_API __attribute__((visibility("default")))
#endif

namespace zel::crush {

// A message has two lengths of 4 bytes before compressed data.
inline constexpr int kFramingSize = 8;

// Results of a compression other than a size.
inline constexpr int kNotSmaller = -14;  // compressed data with its framing would not be smaller than the source
inline constexpr int kUnable = -16;      // a null or negative argument, or no working memory

// The result of an expansion that failed: the data is not compressed data, or there is no working memory.
inline constexpr short kNotExpanded = -1;

}  // namespace zel::crush

extern "C" {

// Ordinal 24. Does nothing that ordinal 10 must undo; calls are not counted.
CRUSH_API void CrushStartUp() noexcept;

// Ordinal 10. Frees the working memory that is kept between passes. Later passes still work.
CRUSH_API void CrushShutDown() noexcept;

// Ordinal 3. 0: ready.
CRUSH_API short CrushBegin() noexcept;

// Ordinal 5. Compresses `sourceLength` bytes into `destination`: the size of the compressed data, kNotSmaller or
// kUnable. Without working memory errno is ENOMEM, unlike after bad arguments. Never writes more than
// sourceLength - kFramingSize - 1 bytes: a destination that can hold the source can hold the framing and the result.
CRUSH_API int CrushCompress(const char* source, char* destination, int sourceLength) noexcept;

// Ordinal 6. Expands `compressedLength` bytes into exactly `expandedLength`: 0 or kNotExpanded. Without working memory
// errno is ENOMEM.
// Never reads or writes beyond these lengths.
CRUSH_API short CrushExpand(const char* source, char* destination, int expandedLength, int compressedLength) noexcept;

// Ordinal 4. Ends the pass.
CRUSH_API void CrushEnd() noexcept;

}  // extern "C"

#endif  // ZEL_CRUSH32_CRUSH32_H
