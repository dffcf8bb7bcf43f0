#!/usr/bin/env python3
"""Words that stand nowhere in the tree or its history, and words that stand in no source."""

import re
import subprocess

import tree

SOURCES = (".h", ".cpp", ".inc")

# (pattern, what is wrong). Written in pieces where the words would else stand here.
EVERYWHERE = (
    (r"(?i)\bspecif" r"ications?\b|\bthe sp" r"ecs?\b|\bsp" r"ec\.md\b", "the text stands for itself: no reference to another document"),
    (r"\bParts? \d+(\.\d+)?\b", "the text stands for itself: no reference to a section of another document"),
)
IN_SOURCES = (
    (r"\b(TODO|FIXME|XXX|HACK)\b", "nothing is left for later"),
    (r"\bDISABLED_", "no test is switched off"),
)
IN_LIBRARY = (
    (r"^[^/\"]*\b(throw|try|catch)\b(?!\w)[^/\"]*[;{(]", "nothing throws"),
)


def find(label, content, rules):
    for pattern, reason in rules:
        for match in re.finditer(pattern, content, re.M):
            line = content[:match.start()].count("\n") + 1
            yield f"{label}:{line}: '{match.group(0).strip()}': {reason}"


complaints = []
for name in tree.files():
    if b"\0" in (tree.ROOT / name).read_bytes()[:4096]:
        continue
    if name.startswith("fuzz/corpus/"):
        continue
    complaints += find("name of file", name, EVERYWHERE)
    complaints += find(name, tree.text(name), EVERYWHERE)
    if name.endswith(SOURCES):
        complaints += find(name, tree.text(name), IN_SOURCES)
        if name.startswith(("zeb/", "libzeb/")):
            complaints += find(name, tree.text(name), IN_LIBRARY)

log = subprocess.run(["git", "-C", tree.ROOT, "log", "--format=%h%x00%B%x01"], capture_output=True, text=True).stdout
for entry in log.split("\x01"):
    commit, _, message = entry.strip().partition("\0")
    complaints += find(f"commit {commit}", message, EVERYWHERE)

tree.report(complaints)
