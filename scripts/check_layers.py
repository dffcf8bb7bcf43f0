#!/usr/bin/env python3
"""Includes of the library form no loop, go to the same folder or a lower one, and use little of the standard library."""

import tree

# From low to high: a file includes its own folder and folders above it in this list, nothing else.
FLOORS = ("libzeb", "zeb/core", "zeb/runtime", "zeb/stream", "zeb/doc/xml", "zeb/doc/json", "zeb/doc", "zeb/network", "zeb/text",
          "zeb/event", "zeb/timer", "zeb/task", "zeb/stats", "zeb/io", "zeb/filesystem", "zeb/interface", "zeb/util",
          "zeb/firmware", "zeb/ssl", "zeb/socket", "zeb/dns", "zeb/http", "zeb/netlink", "zeb/process", "zeb/module")

# All of the standard library that the library may use, besides C headers and those of other libraries.
STANDARD = set("type_traits utility atomic new limits bit charconv concepts compare initializer_list typeinfo cstddef cstdint "
               "cerrno climits cctype cfloat cinttypes cmath cstdarg cstdio cstdlib cstring ctime cwchar csignal".split())


def floor(name):
    folder = name.rpartition("/")[0]
    return FLOORS.index(folder) if folder in FLOORS else None


def layer_complaints(name):
    own = floor(name)
    if own is None:
        yield f"{name}: its folder stands on no floor; add it to FLOORS in scripts/check_layers.py"
        return
    quoted, system = tree.includes(name)
    for target in quoted:
        where = f"{name}:{tree.line_of(name, target)}"
        if not (tree.ROOT / target).is_file():
            yield f"{where}: '{target}' is no file, seen from the root of the tree"
            continue
        other = floor(target)
        if other is None:
            yield f"{where}: '{target}' does not belong to the library"
        elif other > own:
            yield (f"{where}: '{FLOORS[own]}' includes '{target}' of a higher floor; "
                   "declare the member here and define it in a source of that folder")
    for target in system:
        if "." not in target and "/" not in target and target not in STANDARD:
            yield f"{name}:{tree.line_of(name, '<' + target)}: <{target}> is not used in the library"


def loops(names):
    """Each loop once, as the chain of files that form it."""
    done, chain = set(), []

    def visit(name):
        if name in chain:
            yield "loop of includes: " + " -> ".join(chain[chain.index(name):] + [name])
            return
        if name in done or not (tree.ROOT / name).is_file():
            return
        chain.append(name)
        for target in tree.includes(name)[0]:
            yield from visit(target)
        chain.pop()
        done.add(name)

    for name in names:
        yield from visit(name)


if __name__ == "__main__":
    library = tree.select(("zeb", "libzeb"), (".h", ".cpp", ".inc"))
    everything = tree.select(("zeb", "libzeb", "workbench", "tests", "tools", "examples", "bench", "fuzz"), (".h", ".cpp"))
    complaints = [line for name in library for line in layer_complaints(name)]
    tree.report(complaints + list(loops(everything)))
