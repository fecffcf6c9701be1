# cmake -D SOURCE_DIR=... -D HEADER=... [-D COMMIT=...] -P commit.cmake
#
# Writes the commit that SOURCE_DIR holds into HEADER, when it is not what stands there already: COMMIT where it is given;
# in a checkout what git says, with "-modified" when the program's sources differ; in an archive what scripts/commit.txt
# says; else "unknown".
set(commit "${COMMIT}")
find_program(git git)
if(NOT commit AND git)
    # A checkout of something else that holds this folder knows nothing of it.
    execute_process(COMMAND ${git} -C ${SOURCE_DIR} rev-parse --show-toplevel
        OUTPUT_VARIABLE top OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    file(REAL_PATH "${SOURCE_DIR}" here)
    if(top STREQUAL here)
        execute_process(COMMAND ${git} -C ${SOURCE_DIR} rev-parse --short=12 HEAD
            OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        execute_process(COMMAND ${git} -C ${SOURCE_DIR} diff --quiet HEAD -- src
            RESULT_VARIABLE modified OUTPUT_QUIET ERROR_QUIET)
        if(commit AND modified EQUAL 1)
            string(APPEND commit "-modified")
        endif()
    endif()
endif()
if(NOT commit)
    file(STRINGS ${SOURCE_DIR}/scripts/commit.txt commit REGEX "^[0-9a-f]+(-modified)?$")
endif()
if(NOT commit)
    set(commit unknown)
endif()
set(text "#define DRAL_COMMIT ${commit}\n")
set(old "")
if(EXISTS ${HEADER})
    file(READ ${HEADER} old)
endif()
if(NOT old STREQUAL text)
    file(WRITE ${HEADER} "${text}")
endif()
