tarvel_test(update SOURCES update_test.cc USES tarvel_update)
target_compile_definitions(update_test PRIVATE
  TARVEL_UPDATE_PROGRAM="$<TARGET_FILE:tarvel-update>")
add_dependencies(update_test tarvel-update)
