// SPDX-License-Identifier: GPL-2.0
// The sensors of a board for a guest that has none: a processor with three temperatures ("coretemp"), a super-I/O chip
// with voltages and fans ("nct6798"), and a package whose energy counter runs as if it took 15 W. Names and values are of
// this test; the hwmon and powercap classes are the kernel's own.
#include <linux/err.h>
#include <linux/hwmon.h>
#include <linux/ktime.h>
#include <linux/math64.h>
#include <linux/module.h>
#include <linux/platform_device.h>
#include <linux/powercap.h>

#define WATTS 15
#define ENERGY_RANGE_UJ 262143328850ULL // where Intel's counters begin anew

static const struct {
	const char *label;
	long value; // millidegrees
} temperatures[] = {
	{ "Package id 0", 52000 },
	{ "Core 0", 47500 },
	{ "Core 1", 51000 },
};

static const long voltages[] = { 1184, 1008, 3376, 3328, 1000, 152, 800, 3360, 3152 }; // millivolts
static const long fans[] = { 1187, 0, 764 }; // revolutions a minute; the second header is empty

static struct platform_device *board;
static struct powercap_control_type *control;
static struct powercap_zone package;

static umode_t everybody_reads(const void *data, enum hwmon_sensor_types type, u32 attribute, int channel)
{
	return 0444;
}

static int read_number(struct device *device, enum hwmon_sensor_types type, u32 attribute, int channel, long *value)
{
	if (type == hwmon_temp)
		*value = temperatures[channel].value;
	else if (type == hwmon_in)
		*value = voltages[channel];
	else if (type == hwmon_fan)
		*value = fans[channel];
	else
		return -EOPNOTSUPP;
	return 0;
}

static int read_label(struct device *device, enum hwmon_sensor_types type, u32 attribute, int channel, const char **text)
{
	*text = temperatures[channel].label;
	return 0;
}

static const struct hwmon_ops chip_ops = {
	.is_visible = everybody_reads,
	.read = read_number,
	.read_string = read_label,
};

#define LABELLED (HWMON_T_INPUT | HWMON_T_LABEL)
static const struct hwmon_channel_info *processor_channels[] = {
	HWMON_CHANNEL_INFO(temp, LABELLED, LABELLED, LABELLED),
	NULL,
};
static const struct hwmon_chip_info processor_chip = { .ops = &chip_ops, .info = processor_channels };

static const struct hwmon_channel_info *io_channels[] = {
	HWMON_CHANNEL_INFO(in, HWMON_I_INPUT, HWMON_I_INPUT, HWMON_I_INPUT, HWMON_I_INPUT, HWMON_I_INPUT,
			   HWMON_I_INPUT, HWMON_I_INPUT, HWMON_I_INPUT, HWMON_I_INPUT),
	HWMON_CHANNEL_INFO(fan, HWMON_F_INPUT, HWMON_F_INPUT, HWMON_F_INPUT),
	NULL,
};
static const struct hwmon_chip_info io_chip = { .ops = &chip_ops, .info = io_channels };

static int energy_range(struct powercap_zone *zone, u64 *microjoules)
{
	*microjoules = ENERGY_RANGE_UJ;
	return 0;
}

static int energy(struct powercap_zone *zone, u64 *microjoules)
{
	u64 total = WATTS * div_u64(ktime_get_ns(), NSEC_PER_USEC);

	*microjoules = total - div64_u64(total, ENERGY_RANGE_UJ) * ENERGY_RANGE_UJ;
	return 0;
}

static int released(struct powercap_zone *zone)
{
	return 0;
}

static const struct powercap_zone_ops zone_ops = {
	.get_max_energy_range_uj = energy_range,
	.get_energy_uj = energy,
	.release = released,
};

// The class takes no zone without a constraint.
static int get_limit(struct powercap_zone *zone, int id, u64 *value)
{
	*value = 0;
	return 0;
}

static int set_limit(struct powercap_zone *zone, int id, u64 value)
{
	return -EACCES;
}

static const struct powercap_zone_constraint_ops constraint_ops = {
	.get_power_limit_uw = get_limit,
	.set_power_limit_uw = set_limit,
	.get_time_window_us = get_limit,
	.set_time_window_us = set_limit,
};

static int __init board_init(void)
{
	struct device *chip;

	board = platform_device_register_simple("tarvel_board", PLATFORM_DEVID_NONE, NULL, 0);
	if (IS_ERR(board))
		return PTR_ERR(board);
	chip = devm_hwmon_device_register_with_info(&board->dev, "coretemp", NULL, &processor_chip, NULL);
	if (!IS_ERR(chip))
		chip = devm_hwmon_device_register_with_info(&board->dev, "nct6798", NULL, &io_chip, NULL);
	if (IS_ERR(chip)) {
		platform_device_unregister(board);
		return PTR_ERR(chip);
	}
	control = powercap_register_control_type(NULL, "intel-rapl", NULL);
	if (!IS_ERR(control))
		powercap_register_zone(&package, control, "package-0", NULL, &zone_ops, 1, &constraint_ops);
	return 0;
}

// Loaded once for the life of the guest: there is no way out.
module_init(board_init);
MODULE_DESCRIPTION("Sensors of a board that is not there");
MODULE_LICENSE("GPL");
