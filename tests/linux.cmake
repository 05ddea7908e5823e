tarvel_test(linux_smc SOURCES linux_smc_test.cc USES tarvel_linux tarvel_sensors)
