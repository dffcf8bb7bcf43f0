"""The source tree as the checks see it: its files, who includes whom, and what was found in order before."""

import functools
import hashlib
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FLAGS = ["-std=c++20", "-D_GNU_SOURCE", "-fno-exceptions", "-fsigned-char", "-Wall", "-Wextra", f"-I{ROOT}"]

_INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.M)


@functools.lru_cache(maxsize=None)
def files():
    """All files under version control or about to be, as paths from the root."""
    listed = subprocess.run(["git", "-C", ROOT, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            check=True, capture_output=True, text=True).stdout
    return sorted(name for name in set(listed.split("\0")) if name and (ROOT / name).is_file())


def select(folders, endings):
    return [name for name in files() if name.split("/")[0] in folders and name.endswith(endings)]


@functools.lru_cache(maxsize=None)
def text(name):
    return (ROOT / name).read_text(encoding="utf-8", errors="replace")


@functools.lru_cache(maxsize=None)
def includes(name):
    """(quoted includes, system includes) of a file, in order."""
    found = _INCLUDE.findall(text(name))
    return [path for mark, path in found if mark == '"'], [path for mark, path in found if mark == "<"]


def closure(name):
    """The file and all files of this tree that it reads."""
    seen, open_ = set(), [name]
    while open_:
        at = open_.pop()
        if at in seen or not (ROOT / at).is_file():
            continue
        seen.add(at)
        open_ += includes(at)[0]
    return seen


def line_of(name, needle):
    return text(name)[:text(name).find(needle)].count("\n") + 1


class Passed:
    """Remembers under build/ which inputs a check has passed, by content, so that a second run is fast."""

    def __init__(self, check, *settings):
        self.folder = ROOT / "build" / "passed" / check
        self.folder.mkdir(parents=True, exist_ok=True)
        self.base = "\0".join(settings)

    def mark(self, name):
        digest = hashlib.sha256(self.base.encode())
        for part in sorted(closure(name)):
            digest.update(f"\0{part}\0{text(part)}".encode())
        return self.folder / digest.hexdigest()

    def run(self, names, check):
        """check(name) -> list of complaints; two at a time, those that passed before are left out."""
        todo = [(name, self.mark(name)) for name in names]
        todo = [(name, mark) for name, mark in todo if not mark.exists()]
        jobs = int(os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", os.cpu_count() or 2))
        complaints = []

        def one(item):
            name, mark = item
            found = check(name)
            if not found:
                mark.touch()
            return found

        with ThreadPoolExecutor(jobs) as pool:
            for found in pool.map(one, todo):
                complaints += found
        print(f"{len(names)} files, {len(names) - len(todo)} of them unchanged since they passed")
        return complaints


def report(complaints):
    for complaint in complaints:
        print(complaint)
    sys.exit(1 if complaints else 0)
