# Configures the project with KORVATH_HOST=ue4ss against mock trees of the host's two layouts and checks
# the compile command of host/console.cpp, the one source that formats: current main brings {fmt}, which
# the mod must use instead of a second one; a v3.x tree has none, and the mod uses std::format.
#   cmake -DREPO=<source tree> -DWORK=<scratch folder> -DGENERATOR=<generator> -P host_fmt_test.cmake

# Per mock tree: what the command must contain and what it must not (@MOCK@ is the mock's folder).
# Both: the host's headers as system headers, C++23.
# main registers ProcessEvent callbacks with options; v3.x with the plain form.
set(main_has "-isystem @MOCK@/deps/third/fmt/include" "-isystem @MOCK@/UE4SS/include"
    "-DKORVATH_UE4SS_CALLBACK_OPTIONS")
set(main_lacks "KORVATH_STD_FORMAT")
set(v3_has "-DKORVATH_STD_FORMAT" "-isystem @MOCK@/UE4SS/include")
set(v3_lacks "fmt/include" "KORVATH_UE4SS_CALLBACK_OPTIONS")

foreach(case IN ITEMS main v3)
    set(mock ${CMAKE_CURRENT_LIST_DIR}/mock-host-${case})
    set(build ${WORK}/${case})
    file(REMOVE_RECURSE ${build})
    execute_process(
        COMMAND ${CMAKE_COMMAND} -S ${REPO} -B ${build} -G ${GENERATOR} -DKORVATH_HOST=ue4ss
            -DKORVATH_UE4SS_DIR=${mock} -DKORVATH_BUILD_TESTS=OFF -DKORVATH_BUILD_BENCHMARKS=OFF
            -DKORVATH_BUILD_TOOLS=OFF
        RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(failed)
        message(SEND_ERROR "${case}: configuring failed:\n${output}")
        continue()
    endif()

    # find_package(fmt) leaves fmt_DIR in the cache: no {fmt} but the host's may be looked for.
    file(STRINGS ${build}/CMakeCache.txt searched REGEX "^fmt_DIR:")
    if(searched)
        message(SEND_ERROR "${case}: looked for a {fmt} package besides the host's tree: ${searched}")
    endif()

    file(READ ${build}/compile_commands.json commands)
    string(JSON count LENGTH "${commands}")
    math(EXPR last "${count} - 1")
    set(command "")
    foreach(i RANGE ${last})
        string(JSON file GET "${commands}" ${i} file)
        if(file MATCHES "/host/console\\.cpp$")
            string(JSON command GET "${commands}" ${i} command)
        endif()
    endforeach()
    if(NOT command)
        message(SEND_ERROR "${case}: no compile command for host/console.cpp")
        continue()
    endif()

    if(NOT command MATCHES "-std=c\\+\\+(23|2b)")
        message(SEND_ERROR "${case}: host/console.cpp is not compiled as C++23: ${command}")
    endif()
    foreach(part IN LISTS ${case}_has)
        string(REPLACE "@MOCK@" "${mock}" part "${part}")
        string(FIND "${command}" "${part}" at)
        if(at EQUAL -1)
            message(SEND_ERROR "${case}: '${part}' missing from: ${command}")
        endif()
    endforeach()
    foreach(part IN LISTS ${case}_lacks)
        string(FIND "${command}" "${part}" at)
        if(NOT at EQUAL -1)
            message(SEND_ERROR "${case}: '${part}' unexpected in: ${command}")
        endif()
    endforeach()
endforeach()
