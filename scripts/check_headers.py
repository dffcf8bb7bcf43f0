#!/usr/bin/env python3
"""Every header of the library compiles alone, and twice in a row."""

import subprocess

import tree


def check(name):
    done = subprocess.run(["g++", *tree.FLAGS, "-Werror", "-fsyntax-only", "-x", "c++", "-"], cwd=tree.ROOT, text=True,
                          input=f'#include "{name}"\n#include "{name}"\n', capture_output=True)
    return [f"{name} does not compile alone and twice:\n{done.stderr}"] if done.returncode else []


names = tree.select(("zeb", "libzeb"), (".h",))
tree.report(tree.Passed("headers", *tree.FLAGS).run(names, check))
