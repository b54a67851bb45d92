# cmake -DINPUT=file -DOUTPUT=file.cpp -DNAMESPACE=ns -DFUNCTION=name -DHEADER=path -P EmbedText.cmake
# Writes a source file whose function returns the input file's bytes, so that a program carries a copy
# of a file of this source tree (the tracker script) to compare or install.
file(READ "${INPUT}" content)
if(content MATCHES "\\)korvath_embedded\"")
    message(FATAL_ERROR "${INPUT} holds the raw string's delimiter")
endif()
file(WRITE "${OUTPUT}.new" "// Generated from ${INPUT} by cmake/EmbedText.cmake.\n#include \"${HEADER}\"\n\nnamespace ${NAMESPACE} {\n\nauto ${FUNCTION}() -> std::string_view {\n    return R\"korvath_embedded(${content})korvath_embedded\";\n}\n\n} // namespace ${NAMESPACE}\n")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
