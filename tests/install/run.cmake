# Installs the build tree into a scratch prefix, builds the client against it and runs it.
# Variables: BUILD_DIR, SOURCE_DIR, WORK_DIR.
file(REMOVE_RECURSE ${WORK_DIR})

function(run_step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  message(STATUS "${what}: ok")
endfunction()

run_step("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
run_step("configure client" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/client -B ${WORK_DIR}/build
  -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_BUILD_TYPE=Release)
run_step("build client" ${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run_step("run client" ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
  ${WORK_DIR}/build/plot2d_client ${SOURCE_DIR}/examples/data)
