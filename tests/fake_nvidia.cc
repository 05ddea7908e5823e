// A management library of one card, for the tests: 55 °C, 42 W and a fan of 1,800 revolutions.

extern "C" {
struct FanSpeed {
  unsigned version, fan, speed;
};

int nvmlInit_v2() { return 0; }
int nvmlShutdown() { return 0; }
int nvmlDeviceGetHandleByPciBusId_v2(const char* place, void** device) {
  *device = nullptr;
  return place[6] == '1' ? 0 : 6;  // "0000:01:00.0" alone
}
int nvmlDeviceGetTemperature(void*, unsigned, unsigned* degrees) {
  *degrees = 55;
  return 0;
}
int nvmlDeviceGetPowerUsage(void*, unsigned* milliwatts) {
  *milliwatts = 42000;
  return 0;
}
int nvmlDeviceGetFanSpeedRPM(void*, FanSpeed* fan) {
  fan->speed = 1800;
  return fan->version == 0x100000C ? 0 : 25;
}
}
