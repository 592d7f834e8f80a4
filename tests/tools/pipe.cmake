# The command as a user runs it: a reader that goes early ends it without a word; wrong usage has status 2.
# What goes through a pipe is several times what it holds.
# cmake -DZEL=... -DORDERS=... -DWORK=... -P pipe.cmake
file(READ ${ORDERS} orders)
string(REPEAT "${orders}" 400 many)
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/many.jsonl "${many}")

execute_process(COMMAND ${ZEL} encode ${WORK}/many.jsonl OUTPUT_FILE ${WORK}/many.zel COMMAND_ERROR_IS_FATAL ANY)
foreach(arguments "encode;${WORK}/many.jsonl" "decode;--json;${WORK}/many.zel" "decode;${WORK}/many.zel")
    execute_process(COMMAND ${ZEL} ${arguments} COMMAND ${CMAKE_COMMAND} -E true ERROR_VARIABLE said)
    if(NOT said STREQUAL "")
        message(FATAL_ERROR "zel ${arguments} said: ${said}")
    endif()
endforeach()

# Through two pipes and back.
execute_process(COMMAND ${ZEL} encode - COMMAND ${ZEL} decode --json COMMAND ${ZEL} encode
    INPUT_FILE ${WORK}/many.jsonl OUTPUT_FILE ${WORK}/again.zel RESULTS_VARIABLE results)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/many.zel ${WORK}/again.zel RESULT_VARIABLE different)
if(NOT results STREQUAL "0;0;0" OR different)
    message(FATAL_ERROR "the round trip through pipes: ${results}, different: ${different}")
endif()

foreach(arguments "decode;--nothing" "encode;--json" "decode;-d;missing.img;${WORK}/many.zel")
    execute_process(COMMAND ${ZEL} ${arguments} RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE said)
    if(NOT result EQUAL 2 OR said STREQUAL "")
        message(FATAL_ERROR "zel ${arguments} answered ${result} and said: ${said}")
    endif()
endforeach()
