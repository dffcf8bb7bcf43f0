#!/usr/bin/env python3
"""Every source is formatted as .clang-format says."""

import subprocess

import tree

FOLDERS = ("zeb", "libzeb", "workbench", "tests", "tools", "examples", "bench", "fuzz", "packaging")

names = tree.select(FOLDERS, (".h", ".cpp"))
done = subprocess.run(["clang-format-14", "--dry-run", "-Werror", "--ferror-limit=3", *names], cwd=tree.ROOT) if names else None
print(f"{len(names)} files")
tree.report(["format them with: clang-format-14 -i <file>"] if done and done.returncode else [])
