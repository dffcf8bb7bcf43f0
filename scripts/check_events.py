#!/usr/bin/env python3
"""docs/event-index.md says what the headers of the catalogue say; with --write it is made anew from them."""

import re
import sys

import tree

INDEX = "docs/event-index.md"
HEAD = """# All events

Made by `scripts/check_events.py --write` from the headers of the catalogue, and checked by `./dev check events`. A field is read by the
operation of its name; in brackets are its type, or the values of an enumeration of the class, counted from 0. Types of addresses
are those of `Network`. A **public** event can be printed as XML. How to raise and to receive them: [events.md](events.md).
"""
CLASS = re.compile(r"((?:^//[^\n]*\n)*)^class ZEB_PUBLIC (\w+) : public Base \{\n(.*?)^\};", re.M | re.S)
ENUM = re.compile(r"enum (\w+) : \w+ \{(.*?)\};", re.S)
FIELD = re.compile(r"^    ((?:enum )?[\w:<>]+(?: \w+)*?)(?: const&)? (\w+)\(\) const(?: \{|;)", re.M)
MORE = re.compile(r"^    (?:static |\[\[nodiscard\]\] )*[\w:]+(?: const)?[ *&]+(\w+)\([^)]", re.M)


def comment(lines):
    return " ".join(line.lstrip("/ ").rstrip() for line in lines.splitlines())


def words(body):
    """The enumerators, with their values where these do not count up from 0."""
    found = re.findall(r"(\w+) = (\d+)", re.sub(r"//[^\n]*", "", body))
    return ", ".join(word if int(value) == place else f"{word} = {value}" for place, (word, value) in enumerate(found))


def row(about, name, body):
    public = body.split("\nprivate:")[0]
    enums = {enum: words(values) for enum, values in ENUM.findall(public)}
    fields = []
    for kind, field in FIELD.findall(public):
        kind = kind.replace("enum ", "").replace("Network::", "")
        if field != "Ident":
            fields.append(f"`{field}` ({enums.get(kind, kind)})")
    more = sorted({word for word in MORE.findall(public) if word not in (name, "Ident", "PrintXmlBody_")})
    also = ["also " + ", ".join(f"`{word}()`" for word in more)] if more else []
    about = about.removesuffix(" Public.") + (" **Public.**" if about.endswith(" Public.") else "")
    return f"| `{name}` | {', '.join(fields + also) or 'none'} | {about} |"


def index():
    text, count = HEAD, 0
    for header in tree.select(("zeb",), (".h",)):
        found = CLASS.findall(tree.text(header)) if header.startswith("zeb/event/") else []
        if not found:
            continue
        about = comment(tree.text(header).split("\n\n")[1])
        text += f"\n## {header}\n\n{about}\n\n| Event | Fields | Meaning |\n|---|---|---|\n"
        text += "\n".join(row(comment(above), name, body) for above, name, body in found) + "\n"
        count += len(found)
    return text, count


made, events = index()
if "--write" in sys.argv:
    (tree.ROOT / INDEX).write_text(made, encoding="utf-8")
print(f"{events} events")
current = (tree.ROOT / INDEX).read_text(encoding="utf-8") if (tree.ROOT / INDEX).is_file() else ""
tree.report([] if made == current else [f"{INDEX}: make it anew with scripts/check_events.py --write"])
