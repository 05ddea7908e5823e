tarvel_test(app
  SOURCES start_up_test.cc collection_cycle_test.cc sensor_publication_test.cc
          process_collection_test.cc icon_cache_test.cc helper_maintenance_test.cc
          recorded_machine_test.cc
  USES tarvel_app tarvel_recorded)
