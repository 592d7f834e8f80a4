// Start and stop: loading the dictionary provider, handing its tables to the core, starting the compression library.
#include "message/lifecycle.h"

#include "core/tables/tables_in_use.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "runtime/module.h"

namespace {

VormaZelData* zelProvider = nullptr;

// Not cleared when the module is unloaded: only a set provider says that it is valid.
zel::ModuleHandle zelProviderModule = nullptr;

// A module without the entry stays loaded.
VormaZelData* LoadProvider() noexcept {
    zelProviderModule = zel::LoadModule("zeldata");
    if (zelProviderModule == nullptr) {
        return nullptr;
    }
    const zel::ModuleSymbol entry = zel::FindModuleSymbol(zelProviderModule, "VORMA_DLL_ENTRY");
    return entry != nullptr ? reinterpret_cast<VormaDllEntry>(entry)() : nullptr;
}

}  // namespace

namespace zel {

VormaZelData* GetProvider() noexcept {
    return zelProvider;
}

}  // namespace zel

void CZELMessage::init() noexcept {
    if (zelProvider == nullptr) {
        zelProvider = LoadProvider();
    }
    if (zelProvider != nullptr) {
        const ZELDictionaryHeader* dictionary = zelProvider->dataDictionary();
        zel::UseTables(dictionary, zelProvider->messageTable());
    }
    CrushStartUp();
}

void CZELMessage::terminate() noexcept {
    zel::StopUsingTables();
    if (zelProvider != nullptr) {
        // The provider's interface: 1 asks it to free itself.
        zelProvider->destroy(1);
        zelProvider = nullptr;
        if (zelProviderModule != nullptr) {
            zel::UnloadModule(zelProviderModule);
        }
    }
    CrushShutDown();
}

VormaZelData* CZELMessage::getVormaZelData() noexcept {
    return zelProvider;
}
