# {fmt} for the MinGW build, used header-only.
include(${CMAKE_CURRENT_LIST_DIR}/../MingwSystemHeaders.cmake)
if(NOT TARGET fmt::fmt)
    add_library(fmt::fmt INTERFACE IMPORTED GLOBAL)
    korvath_use_system_headers(fmt::fmt fmt)
    target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY=1)
endif()
set(fmt_FOUND TRUE)
