#include "zeldata/provider.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "runtime/heap.h"
#include "runtime/module.h"
#include "zeldata/image_check.h"
#include "zeldata/mapped_file.h"
#include "zeldata/message_table.h"
#include "zeldata/name_table.h"

namespace zel::image {

namespace {

constexpr char kImageName[] = "zeldata.img";

// One block: the object, then its message-table nodes.
class ImageProvider final : public VormaZelData {
public:
    ImageProvider(const MappedFile& file, const ImageView& view) noexcept
        : file_(file), view_(view), messageTable_(LinkMessageTable(view, this + 1)) {}

    void destroy(int /*flag*/) override {
        const MappedFile file = file_;
        this->~ImageProvider();
        HeapRelease(this);
        UnmapFile(file);
    }
    const ZELTypeNode* messageTable() override { return messageTable_; }
    const ZELDictionaryHeader* dataDictionary() override { return view_.dictionary; }

    void* reserved3() override { return nullptr; }
    void* reserved4() override { return nullptr; }
    void* reserved5() override { return nullptr; }
    void* reserved6() override { return nullptr; }
    void* reserved7() override { return nullptr; }
    void* reserved8() override { return nullptr; }
    void* reserved9() override { return nullptr; }
    void* reserved10() override { return nullptr; }
    void* reserved11() override { return nullptr; }
    void* reserved12() override { return nullptr; }
    void* reserved13() override { return nullptr; }
    void* reserved14() override { return nullptr; }
    void* reserved15() override { return nullptr; }

    long idFromName(const char* name) override {
        const std::uint16_t id = name == nullptr
                                     ? std::uint16_t{0}
                                     : FindName(view_.dictionary, view_.names, view_.header->nameSlotCount, name);
        return id == 0 ? -1 : id;
    }

    [[nodiscard]] const ImageView& view() const { return view_; }

private:
    ~ImageProvider() = default;

    MappedFile file_;
    ImageView view_;
    const ZELTypeNode* messageTable_;
};

// The path, with a question mark for each character that a terminal would obey: files are named by anybody.
struct ShownPath {
    explicit ShownPath(const char* path) noexcept {
        (void)std::snprintf(text, sizeof text, "%s", path);
        unsigned char before = 0;
        for (char* at = text; *at != '\0'; ++at) {
            const auto byte = static_cast<unsigned char>(*at);
            // In UTF-8 the second 32 control characters begin with C2.
            const bool isControl = byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte >= 0x80 && byte < 0xA0);
            *at = isControl ? '?' : *at;
            before = byte;
        }
    }
    char text[kImagePathSize];
};

VormaZelData* NoProvider(const char* path, const char* reason) noexcept {
    (void)std::fprintf(
        stderr,
        "zeldata: no dictionary: %s %s (build an image with 'zel dict build SOURCE -o IMAGE' and name it in "
        "%s)\n",
        ShownPath(path).text, reason, kImageVariable);
    return nullptr;
}

VormaZelData* ServeMappedFile(const char* path, const MappedFile& file) noexcept {
    ImageView view;
    ImageFault fault;
    if (!CheckImage(file.bytes, file.size, view, fault)) {
        return NoProvider(path, fault.text);
    }
    void* block = HeapAllocate(sizeof(ImageProvider) + MessageTableSize(view));
    return block == nullptr ? NoProvider(path, "cannot be served: out of memory")
                            : new (block) ImageProvider(file, view);
}

}  // namespace

VormaZelData* OpenProvider(const char* path) noexcept {
    MappedFile file;
    MapFault fault;
    if (!MapFile(path, file, fault)) {
        return NoProvider(path, fault.text);
    }
    VormaZelData* provider = ServeMappedFile(path, file);
    if (provider == nullptr) {
        UnmapFile(file);
    }
    return provider;
}

int FindMessage(const VormaZelData* provider, const char* name, std::int16_t* msgType, std::int16_t* subType) noexcept {
    const ImageView& view = static_cast<const ImageProvider*>(provider)->view();
    const ImageType* types = view.types;
    for (const ImageType* type = types; type != types + view.header->typeCount; ++type) {
        const ImageSubType* first = view.subTypes + type->firstSubType;
        for (const ImageSubType* at = first; at != first + type->subTypeCount; ++at) {
            if (std::strcmp(at->name, name) == 0) {
                *msgType = type->type;
                *subType = at->subType;
                return 0;
            }
        }
    }
    return -1;
}

const char* FindServedImage(const void* inProvider, char (&path)[kImagePathSize]) noexcept {
    const char* named = PathFromEnvironment(kImageVariable);
    if (named != nullptr && named[0] != '\0') {
        return named;
    }
    return PathBeside(inProvider, kImageName, path, sizeof path) ? path : nullptr;
}

VormaZelData* OpenDefaultProvider() noexcept {
    char buffer[kImagePathSize];
    const char* path = FindServedImage(reinterpret_cast<const void*>(&OpenDefaultProvider), buffer);
    return path == nullptr ? NoProvider(kImageName, "has no known folder") : OpenProvider(path);
}

}  // namespace zel::image
