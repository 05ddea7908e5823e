tarvel_test(smart SOURCES smart_test.cc USES tarvel_smart)
