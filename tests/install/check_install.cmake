# cmake -D BUILD_DIR=... -D SCRATCH_DIR=... -D EXAMPLE=... -D CXX_COMPILER=... -P check_install.cmake
#
# Installs the program with its manual, and the library into an empty folder; builds and runs a project that finds it
# there. That project knows nothing of the flags of the library: it optimises nothing, and leaves asserts active.
set(prefix ${SCRATCH_DIR}/prefix)
set(consumer ${SCRATCH_DIR}/consumer)

function(run)
    execute_process(COMMAND ${CMAKE_COMMAND} ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        list(JOIN ARGN " " arguments)
        message(FATAL_ERROR "cmake ${arguments}: ${result}\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH_DIR})
run(--install ${BUILD_DIR} --component development --prefix ${prefix})
if(EXISTS ${prefix}/bin)
    message(FATAL_ERROR "the development component brings programs")
endif()
run(--install ${BUILD_DIR} --component runtime --prefix ${SCRATCH_DIR}/runtime)
foreach(file bin/dral share/man/man6/dral.6 share/bash-completion/completions/dral share/doc/dral/dral.cfg.example)
    if(NOT EXISTS ${SCRATCH_DIR}/runtime/${file})
        message(FATAL_ERROR "not installed: ${file}")
    endif()
endforeach()
run(-S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${consumer}
    -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_CXX_COMPILER=${CXX_COMPILER} -D EXAMPLE=${EXAMPLE})
run(--build ${consumer})
set(PROGRAM ${consumer}/example)
include(${CMAKE_CURRENT_LIST_DIR}/run_example.cmake)
