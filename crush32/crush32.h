// The compression library's six entry points. On Windows they are exported and imported by ordinal only: 3 begin,
// 4 end, 5 compress, 6 expand, 10 shut-down, 24 start-up; these names stand for the ordinals.
//
// A pass is begin, then one compress or expand, then end, in one thread. Different threads may be in passes of their
// own at the same time; start-up and shut-down run alone.
#ifndef ZEL_CRUSH32_CRUSH32_H
#define ZEL_CRUSH32_CRUSH32_H

#if defined(_WIN32)
#define CRUSH_API
#else
#define CRUSH_API __attribute__((visibility("default")))
#endif

extern "C" {

// Ordinal 24. Takes nothing that ordinal 10 must give back; calls are not counted.
CRUSH_API void CrushStartUp() noexcept;

// Ordinal 10. Frees working memory kept from pass to pass. Passes after it work all the same.
CRUSH_API void CrushShutDown() noexcept;

// Ordinal 3. 0: ready.
CRUSH_API short CrushBegin() noexcept;

// Ordinal 5. Compresses `sourceLength` bytes into `destination`: the size of the compressed data, or
// -14: compressed data and the 8 bytes that a message puts in front of it would not be smaller than the source;
// -16: a null or negative argument, or no working memory.
// Never writes more than sourceLength - 9 bytes, so that a destination that can hold the source can hold the result
// behind those 8 bytes.
CRUSH_API int CrushCompress(const char* source, char* destination, int sourceLength) noexcept;

// Ordinal 6. Expands `compressedLength` bytes into exactly `expandedLength`: 0, or -1 when the data is not such data or
// there is no working memory.
// Reads nothing behind the one length and writes nothing behind the other.
CRUSH_API short CrushExpand(const char* source, char* destination, int expandedLength, int compressedLength) noexcept;

// Ordinal 4. Ends the pass.
CRUSH_API void CrushEnd() noexcept;

}  // extern "C"

#endif  // ZEL_CRUSH32_CRUSH32_H
