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

# The Windows host behind a router that answers no port mapping request, in network namespaces: it
# says so within 3 s and still serves a joiner on its network.
if(KORVATH_WINE)
    add_test(NAME HomeRouter.WindowsHostSaysNoRouterAnsweredAndServesTheLanUnderWine
        COMMAND bash ${PROJECT_SOURCE_DIR}/tests/session_net/windows_no_router.sh $<TARGET_FILE:korvath-session>
            ${KORVATH_WINE} ${CMAKE_CURRENT_BINARY_DIR}/windows-no-router)
    set_tests_properties(HomeRouter.WindowsHostSaysNoRouterAnsweredAndServesTheLanUnderWine PROPERTIES
        SKIP_RETURN_CODE 77 TIMEOUT 120)
endif()
