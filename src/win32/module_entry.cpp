// The entry point of a module the host loads and unloads: MonitorPlugin.dll (and the stand-ins of
// the maker's libraries, built the same way).
#include <windows.h>

#if defined(__GLIBCXX__)
namespace __gnu_cxx {
// Gives back the C++ run-time's emergency pool for exceptions thrown while memory runs out (the
// run-time's own hook for leak checkers).
void __freeres() noexcept;
} // namespace __gnu_cxx
#endif

// The service host loads and unloads the plug-in many times in one process. The C++ run-time
// linked into the module sets its emergency pool aside on each load (about 73 KB) and never frees
// it, so an unload by FreeLibrary (reserved is null) frees it here; at process exit nothing needs
// freeing and nothing is touched.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
#if defined(__GLIBCXX__)
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        __gnu_cxx::__freeres();
    }
#endif
    return TRUE;
}
