tarvel_test(sensors
  SOURCES random_controller_test.cc sensors_test.cc smc_test.cc
  USES tarvel_sensors)
