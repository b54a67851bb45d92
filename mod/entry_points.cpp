// The library's exported entry points: the only symbols it exports.

#include "mod/KorvathOnlineCpp.hpp"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#define KORVATH_EXPORT __declspec(dllexport)

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
#else
#define KORVATH_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

KORVATH_EXPORT RC::CppUserModBase* start_mod() {
    return new korvath::KorvathOnlineCpp();
}

KORVATH_EXPORT void uninstall_mod(RC::CppUserModBase* mod) {
    delete mod;
}
}
