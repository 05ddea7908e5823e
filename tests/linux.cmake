tarvel_test(linux_smc SOURCES linux_smc_test.cc USES tarvel_linux tarvel_sensors)
tarvel_test(linux_ata SOURCES linux_ata_test.cc USES tarvel_linux tarvel_smart)
