# Warnings as an INTERFACE target; KORVATH_WARNINGS_AS_ERRORS turns them into errors (on in CI).
option(KORVATH_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

add_library(korvath_warnings INTERFACE)
if(MSVC)
    # MSVC and clang-cl. /W4 overrides the /W3 that the real host passes on to its mods (cl notes that
    # with D9025); /permissive- keeps the code to the standard, as GCC does.
    target_compile_options(korvath_warnings INTERFACE /W4 /permissive-)
    if(KORVATH_WARNINGS_AS_ERRORS)
        target_compile_options(korvath_warnings INTERFACE /WX)
    endif()
else()
    target_compile_options(korvath_warnings INTERFACE
        -Wall -Wextra -Wshadow -Wpedantic -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
        -Woverloaded-virtual -Wdouble-promotion -Wimplicit-fallthrough)
    if(KORVATH_WARNINGS_AS_ERRORS)
        target_compile_options(korvath_warnings INTERFACE -Werror)
    endif()
endif()
