#!/usr/bin/env python3
"""A shared library exports only what the headers mark ZEB_PUBLIC. usage: check_exports.py <library>"""

import re
import subprocess
import sys

import tree

_CLASS = re.compile(r"\b(?:class|struct|union)\s+ZEB_PUBLIC\s+([\w:]+)")
_OTHER = re.compile(r"\bZEB_PUBLIC\b(?!\s*__attribute__)[^;{}]*?(\w+|operator[^\s(]+)\s*(?:\(|=|;|\{|\[)")
_SPECIAL = re.compile(r"^(?:vtable for|VTT for|typeinfo for|typeinfo name for|guard variable for|construction vtable for"
                      r"|non-virtual thunk to|virtual thunk to|covariant return thunk to) ")


def marked():
    names = set()
    for name in tree.select(("zeb", "libzeb"), (".h", ".cpp")):
        names |= {found.split("::")[-1] for found in _CLASS.findall(tree.text(name))}
        names |= set(_OTHER.findall(tree.text(name)))
    return names


def parts(symbol):
    """The names that lead to a symbol: "void A::B<int>::f(C)" -> A, B, f."""
    symbol = _SPECIAL.sub("", symbol)
    while re.search(r"<[^<>]*>", re.sub(r"operator\s*<=?>?<?=?", "", symbol)):
        cut = re.sub(r"(?<!operator)(?<!operator<)<[^<>]*>", "", symbol)
        if cut == symbol:
            break
        symbol = cut
    head = re.split(r"\((?!anonymous namespace)", symbol, 1)[0].split(" ")[-1] if "operator" not in symbol else symbol
    return re.findall(r"operator[^\s(\w]+|\w+", head)


def main(library):
    listing = subprocess.run(["nm", "-D", "--defined-only", "--demangle", library], check=True, capture_output=True,
                             text=True).stdout
    symbols = [line.split(" ", 2) for line in listing.splitlines()]
    public = marked()
    # The standard library's templates come with visibility of their own.
    ours = [symbol for _, kind, symbol in symbols if kind != "A" and parts(symbol)[0] != "std"]
    leaks = [symbol for symbol in ours if not public.intersection(parts(symbol))]
    print(f"{len(symbols)} symbols exported, {len(public)} names marked")
    tree.report([f"{library} exports '{symbol}', which no header marks ZEB_PUBLIC" for symbol in leaks])


main(sys.argv[1])
