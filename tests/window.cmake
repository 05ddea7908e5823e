find_package(Qt6 6.4 QUIET COMPONENTS Test)
if(NOT TARGET tarvel_window OR NOT Qt6_FOUND)
  return()
endif()

tarvel_test(window
  SOURCES
    window_actions_test.cc
    window_drawing_test.cc
    window_model_test.cc
    window_test.cc
  USES tarvel_window tarvel_image Qt6::Test)
target_compile_definitions(window_test PRIVATE
  TARVEL_PROGRAM="$<TARGET_FILE:tarvel>" TARVEL_REPLAY="$<TARGET_FILE:tarvel-replay>"
  TARVEL_WINDOW="$<TARGET_FILE:tarvel-window>")
add_dependencies(window_test tarvel tarvel-replay tarvel-window)
