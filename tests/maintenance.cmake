tarvel_test(maintenance SOURCES maintenance_test.cc USES tarvel_linux)
