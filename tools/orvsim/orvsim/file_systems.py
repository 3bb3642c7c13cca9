"""File systems, for now without any."""
from orvsim.appliance import Appliance


def statfs(appliance: Appliance, path: str) -> list[str]:
    return ["none", ""]
