#!/usr/bin/env python3
"""Every source of the tree is compiled by the build, so that no test is left out unnoticed."""

import json

import tree

commands = json.loads((tree.ROOT / "build/dev/compile_commands.json").read_text())
compiled = {entry["file"] for entry in commands}
names = tree.select(("zeb", "libzeb", "workbench", "tests", "tools", "examples", "bench", "fuzz"), (".cpp",))
print(f"{len(names)} sources, {sum(name.endswith('Test.cpp') for name in names)} of them tests")
tree.report([f"{name}: is not in the build" for name in names if str(tree.ROOT / name) not in compiled])
