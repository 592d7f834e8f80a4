// A provider as Microsoft's compiler builds it. Its virtual functions must be in their slots.
#include "zelprovider.h"

namespace {

ZELFieldListEntry fields[] = {{1, 0}, {1, 0}};
ZELSubTypeNode subType = {0, 0, 0, 2, fields, nullptr};
ZELTypeNode type = {7, &subType, nullptr};

struct {
    ZELDictionaryHeader header;
    ZELDictionaryField field;
} dictionary = {{{}, 1, {}}, {0, kZELShort, 2, "F", ""}};

class Provider : public VormaZelData {
public:
    void destroy(int flag) override { type.type = static_cast<int16_t>(flag); }
    const ZELTypeNode* messageTable() override { return &type; }
    const ZELDictionaryHeader* dataDictionary() override { return &dictionary.header; }
    void* reserved3() override { return Wrong(); }
    void* reserved4() override { return Wrong(); }
    void* reserved5() override { return Wrong(); }
    void* reserved6() override { return Wrong(); }
    void* reserved7() override { return Wrong(); }
    void* reserved8() override { return Wrong(); }
    void* reserved9() override { return Wrong(); }
    void* reserved10() override { return Wrong(); }
    void* reserved11() override { return Wrong(); }
    void* reserved12() override { return Wrong(); }
    void* reserved13() override { return Wrong(); }
    void* reserved14() override { return Wrong(); }
    void* reserved15() override { return Wrong(); }
    long idFromName(const char* name) override { return name[0] == 'K' ? 4711 : -1; }

private:
    static void* Wrong() {
        __debugbreak();
        return nullptr;
    }
};

Provider provider;

}  // namespace

extern "C" {
int _fltused;

// The vtable of an abstract class names it.
void _purecall() {
    __debugbreak();
}

__declspec(dllexport) VormaZelData* VORMA_DLL_ENTRY() {
    return &provider;
}

int __stdcall Start(void*, unsigned, void*) {
    return 1;
}
}
