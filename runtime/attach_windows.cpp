// The entry point of each DLL that ships. It does nothing but turn off the notifications of threads that start and end.
#include <windows.h>

// Windows does not turn them off for a file with a directory of thread-local storage. The compiler's run-time library
// adds one together with its own definition of this hook. The DLLs do not need it: their only thread-local object is
// one that the C++ library uses for exceptions, and none is thrown.
extern "C" {
extern void* const __dyn_tls_init_callback;
void* const __dyn_tls_init_callback = nullptr;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
