# Installs the build tree into a scratch prefix, builds the client against it and runs it.
# Variables: BUILD_DIR, SOURCE_DIR, WORK_DIR; CLIENT is "cmake" (find_package) or "qmake"
# (pkg-config, needs QMAKE).
file(REMOVE_RECURSE ${WORK_DIR})

function(run_step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  message(STATUS "${what}: ok")
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(client_build ${WORK_DIR}/build)
set(run_env QT_QPA_PLATFORM=offscreen)
run_step("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
if(CLIENT STREQUAL "qmake")
  # Only the installed package may be found: no system or build-tree plot2d.pc.
  file(GLOB_RECURSE pc_file ${prefix}/plot2d.pc)
  get_filename_component(pc_dir "${pc_file}" DIRECTORY)
  file(MAKE_DIRECTORY ${client_build})
  run_step("configure client" ${CMAKE_COMMAND} -E chdir ${client_build}
    ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir} ${QMAKE} ${SOURCE_DIR}/tests/install/qmake_client)
  run_step("build client" ${CMAKE_COMMAND} -E chdir ${client_build} make)
  # qmake sets no run path for pkg-config libraries.
  get_filename_component(lib_dir ${pc_dir} DIRECTORY)
  list(APPEND run_env LD_LIBRARY_PATH=${lib_dir})
else()
  run_step("configure client" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/client -B ${client_build}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release)
  run_step("build client" ${CMAKE_COMMAND} --build ${client_build})
endif()
run_step("run client" ${CMAKE_COMMAND} -E env ${run_env} ${client_build}/plot2d_client ${SOURCE_DIR}/examples/data)
