tarvel_test(linux_smc
  SOURCES
    linux_smc_test.cc
    raw_controller_test.cc
    sensor_device_test.cc
    sensor_mapping_test.cc
  USES tarvel_linux tarvel_sensors)
add_library(fake_nvidia MODULE fake_nvidia.cc)
target_compile_definitions(linux_smc_test PRIVATE
  TARVEL_FAKE_NVIDIA="$<TARGET_FILE:fake_nvidia>")
add_dependencies(linux_smc_test fake_nvidia)
tarvel_test(run_loop SOURCES run_loop_test.cc USES tarvel_app tarvel_linux tarvel_recorded)
tarvel_test(linux_ata SOURCES linux_ata_test.cc USES tarvel_linux tarvel_smart)

# The program around the disk reader that scripts/ata-guest runs in a guest.
add_executable(disk_rows ${PROJECT_SOURCE_DIR}/scripts/ata-guest/disk_rows.cc)
target_link_libraries(disk_rows PRIVATE tarvel_options tarvel_linux tarvel_smart)

tarvel_test(process_table SOURCES process_table_test.cc USES tarvel_linux)
target_compile_definitions(process_table_test PRIVATE
  TARVEL_HOST_WORKER="$<TARGET_FILE:host_worker>")
add_dependencies(process_table_test host_worker)
tarvel_test(control_groups SOURCES control_groups_test.cc USES tarvel_linux)
