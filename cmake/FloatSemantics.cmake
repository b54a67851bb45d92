# The proxy's smoothing and CLIENT_B's destination are defined in single precision with a rounding after
# every operation. Compilers may otherwise fuse a*b+c into one multiply-add (GCC and Clang do whenever the
# target has FMA, for example with -march=haswell or on ARM64), which changes results in the last bit.
# MSVC: /fp:precise without /fp:contract does not contract from Visual Studio 2022 on; older MSVC
# contracts under /fp:precise, so it needs /fp:strict.
add_library(korvath_float_semantics INTERFACE)
if(MSVC)
    target_compile_options(korvath_float_semantics INTERFACE /fp:precise)
else()
    target_compile_options(korvath_float_semantics INTERFACE -ffp-contract=off)
endif()
