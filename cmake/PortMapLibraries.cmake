# The Windows build's UPnP library: miniupnpc compiled from Debian's source package, which
# tools/deb-source.sh fetches into the build tree when the build is configured (never into the
# repository). Debian's binary package serves the Linux build. libnatpmp's source package is not on the
# mirrors this project uses, so the Windows build maps by UPnP alone.
# korvath_port_map_libraries(TARGET): TARGET gets the library, its headers as <miniupnpc/...>.
function(korvath_port_map_libraries target)
    set(sources ${CMAKE_BINARY_DIR}/deb-src)
    file(GLOB found LIST_DIRECTORIES true ${sources}/miniupnpc-*/src/miniupnpc.c)
    if(NOT found)
        execute_process(COMMAND bash ${PROJECT_SOURCE_DIR}/tools/deb-source.sh ${sources} miniupnpc
            RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
        file(GLOB found ${sources}/miniupnpc-*/src/miniupnpc.c)
        if(NOT status EQUAL 0 OR NOT found)
            message(FATAL_ERROR "cannot fetch Debian's miniupnpc source package (tools/deb-source.sh): ${output}")
        endif()
    endif()
    list(GET found 0 main)
    get_filename_component(src ${main} DIRECTORY)
    get_filename_component(root ${src} DIRECTORY)

    # The library's headers under miniupnpc/, as Debian installs them; its version strings as its own
    # build writes them.
    set(include ${CMAKE_BINARY_DIR}/miniupnpc-include)
    file(GLOB headers ${root}/include/*.h)
    file(COPY ${headers} DESTINATION ${include}/miniupnpc)
    file(STRINGS ${root}/VERSION version LIMIT_COUNT 1)
    file(WRITE ${include}/miniupnpcstrings.h
        "#pragma once\n#define OS_STRING \"Windows\"\n#define MINIUPNPC_VERSION_STRING \"${version}\"\n"
        "#define UPNP_VERSION_STRING \"UPnP/1.1\"\n")

    add_library(korvath_miniupnpc STATIC
        ${src}/addr_is_reserved.c ${src}/connecthostport.c ${src}/igd_desc_parse.c ${src}/minisoap.c
        ${src}/minissdpc.c ${src}/miniupnpc.c ${src}/miniwget.c ${src}/minixml.c ${src}/portlistingparse.c
        ${src}/receivedata.c ${src}/upnpcommands.c ${src}/upnpdev.c ${src}/upnperrors.c ${src}/upnpreplyparse.c)
    target_compile_definitions(korvath_miniupnpc PUBLIC MINIUPNP_STATICLIB PRIVATE _WIN32_WINNT=0x0A00)
    target_include_directories(korvath_miniupnpc PRIVATE ${src} ${include} ${include}/miniupnpc)
    target_include_directories(korvath_miniupnpc SYSTEM INTERFACE ${include})
    target_compile_options(korvath_miniupnpc PRIVATE -w)
    target_link_libraries(korvath_miniupnpc PUBLIC ws2_32 iphlpapi)
    target_link_libraries(${target} PRIVATE korvath_miniupnpc)
endfunction()
