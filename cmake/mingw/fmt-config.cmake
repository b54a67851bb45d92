# {fmt} for the MinGW build: header-only. Only a folder holding the `fmt` headers goes on the include
# path, never the build machine's whole /usr/include.
if(NOT TARGET fmt::fmt)
    set(_korvath_fmt_root ${CMAKE_BINARY_DIR}/fmt-headers)
    file(MAKE_DIRECTORY ${_korvath_fmt_root})
    file(CREATE_LINK /usr/include/fmt ${_korvath_fmt_root}/fmt SYMBOLIC)
    add_library(fmt::fmt INTERFACE IMPORTED GLOBAL)
    target_include_directories(fmt::fmt SYSTEM INTERFACE ${_korvath_fmt_root})
    target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY=1)
endif()
set(fmt_FOUND TRUE)
