"""A pytest plug-in: each device of a folder is a test.

A folder with candidate.xml or candidate.json is a device, as for `ipav check`,
with a running configuration of its own beside it, if there is one. In folders
above, each other file in XML or JSON is a device. Names that begin with a dot are
skipped. A test has the name of its device, which is its path below the folder.
"""

import os
from collections.abc import Iterable, Iterator
from pathlib import Path

import pytest

from . import Error, Report, check

_ENDINGS = (".xml", ".json")
_EMPTY = pytest.StashKey[set[Path]]()  # folders without a device so far


class Refused(Exception):
    """The report of a device that is not accepted."""


class DeviceItem(pytest.Item):
    device: Path  # a folder or a file

    def runtest(self) -> None:
        running = self.config.getoption("ipav_running")
        device, folder = self.device, Path.cwd()
        if device.is_relative_to(folder):  # for messages
            device = device.relative_to(folder)
        report = check(device, running=running, all=True)
        if not report:
            raise Refused(_without_title(report))

    def repr_failure(  # type: ignore[override]
        self, excinfo: pytest.ExceptionInfo[BaseException]
    ) -> object:
        if isinstance(excinfo.value, (Refused, Error)):
            return str(excinfo.value)
        return super().repr_failure(excinfo)

    def reportinfo(self) -> tuple[Path, None, str]:
        return self.path, None, f"ipav: {self.name}"


class DeviceFile(pytest.File):
    def collect(self) -> Iterator[DeviceItem]:
        item: DeviceItem = DeviceItem.from_parent(self, name=self.name)
        item.device = _device_of(self.path)
        yield item


def _device_of(file: Path) -> Path:
    return file.parent if file.stem == "candidate" else file


def _name_of(device: Path, folder: Path) -> str:
    """The name that `ipav check FOLDER` gives to the device."""
    if device == folder:
        return folder.name
    name = device.relative_to(folder)
    return str(name if device.is_dir() else name.with_suffix(""))


def _without_title(report: Report) -> str:
    return str(report).partition("\n")[2]


def _folders(config: pytest.Config) -> list[Path]:
    """The folders of devices, of the command line or else of the settings."""
    chosen: Iterable[Path] = map(Path, config.getoption("ipav") or ())
    settings = config.inipath.parent if config.inipath else config.rootpath
    configured = (settings / name for name in config.getini("ipav"))
    # Without "..", as pytest names the files that it finds.
    return [Path(os.path.abspath(each)) for each in list(chosen) or configured]


def _is_candidate(folder: Path) -> bool:
    return any((folder / f"candidate{ending}").is_file() for ending in _ENDINGS)


def _is_device(file: Path, folder: Path) -> bool:
    """Whether the file in or below the folder stands for a device."""
    if any(part.startswith(".") for part in file.relative_to(folder).parts):
        return False
    if file.stem == "candidate":
        # If there are two candidates, ipav names them.
        return file.suffix == ".xml" or not file.with_suffix(".xml").is_file()
    inside = [file.parent, *file.parent.parents]
    inside = inside[: inside.index(folder) + 1]
    return not any(map(_is_candidate, inside))


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("ipav", "verdicts on IP configurations")
    group.addoption(
        "--ipav",
        action="append",
        metavar="FOLDER",
        help="a folder of devices, each of which is a test; may be repeated",
    )
    group.addoption(
        "--ipav-running",
        metavar="FILE",
        help="running configuration of devices that have none of their own",
    )
    parser.addini("ipav", "folders of devices", type="linelist", default=[])


def pytest_configure(config: pytest.Config) -> None:
    folders = _folders(config)
    for folder in folders:
        if not folder.is_dir():
            raise pytest.UsageError(f"--ipav: {folder} is not a folder")
    config.args.extend(map(str, folders))
    config.stash[_EMPTY] = set(folders)


def pytest_collect_file(
    file_path: Path, parent: pytest.Collector
) -> DeviceFile | None:
    if file_path.suffix not in _ENDINGS:
        return None
    folders = [
        folder
        for folder in _folders(parent.config)
        if folder in file_path.parents and _is_device(file_path, folder)
    ]
    if not folders:
        return None
    parent.config.stash[_EMPTY].difference_update(folders)
    # Else -k would find "candidate" in the name of each file.
    name = _name_of(_device_of(file_path), folders[0])
    file: DeviceFile = DeviceFile.from_parent(parent, path=file_path, name=name)
    return file


def pytest_collection_modifyitems(config: pytest.Config) -> None:
    empty = config.stash[_EMPTY]
    if empty:
        raise pytest.UsageError(f"--ipav: {min(empty)} has no devices")
