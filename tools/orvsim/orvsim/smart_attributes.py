"""The attributes of a disk, and the table that smartctl prints of them."""

from __future__ import annotations

from dataclasses import dataclass

_PRE_FAIL, _OLD_AGE = "Pre-fail", "Old_age"


@dataclass(frozen=True)
class Attribute:
    """A line of the table."""

    number: int
    name: str
    flag: int
    value: int
    worst: int
    threshold: int
    raw: int
    is_updated_always: bool = True

    @property
    def is_failing(self) -> bool:
        """Whether the attribute says that the disk fails."""
        return self.is_early_warning and self.value <= self.threshold

    @property
    def is_early_warning(self) -> bool:
        """Whether the attribute says something about failing, not only about age."""
        return bool(self.flag & 1)


def _fallen(count: int, start: int = 200) -> int:
    """The normalised value of a counter of bad things."""
    return max(1, start - count // 10)


def attributes_of(
    seed: int, hours: int, temperature: int, reallocated: int, pending: int
) -> list[Attribute]:
    """The attributes of a disk with this age and these troubles; the seed varies the others."""
    starts = 12 + seed % 40
    spin_up = 240 + seed % 20
    celsius = max(1, 150 - temperature)
    worn = _fallen(reallocated)
    aged = max(1, 100 - hours // 730)
    return [
        Attribute(1, "Raw_Read_Error_Rate", 0x2F, 200, 200, 51, 0),
        Attribute(3, "Spin_Up_Time", 0x27, spin_up, spin_up - 5, 21, 4000 + seed % 900),
        Attribute(4, "Start_Stop_Count", 0x32, 100, 100, 0, starts),
        Attribute(5, "Reallocated_Sector_Ct", 0x33, worn, worn, 140, reallocated),
        Attribute(7, "Seek_Error_Rate", 0x2E, 200, 200, 0, 0),
        Attribute(9, "Power_On_Hours", 0x32, aged, aged, 0, hours),
        Attribute(10, "Spin_Retry_Count", 0x32, 100, 253, 0, 0),
        Attribute(11, "Calibration_Retry_Count", 0x32, 100, 253, 0, 0),
        Attribute(12, "Power_Cycle_Count", 0x32, 100, 100, 0, starts - 2),
        Attribute(192, "Power-Off_Retract_Count", 0x32, 200, 200, 0, starts - 3),
        Attribute(193, "Load_Cycle_Count", 0x32, 200, 200, 0, starts),
        Attribute(194, "Temperature_Celsius", 0x22, celsius, celsius - 6, 0, temperature),
        Attribute(196, "Reallocated_Event_Count", 0x32, worn, worn, 0, reallocated),
        Attribute(
            197, "Current_Pending_Sector", 0x32, _fallen(pending), _fallen(pending), 0, pending
        ),
        Attribute(198, "Offline_Uncorrectable", 0x30, 100, 253, 0, 0, is_updated_always=False),
        Attribute(199, "UDMA_CRC_Error_Count", 0x32, 200, 200, 0, 0),
        Attribute(200, "Multi_Zone_Error_Rate", 0x8, 200, 200, 0, 0, is_updated_always=False),
    ]


_HEAD = (
    "Vendor Specific SMART Attributes with Thresholds:\n"
    "ID# ATTRIBUTE_NAME          FLAG     VALUE WORST THRESH TYPE      UPDATED  WHEN_FAILED"
    " RAW_VALUE\n"
)


def _row(attribute: Attribute) -> str:
    kind = _PRE_FAIL if attribute.is_early_warning else _OLD_AGE
    updated = "Always" if attribute.is_updated_always else "Offline"
    failed = "FAILING_NOW" if attribute.is_failing else "    -"
    return (
        f"{attribute.number:>3} {attribute.name:<24}0x{attribute.flag:04x}"
        f"   {attribute.value:03}   {attribute.worst:03}   {attribute.threshold:03}    "
        f"{kind:<10}{updated:<9}{failed:<12}{attribute.raw}\n"
    )


def table_text(attributes: list[Attribute]) -> str:
    """The table of these attributes."""
    return _HEAD + "".join(map(_row, attributes))
