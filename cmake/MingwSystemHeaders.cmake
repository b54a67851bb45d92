# The cross build sees only the MinGW root. A header-only library from the build machine's Debian
# packages reaches it through a folder of links to just its headers, never the whole /usr/include.
# korvath_use_system_headers(TARGET ENTRY...): each ENTRY (a folder or file under /usr/include) goes
# on TARGET's include path as a system header.
function(korvath_use_system_headers target)
    string(MAKE_C_IDENTIFIER "${target}" name)
    set(root ${CMAKE_BINARY_DIR}/system-headers/${name})
    file(MAKE_DIRECTORY ${root})
    foreach(entry IN LISTS ARGN)
        file(CREATE_LINK /usr/include/${entry} ${root}/${entry} SYMBOLIC)
    endforeach()
    target_include_directories(${target} SYSTEM INTERFACE ${root})
endfunction()
