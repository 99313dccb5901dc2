# Installs BUILD into PREFIX and builds the example of SOURCE as a user of the installed package would.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE failed OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "${ARGV}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${PREFIX})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX}/installed)
run(${CMAKE_COMMAND} -S ${SOURCE}/tests/package -B ${PREFIX}/user -G Ninja
    -D CMAKE_PREFIX_PATH=${PREFIX}/installed -D PROGRAMS=${PREFIX}/installed/bin
    -D EXAMPLE=${SOURCE}/examples/decode_capture.cpp
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${PREFIX}/user)
run(${PREFIX}/user/user ${SOURCE}/tests/data/living-room.txt)
run(${PREFIX}/installed/bin/tessline status)
run(${PREFIX}/installed/bin/find_helper)
if(NOT EXISTS "${output}")
  message(FATAL_ERROR "the package does not find its own helper: ${output}")
endif()
