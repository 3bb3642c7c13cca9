"""Prints the coverage of the files that have a mark, and ends with 1 when one of them is below it.

coverage_table.py EXPORT-OF-LLVM-COV [--table]
"""

import json
import sys
from dataclasses import dataclass, field
from pathlib import Path

# Each group: its name, what per cent of the branches of every file of it is to be taken, its files.
GROUPS = [
    ("command formatter", 100, "common/command.cc common/command.h"),
    (
        "file rewriting",
        100,
        """
        common/companion.cc common/in_place_rewrite.cc common/replacement_file.cc
        common/replacement_file.h common/whole_file.cc fs/mdfstab_change.cc share/rewrite.cc
        service/ftp_limits.cc support/companion_path.h support/conf_save.cc system/hostname_set.cc
        user/private_file.cc user/shadow_backup.cc user/shadow_file.cc user/user_file.cc
        """,
    ),
    ("locks", 100, "common/own_lock.cc common/own_lock.h share/file_lock.cc"),
    (
        "alarm framing",
        100,
        """
        common/deadline.h system/alarm_exchange.cc system/alarm_get.cc system/alarm_socket.cc
        system/alarm_unit.h
        """,
    ),
    (
        "parsers",
        90,
        """
        common/control_characters.h common/file_lines.cc common/file_lines.h
        common/line_reader.cc common/mount_table.cc common/mounted_below.cc common/octal_code.cc
        common/partitions.cc common/text.cc common/text.h
        disk/arcadm_scan.cc disk/channels.cc disk/diskinfo_file.cc disk/hotspare_list.cc
        disk/mvsata.cc disk/partitions.cc disk/smart_arcadm.cc disk/smart_attributes.cc
        disk/smart_detail.cc disk/smart_summary.cc disk/sysfs_disk.cc disk/value_from_file.cc
        fs/mdfstab_line.cc fs/mdfstab_read.cc fs/mount_state.cc fs/usage.cc
        lvm/display.cc lvm/lvdisplay.cc lvm/pvdisplay.cc lvm/vg_backup.cc lvm/vgdisplay.cc
        raid/arcadm_display.cc raid/md_partitions.cc raid/md_sysfs.cc raid/mdadm_detail.cc
        raid/mdstat.cc raid/member_list.cc
        service/check_ip.cc service/iscsi_session.cc service/line_parts.h service/netstat.cc
        service/service_status.cc service/smbstatus.cc
        share/df_info.cc share/exports_discovery.cc share/exports_file.cc share/ftp_discovery.cc
        share/ftp_users.cc share/getline.cc share/ietd_file.cc share/ini_line.h share/ini_lines.cc
        share/iscsi_users.cc share/iscsi_volumes.cc share/mount_discovery.cc share/share_lines.cc
        share/share_space.cc share/share_text.cc share/shareconf_discovery.cc
        share/sharefolder_file.cc share/smb_discovery.cc share/smb_file.cc share/user_passwords.cc
        support/characters.h support/fields.cc support/ini_file.cc support/kernel_version.cc
        support/line_scanner.h support/lines.cc support/plain_command.cc
        support/process_group.cc support/strings.cc support/tool_environment.cc
        system/clock_set.cc system/fans.cc system/gateway.cc system/host.cc system/netcard_get.cc
        system/power.cc system/state_file.cc system/temperature.cc system/versions.cc
        user/account_check.cc user/password_check.cc
        """,
    ),
]


@dataclass
class Count:
    """How many there are of something, and how many of them were seen."""

    covered: int = 0
    count: int = 0

    def add(self, summary: dict) -> None:
        self.covered += summary["covered"]
        self.count += summary["count"]

    def percent(self) -> float:
        return 100.0 if self.count == 0 else int(1000 * self.covered / self.count) / 10

    def __str__(self) -> str:
        return f"{self.percent():5.1f} % of {self.count:<5}"


@dataclass
class Measured:
    """A file, or many."""

    lines: Count = field(default_factory=Count)
    branches: Count = field(default_factory=Count)
    missed: list[str] = field(default_factory=list)

    def add(self, entry: dict) -> None:
        self.lines.add(entry["summary"]["lines"])
        self.branches.add(entry["summary"]["branches"])
        for line, column, _, _, true, false, *_ in entry["branches"]:
            never = [name for name, times in (("true", true), ("false", false)) if times == 0]
            self.missed += [f"{line}:{column} never {name}" for name in never]

    def reaches(self, mark: int) -> bool:
        return self.branches.percent() >= mark


def row(name: str, measured: Measured) -> str:
    return f"{name:<32} lines {measured.lines}  branches {measured.branches}"


def print_group(
    name: str, mark: int, names: list[str], entries: dict[str, dict], all_: bool
) -> bool:
    total, below, parts = Measured(), [], {}
    for file in names:
        parts[file] = Measured()
        parts[file].add(entries[file])
        total.add(entries[file])
        below += [] if parts[file].reaches(mark) else [file]
    print(row(name, total) + f"  each of {len(names)} files at least {mark} %")
    for file in names if all_ else below:
        print(row("  " + file, parts[file]) + ("  BELOW" if file in below else ""))
        for missed in sorted(set(parts[file].missed), key=lambda text: int(text.split(":")[0])):
            print(f"      {file}:{missed}")
    return not below


def main() -> int:
    root = Path.cwd()
    entries = {}
    for entry in json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))["data"][0]["files"]:
        entries[str((root / entry["filename"]).relative_to(root))] = entry
    good = True
    for name, mark, files in GROUPS:
        good &= print_group(name, mark, files.split(), entries, "--table" in sys.argv)
    whole = Measured()
    for entry in entries.values():
        whole.add(entry)
    print(row("both libraries", whole))
    return 0 if good else 1


sys.exit(main())
