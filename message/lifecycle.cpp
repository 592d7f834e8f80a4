// Start and stop: loading the dictionary provider, handing its tables to the core, starting the compression library.
#include "message/lifecycle.h"

#include <cstdio>
#include <cstdlib>

#include "core/dictionary.h"
#include "core/message_block.h"
#include "core/plan_table.h"
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

// A message that outlives the plans would read freed memory at the next call, wherever that is: the program ends here,
// where its author can see why.
void RefuseLiveMessages() noexcept {
    if (const int count = zel::LiveMessages(); count != 0) {
        (void)std::fprintf(stderr,
                           "CZELMessage::terminate(): messages still alive: %d. Destroy every CZELMessage, or call its "
                           "destroyStruct, before.\n",
                           count);
        std::abort();
    }
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
        zel::SetDataDictionary(zelProvider->dataDictionary());
        zel::SetMessageTable(zelProvider->messageTable());
    }
    CrushStartUp();
}

void CZELMessage::terminate() noexcept {
    if constexpr (zel::kChecksContracts) {
        RefuseLiveMessages();
    }
    zel::ReleasePlans();
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
