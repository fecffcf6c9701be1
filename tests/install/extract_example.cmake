# cmake -D SOURCE_DIR=... -D OUTPUT=... -P extract_example.cmake
#
# Writes the program in the comment of engine.h to a file of its own. README.md must show the same one.
file(READ ${SOURCE_DIR}/src/engine/engine.h header)
if(NOT header MATCHES "\n// Embedding[^\n]*\n//\n(//     #include.*\n//     }\n)")
    message(FATAL_ERROR "no example in engine.h")
endif()
string(REGEX REPLACE "(^|\n)//     " "\\1" example "${CMAKE_MATCH_1}")
file(WRITE ${OUTPUT} "${example}")

file(READ ${SOURCE_DIR}/README.md readme)
string(REGEX REPLACE "\n(.)" "\n    \\1" indented "    ${example}")
string(FIND "${readme}" "${indented}" place)
if(place EQUAL -1)
    message(FATAL_ERROR "README.md shows another example than engine.h")
endif()
