# Turns a text file into a C++ source defining `std::string_view NAME()` with its bytes verbatim.
# Run as: cmake -DINPUT=... -DOUTPUT=... -DNAME=... -DNAMESPACE=... -P EmbedText.cmake
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR byteCount "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
# Break the array into lines of 16 bytes so compilers and editors stay comfortable.
string(REGEX REPLACE "(('\\\\x[0-9a-f][0-9a-f]',){16})" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}.tmp" "// Generated from ${INPUT}; do not edit.\n#include <string_view>\n\nnamespace ${NAMESPACE} {\nnamespace {\nconstexpr char kData[] = {\n${bytes}'\\0'};\n}\n\nstd::string_view ${NAME}()\n{\n    return {kData, ${byteCount}};\n}\n\n} // namespace ${NAMESPACE}\n")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
