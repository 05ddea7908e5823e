# Processes of their own that share a store or a registry with the tests.
add_executable(host_worker host_worker.cc)
target_link_libraries(host_worker PRIVATE tarvel_host)

tarvel_test(host
  SOURCES archive_test.cc files_test.cc property_list_test.cc registry_test.cc store_test.cc
  USES tarvel_host)
target_compile_definitions(host_test PRIVATE TARVEL_HOST_WORKER="$<TARGET_FILE:host_worker>")
add_dependencies(host_test host_worker)

find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
  add_test(NAME foreign_readers
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-foreign-readers --plistlib
            $<TARGET_FILE:host_worker>)
endif()
