# The demo's checks drive the real executable; the pricing suite compiles the demo's model.
target_sources(tst_black76 PRIVATE ${PROJECT_SOURCE_DIR}/examples/demo/black76.cpp)
target_include_directories(tst_black76 PRIVATE ${PROJECT_SOURCE_DIR}/examples/demo)

# The window drive under Xvfb grabs the real screen with this helper.
add_executable(plot2d_screengrab ${CMAKE_CURRENT_SOURCE_DIR}/screengrab.cpp)
target_link_libraries(plot2d_screengrab PRIVATE Qt5::Gui)
target_compile_definitions(tst_demo_xvfb PRIVATE PLOT2D_SCREENGRAB="$<TARGET_FILE:plot2d_screengrab>")
add_dependencies(tst_demo_xvfb plot2d_screengrab)

foreach(suite tst_demo tst_demo_xvfb)
  if(TARGET plot2d-demo)
    target_compile_definitions(${suite} PRIVATE PLOT2D_DEMO_EXECUTABLE="$<TARGET_FILE:plot2d-demo>")
    add_dependencies(${suite} plot2d-demo)
  else()
    # Without the demo (PLOT2D_BUILD_EXAMPLES=OFF) there is nothing to drive.
    target_compile_definitions(${suite} PRIVATE PLOT2D_DEMO_EXECUTABLE="")
    set_tests_properties(${suite} PROPERTIES DISABLED TRUE)
  endif()
endforeach()
