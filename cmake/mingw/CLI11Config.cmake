# CLI11 for the MinGW build: header-only. Only a folder holding the `CLI` headers goes on the include
# path, never the build machine's whole /usr/include.
if(NOT TARGET CLI11::CLI11)
    set(_korvath_cli11_root ${CMAKE_BINARY_DIR}/cli11-headers)
    file(MAKE_DIRECTORY ${_korvath_cli11_root})
    file(CREATE_LINK /usr/include/CLI ${_korvath_cli11_root}/CLI SYMBOLIC)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${_korvath_cli11_root})
endif()
set(CLI11_FOUND TRUE)
