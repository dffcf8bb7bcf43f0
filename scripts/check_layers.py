#!/usr/bin/env python3
"""Includes of the library form no loop, go to the same layer or a lower one, and use little of the standard library."""

import fnmatch

import tree

# From low to high. Of all patterns that match a file the longest decides. Within a layer includes are free.
LAYERS = (
    ("core", ("zeb/core/*", "libzeb/*")),
    ("stream core", tuple(f"zeb/io/{name}.*" for name in (
        "Base", "Base64Stream", "BrokenStream", "Buffer", "IStream", "IStreamBuffer", "Memory", "Mode", "OStream",
        "OStreamBuffer", "SeekableStream", "Stateful", "Stream", "StringStream", "TextScan"))),
    ("documents", ("zeb/doc/*",)),
    ("locks, threads, frame", ("zeb/runtime/*",)),
    ("events, addresses", ("zeb/event/*", "zeb/network/*", "zeb/util/Matcher.*", "zeb/util/Regex.*", "zeb/util/U[Rr][Ii]*")),
    ("timers, tasks, statistics", ("zeb/runtime/Timer*", "zeb/runtime/Task*", "zeb/stats/*")),
    ("files, polling, utilities", ("zeb/io/*", "zeb/io/SocketBase.*", "zeb/io/SocketError.*", "zeb/util/*")),
    ("processes, firmware, TLS", ("zeb/process/*", "zeb/firmware/*", "zeb/ssl/*")),
    ("sockets, HTTP, netlink, resolver", ("zeb/io/*Socket*", "zeb/io/http/*", "zeb/io/nla/*", "zeb/network/dns/*")),
)

# The one place where a folder looks upward: a thread's status report stands on its lock.
UPWARD = (("zeb/core/Status*", "zeb/runtime/*"),)

# All of the standard library that the library may use, besides C headers and those of other libraries.
STANDARD = set("type_traits utility atomic new limits bit charconv concepts compare initializer_list typeinfo cstddef cstdint "
               "cerrno climits cctype cfloat cinttypes cmath cstdarg cstdio cstdlib cstring ctime cwchar csignal".split())


def rank(name):
    matches = [(len(pattern), number) for number, (_, patterns) in enumerate(LAYERS)
               for pattern in patterns if fnmatch.fnmatchcase(name, pattern)]
    return max(matches)[1] if matches else None


def may_look_upward(name, target):
    return any(fnmatch.fnmatchcase(name, low) and fnmatch.fnmatchcase(target, high) for low, high in UPWARD)


def layer_complaints(name):
    own = rank(name)
    if own is None:
        yield f"{name}: belongs to no layer; add its folder to LAYERS in scripts/check_layers.py"
        return
    quoted, system = tree.includes(name)
    for target in quoted:
        where = f"{name}:{tree.line_of(name, target)}"
        if not (tree.ROOT / target).is_file():
            yield f"{where}: '{target}' is no file, seen from the root of the tree"
            continue
        other = rank(target)
        if other is None:
            yield f"{where}: '{target}' does not belong to the library"
        elif other > own and not may_look_upward(name, target):
            yield (f"{where}: layer '{LAYERS[own][0]}' includes '{target}' of the higher layer '{LAYERS[other][0]}'; "
                   "declare the member here and define it in a source of the higher layer")
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
    everything = tree.select(("zeb", "libzeb", "tests", "tools", "examples", "bench", "fuzz"), (".h", ".cpp"))
    complaints = [line for name in library for line in layer_complaints(name)]
    tree.report(complaints + list(loops(everything)))
