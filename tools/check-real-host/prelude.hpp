#pragma once
// Included before every source: what MSVC predefines or its library includes implicitly, and MinGW not.

// MSVC's <math.h> defines M_PI and its kin whenever it is included after _USE_MATH_DEFINES, as the host's
// Rotator.hpp does; MinGW's only on its first inclusion. Defined before any.
#define _USE_MATH_DEFINES

// MinGW's intrinsics, declared before _MSC_VER exists: with it, clang's <intrin.h> would declare its
// MSVC set over them. Its guard keeps that set out of later inclusions.
#include <intrin.h>
#define __INTRIN_H

// MSVC 19.43 (Visual Studio 2022 17.13), with C++ exceptions enabled (/EHsc).
#define _MSC_VER 1943
#define _MSC_FULL_VER 194334808
#define _CPPUNWIND 1

// Every standard header at once: MSVC's library reaches many through others, and the host's headers rely
// on that. This also lets NOMINMAX go, which MinGW's C++ library defines for the Windows headers and
// MSVC's does not: <windows.h> then defines the min and max macros as the Windows SDK does.
#include <bits/stdc++.h>
#undef NOMINMAX

// MSVC's <strsafe.h> deprecates the unsafe string functions with a pragma, MinGW's by renaming them.
#define STRSAFE_NO_DEPRECATE

// MSVC reports __cplusplus as 199711L (no /Zc:__cplusplus), so the engine headers' UE_REQUIRES takes its
// enable_if form there. Under clang it takes the concept form, which names this concept relative to the
// namespace it is used in; the script asks for it when the host declares it outside RC::Unreal.
#ifdef CHECK_REAL_HOST_UE_REQUIRES_CONCEPT
namespace RC::Unreal::UE::Core::Private {
template <bool B>
concept BoolIdentityConcept = B;
} // namespace RC::Unreal::UE::Core::Private
#endif
