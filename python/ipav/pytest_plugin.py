"""A pytest plug-in: each device of a folder is a test.

A folder with candidate.xml or candidate.json is a device, as for `ipav check`,
with a running configuration of its own beside it, if there is one. In folders
above, each other file in XML or JSON is a device. Names that begin with a dot are
skipped. A test has the name of its device, which is its path below the folder.
"""

import os
from collections.abc import Generator, Iterable, Iterator
from pathlib import Path
from typing import Any

import pytest

from . import Error, Report, check

_ENDINGS = (".xml", ".json")
_DEVICES = pytest.StashKey[dict[Path, str]]()


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
    device: Path

    @classmethod
    def of(cls, key: Path, parent: pytest.Collector) -> "DeviceFile":
        # pytest looks for a conftest.py in a folder, but must be able to read it.
        path = key.parent if key.is_dir() else key
        # Else -k would find "candidate" in the name of each file.
        name = _devices(parent.config)[key]
        file: DeviceFile = cls.from_parent(parent, path=path, name=name)
        file.device = _device_of(key)
        return file

    def collect(self) -> Iterator[DeviceItem]:
        item: DeviceItem = DeviceItem.from_parent(self, name=self.name)
        item.device = self.device
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


def _paths(config: pytest.Config) -> list[Path]:
    """The paths that pytest collects, without names of tests."""
    return [Path(os.path.abspath(each.partition("::")[0])) for each in config.args]


def _devices(config: pytest.Config) -> dict[Path, str]:
    """The names of the chosen devices.

    The keys are files; a folder is one that cannot be read, which its test reports.
    """
    none: dict[Path, str] = {}
    return config.stash.setdefault(_DEVICES, none)


def _files(folder: Path, visited: set[Path]) -> Iterator[Path]:
    """The keys of the folder's devices, in their order.

    Not by pytest's own walk, which skips folders such as build.
    """
    if folder.resolve() in visited:  # by a link
        return
    visited.add(folder.resolve())
    try:
        entries = sorted(folder.iterdir())
    except OSError:
        yield folder
        return
    entries = [
        entry
        for entry in entries
        if entry.name[0] != "." and (entry.is_dir() or entry.suffix in _ENDINGS)
    ]
    for entry in reversed(entries):  # if there are two candidates, ipav names them
        if entry.stem == "candidate" and not entry.is_dir():
            yield entry
            return
    for entry in entries:
        if entry.is_dir():
            yield from _files(entry, visited)
        else:
            yield entry


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
    """Makes the folders paths to collect, unless the user names other ones."""
    if not hasattr(config, "args"):  # pytest --help
        return
    folders = _folders(config)
    for folder in folders:
        if not folder.is_dir():
            raise pytest.UsageError(f"--ipav: {folder} is not a folder")
    has_paths = config.args_source is config.ArgsSource.ARGS
    if config.getoption("ipav") and not has_paths:
        config.args = []
    elif has_paths and not config.getoption("ipav"):
        return
    paths = _paths(config)
    for folder in folders:
        if not any(path.is_relative_to(folder) for path in paths):
            config.args.append(str(folder))


def pytest_collection(session: pytest.Session) -> None:
    """Finds the devices at and below the paths."""
    paths = _paths(session.config)
    devices = _devices(session.config)
    for folder in _folders(session.config):
        near = [p for p in paths if p.is_relative_to(folder) or p in folder.parents]
        files = list(_files(folder, set())) if near else []
        if near and not files:
            raise pytest.UsageError(f"--ipav: {folder} has no devices")
        for file in files:
            if any(map(file.is_relative_to, near)):
                devices.setdefault(file, _name_of(_device_of(file), folder))


def pytest_ignore_collect(collection_path: Path, config: pytest.Config) -> bool | None:
    # pytest's walk would end at a folder that cannot be read.
    unreadable = collection_path in _devices(config) and collection_path.is_dir()
    return True if unreadable else None


def pytest_collect_file(
    file_path: Path, parent: pytest.Collector
) -> DeviceFile | None:
    """Collects a device that a path of the command line names."""
    is_named = parent.session.isinitpath(file_path)
    if not is_named or file_path not in _devices(parent.config):
        return None
    return DeviceFile.of(file_path, parent)


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_make_collect_report(
    collector: pytest.Collector,
) -> Generator[None, Any, None]:
    """Collects all other devices."""
    outcome = yield
    if not isinstance(collector, pytest.Session):
        return
    for key in _devices(collector.config):
        if key.is_dir() or not collector.isinitpath(key):
            outcome.get_result().result.append(DeviceFile.of(key, collector))
