#!/usr/bin/env python3
"""Tests are at most a third of the code, by lines that are neither blank nor comment alone."""

import re

import tree

CODE = ("zeb", "libzeb", "tools", "workbench")
_COMMENT = re.compile(r"/\*.*?\*/|^\s*//.*?$", re.S | re.M)


def lines(names):
    return sum(bool(line.strip()) for name in names for line in _COMMENT.sub("", tree.text(name)).split("\n"))


def count(*folders):
    return lines(tree.select(folders, (".h", ".cpp", ".inc")))


code, tests = count(*CODE), count("tests")
print(f"{code} lines of code, {tests} of tests: {100 * tests / max(code, 1):.1f} %")
for folder in sorted({name.rpartition("/")[0] for name in tree.select(("tests",), (".cpp",))}):
    own = [name for name in tree.select(("tests",), (".h", ".cpp", ".inc")) if name.rpartition("/")[0] == folder]
    print(f"  {folder}: {lines(own)}")
tree.report(["tests are more than a third of the code"] if 3 * tests > code else [])
