# KORVATH_SANITIZE: empty, "address,undefined" or "thread". Applied to every target of the tree.
set(KORVATH_SANITIZE "" CACHE STRING "Sanitizers to build with (address,undefined | thread)")

if(KORVATH_SANITIZE AND MSVC)
    # The sanitizer builds are GCC and Clang builds on Linux; cl takes none of these flags.
    message(FATAL_ERROR "KORVATH_SANITIZE needs GCC or Clang (the asan and tsan presets), not MSVC")
elseif(KORVATH_SANITIZE)
    add_compile_options(-fsanitize=${KORVATH_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KORVATH_SANITIZE})
    # GCC warns that ThreadSanitizer does not model atomic_thread_fence, which Asio's handler calls use;
    # that is a note about the tool (its worst case is a report too many), not a fault of the code.
    if(KORVATH_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-tsan)
    endif()
endif()
