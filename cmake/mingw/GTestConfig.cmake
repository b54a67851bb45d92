# GoogleTest for the MinGW build: Debian's source package, built with the same toolchain. It defines
# GTest::gtest and GTest::gmock itself.
if(NOT TARGET GTest::gtest)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
set(GTest_FOUND TRUE)
