# Windows-only parts of the test suite. Included from tests/ in a WIN32 build.

# Windows finds a program's DLLs beside it: the host's library goes next to the test program.
add_custom_command(TARGET korvath_tests POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:KorvathHost> $<TARGET_FILE_DIR:korvath_tests>)

# The shipped binaries import only the system's DLLs (the C++ runtime is linked in), and the mod
# exports exactly its two entry points.
add_test(NAME WindowsBinaries.ImportOnlySystemDllsAndExportTheEntryPoints
    COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${CMAKE_OBJDUMP}
        "-DMODS=$<TARGET_FILE:KorvathOnlineCpp>;$<TARGET_FILE:KorvathOnlineCppDrivenClock>"
        "-DPROGRAMS=$<TARGET_FILE:korvath-session>;$<TARGET_FILE:korvath-sim>;$<TARGET_FILE:KorvathHost>"
        -DHOST_DLL=$<TARGET_FILE_NAME:KorvathHost>
        -P ${PROJECT_SOURCE_DIR}/cmake/CheckWindowsBinaries.cmake)

# The player's package: its layout, and the session program starting from it under Wine.
add_test(NAME Package.LayoutAndSessionProgramUnderWine
    COMMAND bash ${PROJECT_SOURCE_DIR}/tools/package.sh --no-build --build-dir ${PROJECT_BINARY_DIR}
        --out ${CMAKE_CURRENT_BINARY_DIR}/package-test)

# The Windows host under Wine in network namespaces: behind a silent router it says so within 3 s and
# serves a joiner on its network; behind miniupnpd it maps its port by UPnP and removes the mapping.
if(KORVATH_WINE)
    add_test(NAME HomeRouter.WindowsHostUnderWineSaysNoRouterServesTheLanAndMapsByUpnp
        COMMAND bash ${PROJECT_SOURCE_DIR}/tests/session_net/windows_home_router.sh
            $<TARGET_FILE:korvath-session> ${KORVATH_WINE} ${CMAKE_CURRENT_BINARY_DIR}/windows-home-router)
    set_tests_properties(HomeRouter.WindowsHostUnderWineSaysNoRouterServesTheLanAndMapsByUpnp PROPERTIES
        SKIP_RETURN_CODE 77 TIMEOUT 120)
endif()
