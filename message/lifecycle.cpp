// Start and stop: loading the dictionary provider, handing its tables to the core, starting the compression library.
#include "message/lifecycle.h"

#include "core/tables/tables_in_use.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "runtime/error_report.h"
#include "runtime/module.h"

namespace {

VormaZelData* zelProvider = nullptr;

// Not cleared when the module is unloaded: only a set provider says that it is valid.
zel::ModuleHandle zelProviderModule = nullptr;

// Null where the provider's library has no such function.
VormaMessageFromName messageFromName = nullptr;

// Why there is no dictionary. No report goes to the sink: a failed start is quiet.
void SayNotStarted(const char* why) noexcept {
    zel::TellListeners(ZEL_NOT_STARTED, 0, why);
}

// A module without the entry stays loaded.
VormaZelData* LoadProvider() noexcept {
    zelProviderModule = zel::LoadModule("zeldata");
    if (zelProviderModule == nullptr) {
        char why[512] = "";
        zel::DescribeLoadError(why, sizeof why);
        SayNotStarted(why);
        return nullptr;
    }
    const zel::ModuleSymbol entry = zel::FindModuleSymbol(zelProviderModule, "VORMA_DLL_ENTRY");
    if (entry == nullptr) {
        SayNotStarted("the provider library has no VORMA_DLL_ENTRY");
        return nullptr;
    }
    VormaZelData* provider = reinterpret_cast<VormaDllEntry>(entry)();
    if (provider == nullptr) {
        SayNotStarted("the provider serves no dictionary: it said why on standard error");
    }
    messageFromName =
        reinterpret_cast<VormaMessageFromName>(zel::FindModuleSymbol(zelProviderModule, "VORMA_MESSAGE_FROM_NAME"));
    return provider;
}

}  // namespace

namespace zel {

VormaZelData* GetProvider() noexcept {
    return zelProvider;
}

int FindMessageByName(const char* name, std::int16_t* msgType, std::int16_t* subType) noexcept {
    return zelProvider != nullptr && messageFromName != nullptr ? messageFromName(zelProvider, name, msgType, subType)
                                                                : -1;
}

}  // namespace zel

void CZELMessage::init() noexcept {
    if (zelProvider == nullptr) {
        zelProvider = LoadProvider();
    }
    if (zelProvider != nullptr) {
        const ZELDictionaryHeader* dictionary = zelProvider->dataDictionary();
        const ZELTypeNode* messageTable = zelProvider->messageTable();
        if (dictionary == nullptr || messageTable == nullptr) {
            SayNotStarted(dictionary == nullptr ? "the provider has no dictionary"
                                                : "the provider has no message table");
        }
        zel::UseTables(dictionary, messageTable);
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
