# Joins text files into one C++ source that holds them as a constant: -DOUTPUT=, -DNAME= (of the constant, with its
# namespace), -DFILES= (in their order, separated by "|").
string(REPLACE "|" ";" files "${FILES}")
set(text "")
foreach(file IN LISTS files)
    file(READ "${file}" part)
    string(APPEND text "\n" "${part}")
endforeach()
string(FIND "${text}" ")embedded\"" clash)
if(NOT clash EQUAL -1)
    message(FATAL_ERROR "the text holds what ends it in ${OUTPUT}")
endif()
string(REGEX MATCH "^(.*)::([^:]+)$" matched "${NAME}")
file(WRITE "${OUTPUT}" "namespace ${CMAKE_MATCH_1} {
extern const char* const ${CMAKE_MATCH_2};
const char* const ${CMAKE_MATCH_2} = R\"embedded(${text})embedded\";
}  // namespace ${CMAKE_MATCH_1}
")
