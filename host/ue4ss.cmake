# The real UE4SS host: its source tree (KORVATH_UE4SS_DIR) as a subdirectory, as its C++ mods are built,
# with MSVC. KorvathHost then stands for the host's own library plus the adapter of hook names.
set(KORVATH_UE4SS_DIR "" CACHE PATH "Source tree of the UE4SS host the mod is built against")
if(NOT EXISTS "${KORVATH_UE4SS_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "KORVATH_HOST=ue4ss needs KORVATH_UE4SS_DIR, the host's source tree")
endif()
# SYSTEM: the host's headers (and its {fmt}'s) reach the mod as system headers, so that the mod's own
# warning level and warnings-as-errors apply to the mod's code only.
add_subdirectory(${KORVATH_UE4SS_DIR} ${CMAKE_BINARY_DIR}/ue4ss EXCLUDE_FROM_ALL SYSTEM)

add_library(KorvathHost INTERFACE)
target_include_directories(KorvathHost INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/adapter)
target_link_libraries(KorvathHost INTERFACE UE4SS)

# Hosts newer than 3.x register ProcessEvent callbacks with iteration data and options (and deprecate the
# plain form); the adapter picks the form the host's own Hooks.hpp declares.
file(GLOB_RECURSE KORVATH_UE4SS_HOOKS_HEADER "${KORVATH_UE4SS_DIR}/deps/first/Unreal/include/Unreal/Hooks.hpp")
if(KORVATH_UE4SS_HOOKS_HEADER)
    file(STRINGS "${KORVATH_UE4SS_HOOKS_HEADER}" KORVATH_UE4SS_CALLBACK_OPTIONS REGEX "FCallbackOptions")
endif()
if(KORVATH_UE4SS_CALLBACK_OPTIONS)
    target_compile_definitions(KorvathHost INTERFACE KORVATH_UE4SS_CALLBACK_OPTIONS)
    message(STATUS "ProcessEvent callback: the form with iteration data and options")
else()
    message(STATUS "ProcessEvent callback: the plain form of 3.x hosts")
endif()
