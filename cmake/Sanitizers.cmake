# KORVATH_SANITIZE: empty, "address,undefined" or "thread". Applied to every target of the tree.
set(KORVATH_SANITIZE "" CACHE STRING "Sanitizers to build with (address,undefined | thread)")

if(KORVATH_SANITIZE)
    add_compile_options(-fsanitize=${KORVATH_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KORVATH_SANITIZE})
endif()
