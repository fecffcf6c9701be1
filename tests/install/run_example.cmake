# cmake -D PROGRAM=... -P run_example.cmake: the example prints a line of moves and a score, nothing else.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES "^([a-h][1-8][a-h][1-8][qrbn]? )+-?[0-9]+\n$")
    message(FATAL_ERROR "${PROGRAM}: ${result}\n${output}")
endif()
