#include <windows.h>

#include <cstdint>
#include <cstdio>

#include "zeldata/mapped_file.h"

namespace zel::image {

namespace {

bool RefuseFile(MapFault& fault, const char* reason) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, "%s", reason);
    return false;
}

bool RefuseFileWithLastError(MapFault& fault, const char* attempt) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, "%s: system error %lu", attempt, GetLastError());
    return false;
}

bool MapHandle(HANDLE handle, MappedFile& file, MapFault& fault) noexcept {
    LARGE_INTEGER size;
    if (GetFileSizeEx(handle, &size) == 0) {
        return RefuseFileWithLastError(fault, "cannot be examined");
    }
    if (size.QuadPart == 0) {
        return RefuseFile(fault, "is empty");
    }
    if (static_cast<std::uintmax_t>(size.QuadPart) > SIZE_MAX) {
        return RefuseFile(fault, "is too long to be mapped");
    }
    HANDLE mapping = CreateFileMappingA(handle, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (mapping == nullptr) {
        return RefuseFileWithLastError(fault, "cannot be mapped");
    }
    const void* bytes = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    const bool mapped = bytes != nullptr || RefuseFileWithLastError(fault, "cannot be mapped");
    // The view keeps the mapping alive.
    CloseHandle(mapping);
    if (mapped) {
        file = {bytes, static_cast<std::size_t>(size.QuadPart)};
    }
    return mapped;
}

}  // namespace

bool MapFile(const char* path, MappedFile& file, MapFault& fault) noexcept {
    HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return RefuseFileWithLastError(fault, "cannot be opened");
    }
    const bool mapped = MapHandle(handle, file, fault);
    CloseHandle(handle);
    return mapped;
}

void UnmapFile(const MappedFile& file) noexcept {
    UnmapViewOfFile(file.bytes);
}

}  // namespace zel::image
