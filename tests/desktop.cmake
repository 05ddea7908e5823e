tarvel_test(desktop SOURCES desktop_test.cc USES tarvel_linux)
target_compile_definitions(desktop_test PRIVATE TARVEL_ICON_PROGRAM="$<TARGET_FILE:tarvel-icon>")
add_dependencies(desktop_test tarvel-icon)
