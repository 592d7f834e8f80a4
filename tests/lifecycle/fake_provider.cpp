// A provider that counts calls. ZEL_FAKE_ENTRY chooses what the library has: a provider, an entry that returns null, or
// no entry.
#include "tests/lifecycle/fake_provider.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "include/zelprovider.h"

#if defined(_WIN32)
#define FAKE_API __declspec(dllexport)
#else
#define FAKE_API __attribute__((visibility("default")))
#endif

namespace {

zel::test::ProviderCounts& Counts() {
    static zel::test::ProviderCounts nobodyAsks;
    const char* address = std::getenv(zel::test::kCountsVariable);
    void* counts = &nobodyAsks;
    if (address != nullptr) {
        (void)std::sscanf(address, "%p", &counts);  // NOLINT(cert-err34-c): printed by the test as %p
    }
    return *static_cast<zel::test::ProviderCounts*>(counts);
}

struct Loading {
    Loading() { ++Counts().loads; }
    ~Loading() { ++Counts().unloads; }
};
const Loading loading;

class FakeProvider final : public VormaZelData {
public:
    void destroy(int flag) override {
        ++Counts().destructions;
        Counts().lastFlag = flag;
        delete this;
    }
    const ZELTypeNode* messageTable() override {
        ++Counts().messageTables;
        return &type_;
    }
    const ZELDictionaryHeader* dataDictionary() override {
        ++Counts().dictionaries;
        return &dictionary_;
    }
    void* reserved3() override { return Other(); }
    void* reserved4() override { return Other(); }
    void* reserved5() override { return Other(); }
    void* reserved6() override { return Other(); }
    void* reserved7() override { return Other(); }
    void* reserved8() override { return Other(); }
    void* reserved9() override { return Other(); }
    void* reserved10() override { return Other(); }
    void* reserved11() override { return Other(); }
    void* reserved12() override { return Other(); }
    void* reserved13() override { return Other(); }
    void* reserved14() override { return Other(); }
    void* reserved15() override { return Other(); }
    long idFromName(const char* name) override {
        ++Counts().lookups;
        return std::strcmp(name, "KNOWN") == 0 ? 4711 : -77;
    }

private:
    static void* Other() {
        ++Counts().otherSlots;
        return nullptr;
    }
    ZELDictionaryHeader dictionary_{};
    ZELSubTypeNode subType_{};
    ZELTypeNode type_{7, &subType_, nullptr};
};

}  // namespace

#if defined(ZEL_FAKE_ENTRY)
extern "C" FAKE_API VormaZelData* VORMA_DLL_ENTRY() {
    ++Counts().entries;
    return ZEL_FAKE_ENTRY;
}
#endif
