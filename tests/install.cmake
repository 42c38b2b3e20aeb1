# The installed package must stay usable: install, build a client with find_package(plot2d), run it.
add_test(NAME install_client
  COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${CMAKE_BINARY_DIR} -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
          -DWORK_DIR=${CMAKE_BINARY_DIR}/install-check -P ${CMAKE_CURRENT_SOURCE_DIR}/install/run.cmake)
set_tests_properties(install_client PROPERTIES TIMEOUT 600 RUN_SERIAL TRUE)
