// What firmware tells a laptop of its own: a battery that discharges, an adapter that is unplugged, a thermal zone, and a
// meter of the whole machine. Units are those of the ACPI specification: milliwatts and milliwatt-hours (power unit 0) or
// milliamperes and milliampere-hours (1), millivolts, tenths of a kelvin.
DefinitionBlock ("board.aml", "SSDT", 2, "TARVEL", "BOARD", 1)
{
  Scope (\_SB)
  {
    Device (ACAD)
    {
      Name (_HID, "ACPI0003")
      Name (_PCL, Package () { \_SB })
      Method (_PSR) { Return (Zero) }
    }

    Device (BATT)
    {
      Name (_HID, EisaId ("PNP0C0A"))
      Name (_UID, Zero)
      Name (_PCL, Package () { \_SB })
      Method (_STA) { Return (0x1F) }

      // Power unit, design and last full capacity, technology, design voltage, warning, low, two granularities, model,
      // serial number, chemistry, maker.
      Method (_BIF)
      {
        Return (Package () { One, 4400, 4000, One, 11100, 400, 200, 10, 10, "BOARD", "7", "LiOn", "TARVEL" })
      }

      // State (1: discharging), rate, what remains, voltage.
      Method (_BST) { Return (Package () { One, 1350, 2600, 11460 }) }
    }

    Device (METR)
    {
      Name (_HID, "ACPI000D")
      Name (READ, 42500)

      // Measures (1), unit and type of what it measures, accuracy, interval, two limits of it, hysteresis, hardware limit,
      // its bounds, model, serial number, maker.
      Method (_PMC)
      {
        Return (Package () { One, Zero, Zero, 100000, 1000, 250, 4000, Zero, Zero, Zero, Zero, "METER", "7", "TARVEL" })
      }
      Method (_PMM) { Return (READ) }
      Method (_GAI) { Return (1000) }
      Method (_PAI, 1) { Return (Zero) }
      Method (_PMD) { Return (Package () {}) }
    }
  }

  Scope (\_TZ)
  {
    ThermalZone (TZ01)
    {
      Name (_TZP, 300)
      Method (_TMP) { Return (3062) }
      Method (_CRT) { Return (3782) }
    }
  }
}
