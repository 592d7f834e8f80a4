// The entry point of each DLL that ships. It loads and starts nothing, and has Windows leave out the notifications of
// threads that start and end.
#include <windows.h>

// Windows keeps those up for a file with a directory of thread-local storage. The compiler's run-time library brings
// one in together with its own definition of this hook. Nothing here needs it: there are no thread-local objects but
// one that the C++ library uses for exceptions, and no exception is thrown.
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
