tarvel_test(maintenance SOURCES maintenance_test.cc process_rights_test.cc USES tarvel_linux)
