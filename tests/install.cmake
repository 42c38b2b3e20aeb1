# The installed package must stay usable: install, build a client against it, run it. The CMake
# client uses find_package(plot2d); the qmake one uses pkg-config (PKGCONFIG += plot2d).
foreach(client cmake qmake)
  set(name install_client)
  if(NOT client STREQUAL "cmake")
    set(name install_client_${client})
  endif()
  add_test(NAME ${name}
    COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${CMAKE_BINARY_DIR} -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
            -DWORK_DIR=${CMAKE_BINARY_DIR}/${name}-check -DCLIENT=${client}
            -DQMAKE=$<TARGET_FILE:Qt5::qmake> -P ${CMAKE_CURRENT_SOURCE_DIR}/install/run.cmake)
  set_tests_properties(${name} PROPERTIES TIMEOUT 600 RUN_SERIAL TRUE)
endforeach()
