tarvel_test(machine SOURCES machine_test.cc USES tarvel_machine)

tarvel_test(energy SOURCES energy_test.cc USES tarvel_machine)

tarvel_test(export SOURCES export_test.cc USES tarvel_export)
target_compile_definitions(export_test PRIVATE
  TARVEL_PROGRAM="$<TARGET_FILE:tarvel>" TARVEL_REPLAY="$<TARGET_FILE:tarvel-replay>"
  TARVEL_EXPORT="$<TARGET_FILE:tarvel-export>")
add_dependencies(export_test tarvel tarvel-replay tarvel-export tarvel-tools TarvelHelper)

tarvel_test(viewer SOURCES viewer_test.cc USES tarvel_commands)
target_compile_definitions(viewer_test PRIVATE
  TARVEL_PROGRAM="$<TARGET_FILE:tarvel>" TARVEL_REPLAY="$<TARGET_FILE:tarvel-replay>"
  TARVEL_BUNDLE="$<TARGET_FILE_DIR:TarvelHelper>"
  TARVEL_CHANGELOG="${PROJECT_SOURCE_DIR}/debian/changelog")
add_dependencies(viewer_test tarvel tarvel-replay tarvel-tools TarvelHelper)

tarvel_test(terminal SOURCES terminal_test.cc USES tarvel_terminal)
tarvel_test(dashboard SOURCES dashboard_test.cc USES tarvel_dashboard)

tarvel_test(recording SOURCES recording_test.cc
  USES tarvel_app tarvel_recorded tarvel_tools tarvel_viewer)
target_compile_definitions(recording_test PRIVATE
  TARVEL_PROGRAM="$<TARGET_FILE:tarvel>" TARVEL_REPLAY="$<TARGET_FILE:tarvel-replay>")
add_dependencies(recording_test tarvel tarvel-replay tarvel-tools)

tarvel_test(tools SOURCES tools_test.cc USES tarvel_tools tarvel_recorded)

# The viewers in a real terminal: as they are shipped, since it waits for what people would see.
find_program(TMUX tmux)
if(TMUX AND Python3_FOUND AND CMAKE_BUILD_TYPE STREQUAL "Release")
  add_test(NAME terminal COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-terminal ${PROJECT_BINARY_DIR}/bin)
  set_tests_properties(terminal PROPERTIES TIMEOUT 300)
endif()
