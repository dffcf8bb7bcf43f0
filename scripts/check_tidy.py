#!/usr/bin/env python3
"""clang-tidy's checks for bugs, over the library and the programs. .clang-tidy names them."""

import subprocess

import tree


def check(name):
    done = subprocess.run(["clang-tidy-14", "-p", "build/dev", "--quiet", "--warnings-as-errors=*", name], cwd=tree.ROOT,
                          capture_output=True, text=True)
    return [f"{name}:\n{done.stdout}{done.stderr}"] if done.returncode else []


names = tree.select(("zeb", "libzeb", "tools", "examples"), (".cpp",))
tree.report(tree.Passed("tidy", *tree.FLAGS, tree.text(".clang-tidy")).run(names, check))
