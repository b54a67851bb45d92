# The proxy's smoothing and CLIENT_B's destination are defined in single precision with a rounding after
# every operation. Compilers may otherwise fuse a*b+c into one multiply-add (GCC and Clang do whenever the
# target has FMA, for example with -march=haswell or on ARM64), which changes results in the last bit.
# MSVC: /fp:precise without /fp:contract does not contract from Visual Studio 2022 (cl 19.30) on; older
# cl contracts under /fp:precise, so it needs /fp:strict. clang-cl follows Clang, which by default fuses
# within an expression (-ffp-contract=on), so it is told not to as GCC and Clang are.
add_library(korvath_float_semantics INTERFACE)
if(MSVC AND CMAKE_CXX_COMPILER_ID STREQUAL "MSVC" AND MSVC_VERSION LESS 1930)
    target_compile_options(korvath_float_semantics INTERFACE /fp:strict)
elseif(MSVC)
    target_compile_options(korvath_float_semantics INTERFACE /fp:precise)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_compile_options(korvath_float_semantics INTERFACE /clang:-ffp-contract=off)
    endif()
else()
    target_compile_options(korvath_float_semantics INTERFACE -ffp-contract=off)
endif()
