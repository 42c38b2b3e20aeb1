# The demo's checks drive the real executable; the pricing suite compiles the demo's model.
target_sources(tst_black76 PRIVATE ${PROJECT_SOURCE_DIR}/examples/demo/black76.cpp)
target_include_directories(tst_black76 PRIVATE ${PROJECT_SOURCE_DIR}/examples/demo)
if(TARGET plot2d-demo)
  target_compile_definitions(tst_demo PRIVATE PLOT2D_DEMO_EXECUTABLE="$<TARGET_FILE:plot2d-demo>")
  add_dependencies(tst_demo plot2d-demo)
endif()
