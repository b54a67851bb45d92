# CLI11 for the MinGW build: header-only.
include(${CMAKE_CURRENT_LIST_DIR}/../MingwSystemHeaders.cmake)
if(NOT TARGET CLI11::CLI11)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    korvath_use_system_headers(CLI11::CLI11 CLI)
endif()
set(CLI11_FOUND TRUE)
