#!/usr/bin/env python3
"""Seeded mutants of one folder against its own tests. usage: mutate.py <folder> <test program> [count|again] [seed]

In the sources of the folder one place after the other is changed, drawn at random: a condition, a constant, an operator or a
deleted statement. Only what holds the change is compiled, linked with the unchanged objects of build/dev, and run in
namespaces of its own. What does not compile or comes to the same code does not count; a program that hangs is caught.
A changed header is compiled into the source of its name, or another one of the folder that includes it, and into a test; and
into a second test when the tests do not fail by then. The word `again` in place of a count judges what survived the last run:
for the test that was written since.
"""

import functools
import json
import os
import random
import re
import shlex
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

import tree

BUILD = tree.ROOT / "build/dev"

SWAPS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&", "+": "-", "-": "+",
         "*": "+", "/": "*", "%": "/", "&": "|", "|": "&", "^": "|", "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=",
         "++": "--", "--": "++", "!": ""}
# The layout tells what is an operator: one with two operands stands between blanks.
OPERATOR = re.compile(r"(?<=\s)(?:[=!<>]=|[-+|&]=|[<>]|&&|\|\||[-+*/%&|^])(?=\s)|\+\+|--|(?<![\w\])])!(?=[\w(*~])")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9a-fA-F]+|\d+)(?=[uUlL]*(?![\w.']))")
WORD = re.compile(r"\b(?:true|false)\b")
CONDITION = re.compile(r"\b(?:if|while) (?=\()")
STATEMENT = re.compile(r"(?:(?<=[;{}):])|(?<=\belse))(\s+)([A-Za-z_*(:+-][^;{}#]*;)")
LITERAL = re.compile(r"//[^\n]*|/\*.*?\*/|R\"(\w*)\((?:.|\n)*?\)\1\"|\"(?:\\.|[^\"\\\n])*\"|(?<!\w)'(?:\\.|[^'\\\n])+'"
                     r"|^[ \t]*#(?:\\\n|[^\n])*|\b(?:static_assert|alignas)\([^;{]*?\)", re.S | re.M)
NO_STATEMENT = re.compile(r"(?:return\b.|using|typedef|friend|case|default|public|private|protected|if|for|while|do|switch|else|"
                          r"struct|class|enum|union|template|constexpr|static|extern|namespace|goto|inline|virtual)\b")
DECLARATION = re.compile(r"(?!delete\b|throw\b)[\w:<>,*&\[\] ]*[\w>*&] +[*&]*(\w+)\s*(?:[=;(\[,{]|$)")


@dataclass
class Mutant:
    name: str
    kind: str
    begin: int
    end: int
    becomes: str

    def apply(self):
        text = tree.text(self.name)
        removed = text[self.begin:self.end]
        return text[:self.begin] + self.becomes + "\n" * removed.count("\n") + text[self.end:]

    def describe(self):
        line = tree.text(self.name).count("\n", 0, self.begin)
        was, now = (text.split("\n") for text in (tree.text(self.name), self.apply()))
        return f"{self.name}:{line + 1}: {self.kind}\n    - {was[line].strip()}\n    + {now[line].strip()}"


def blank(match):
    return re.sub(r"[^\n]", " ", match.group())


def closing(text, at):
    """The end of what the parenthesis at `at` opens."""
    depth = 0
    for i in range(at, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i + 1
    return len(text)


def conditions(name, code):
    for found in CONDITION.finditer(code):
        begin, end = found.end(), closing(code, found.end())
        inner = tree.text(name)[begin + 1:end - 1]
        if ";" in code[begin:end] or " = " in code[begin:end]:
            continue
        yield Mutant(name, "condition reversed", begin, end, f"(!({inner}))".replace("\n", " "))
        yield Mutant(name, "condition never true", begin, end, f"(false && ({inner}))".replace("\n", " "))


def constants(name, code):
    for found in NUMBER.finditer(code):
        value = int(found.group(1), 16 if "x" in found.group(1) else 10)
        for other in {value + 1, value - 1} - {-1}:
            yield Mutant(name, "constant", *found.span(1), str(other))
    for found in WORD.finditer(code):
        yield Mutant(name, "constant", *found.span(), "false" if found.group() == "true" else "true")
    for found in LITERAL.finditer(tree.text(name)):
        if re.fullmatch(r"'[^\\]'", found.group()):
            yield Mutant(name, "constant", *found.span(), f"'{chr(ord(found.group()[1]) ^ 1)}'".replace("'''", "'0'"))


def operators(name, code):
    for found in OPERATOR.finditer(code):
        yield Mutant(name, "operator", *found.span(), SWAPS[found.group()])


def statements(name, code):
    for found in STATEMENT.finditer(code):
        text = found.group(2)
        if NO_STATEMENT.match(text) or text.count("(") != text.count(")"):
            continue
        declared = DECLARATION.match(text)
        if declared and re.search(rf"\b{declared.group(1)}\b", code[found.end():found.end() + 2000]):
            continue
        yield Mutant(name, "statement deleted", *found.span(2), ";")


def mutants(names, seed, once=True):
    """The kinds take turns, each in a random order; no place is changed twice, unless all changes are asked for."""
    kinds = []
    for maker in (conditions, constants, operators, statements):
        every = [mutant for name in names for mutant in maker(name, LITERAL.sub(blank, tree.text(name)))]
        random.Random(seed).shuffle(every)
        kinds.append(every)
    seen = set()
    while any(kinds):
        for every in kinds:
            if every:
                mutant = every.pop()
                if not once or (mutant.name, mutant.begin) not in seen:
                    seen.add((mutant.name, mutant.begin))
                    yield mutant


class Judge:
    """Compiles what a mutant changes, links that in place of or ahead of the unchanged objects, and runs the tests."""

    def __init__(self, program):
        self.work = tree.ROOT / "build/mutate" / program.removesuffix("_test")
        self.work.mkdir(parents=True, exist_ok=True)
        self.program = self.work / program
        self.commands = {entry["file"]: shlex.split(entry["command"])
                         for entry in json.loads((BUILD / "compile_commands.json").read_text())}
        listed = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", f"bin/{program}"], check=True, text=True,
                                capture_output=True).stdout
        self.link = shlex.split(listed.splitlines()[-1].removeprefix(": && ").removesuffix(" && :"))
        self.tests = [name for name in tree.select(("tests",), (".cpp",)) if self.object_of(name) in self.link]
        self.limit = 60
        self.unchanged = {}

    def command_of(self, unit):
        command = self.commands[str(tree.ROOT / unit)]
        return command[next(i for i, word in enumerate(command) if word.endswith("++")):]

    def object_of(self, unit):
        command = self.command_of(unit)
        return command[command.index("-o") + 1]

    def units(self, name):
        """The sources that are compiled for a change of `name`: all that matter of those that are cheap."""
        if name.endswith(".cpp"):
            return [name]
        users = [test for test in self.tests if name in tree.closure(test)]
        users.sort(key=lambda test: (not Path(test).name.startswith(Path(name).stem), name not in tree.includes(test)[0]))
        home, stem = name.rpartition("/")[0], Path(name).stem
        sources = [source for source in tree.select((home.split("/")[0],), (".cpp",)) if source.rpartition("/")[0] == home]
        sources = [source for source in sources if name in tree.closure(source) and str(tree.ROOT / source) in self.commands]
        sources.sort(key=lambda source: (Path(source).stem != stem, name not in tree.includes(source)[0]))
        return users[:1] + sources[:1] + users[1:2]

    @functools.cache
    def precompiled(self):
        """What the tests share, without what a debugger wants: a test compiles in two thirds of the time."""
        source = next(name for name in self.commands if name.endswith("/cmake_pch.hxx.cxx"))
        target = self.work.parent / "cmake_pch.hxx"
        made, current = target.with_name("cmake_pch.hxx.gch"), Path(source.removesuffix(".cxx") + ".gch")
        if not made.exists() or made.stat().st_mtime < current.stat().st_mtime:
            command = self.command_of(source)
            command[command.index("-o") + 1] = str(made)
            subprocess.run([word for word in command if word not in ("-Werror", "-g")], cwd=BUILD, check=True)
            target.write_text("#error the precompiled form was refused\n")
        return target

    def compile(self, unit, name, text):
        """The object of `unit` as it is when `name` reads `text`; None if it does not compile."""
        changed = self.work / "tree" / name
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text(text)
        command = self.command_of(unit)
        target = self.work / (unit.replace("/", "_") + ".o")
        command[command.index("-o") + 1] = str(target)
        command[command.index("-c") + 1] = str(changed if unit == name else tree.ROOT / unit)
        if "-include" in command:
            command[command.index("-include") + 1] = str(self.precompiled())
        command = [word for word in command if word not in ("-Werror", "-g")]
        command[1:1] = ["-w", f"-I{self.work / 'tree'}"]
        done = subprocess.run(command, cwd=BUILD, capture_output=True)
        changed.unlink()
        return target if done.returncode == 0 else None

    def is_unchanged(self, unit, name, target):
        """Whether a change of `name` comes to the same code in `unit`."""
        if (unit, name) not in self.unchanged:
            changed = target.read_bytes()
            plain = self.compile(unit, name, tree.text(name))
            self.unchanged[unit, name] = plain and plain.read_bytes()
            target.write_bytes(changed)
        return target.read_bytes() == self.unchanged[unit, name]

    def build(self, objects):
        command = list(self.link)
        ahead = []
        for unit, target in objects.items():
            if self.object_of(unit) in command:
                command[command.index(self.object_of(unit))] = str(target)
            else:
                ahead.append(str(target))
        command[command.index("-o") + 1] = str(self.program)
        command[1:1] = ["-fuse-ld=lld", *ahead]
        return subprocess.run(command, cwd=BUILD, capture_output=True).returncode == 0

    def passes(self):
        """Runs the tests in a system of their own: nothing that a mutant kills, removes or sends gets out of it."""
        inside = (f"mount -o remount,ro,bind / && mount -t tmpfs tmpfs /tmp && cd /tmp && exec timeout -s KILL {self.limit} "
                  f"{shlex.quote(str(self.program))} --gtest_fail_fast --gtest_brief=1")
        return subprocess.run(["unshare", "--pid", "--mount", "--net", "--ipc", "--fork", "--kill-child", "--mount-proc",
                               "prlimit", "--as=16000000000", "--core=0", "sh", "-c", inside],
                              stdin=subprocess.DEVNULL, capture_output=True,
                              env={**os.environ, "ZEB_TEST_PROGRAMS": str(BUILD / "bin")})

    def verdict(self, mutant):
        objects, result = {}, "equal"
        units = self.units(mutant.name)
        for step in units[:2], units[2:]:
            for unit in step:
                objects[unit] = self.compile(unit, mutant.name, mutant.apply())
                if not objects[unit]:
                    return "not built"
            if all(self.is_unchanged(unit, mutant.name, objects[unit]) for unit in step):
                continue
            if not self.build(objects):
                return "not built"
            if self.passes().returncode != 0:
                return "caught"
            result = "survived"
        return result


def main(home, program, count=50, seed=1):
    names = [name for name in tree.select((home.split("/")[0],), (".h", ".cpp", ".inc")) if name.rpartition("/")[0] == home]
    judge = Judge(program)
    names = [name for name in names if judge.units(name)]
    started = time.monotonic()
    if not judge.build({}) or judge.passes().returncode != 0:
        sys.exit(f"{program} does not pass as it is; look at {judge.program}")
    judge.limit = 5 + int(4 * (time.monotonic() - started))
    noted = judge.work / "survived"
    before = noted.read_text().split("\0") if count == "again" else None
    if before:
        seed, count = before[0], len(before) - 1
    survived = []
    counts = {"caught": 0, "survived": 0, "equal": 0, "not built": 0}
    for mutant in mutants(names, int(seed)):
        if before and mutant.describe() not in before:
            continue
        verdict = judge.verdict(mutant)
        counts[verdict] += 1
        if verdict == "survived":
            survived.append(mutant.describe())
            print(survived[-1], flush=True)
        judged = counts["caught"] + counts["survived"]
        if judged == int(count):
            break
    noted.write_text("\0".join([str(seed), *survived]))
    print(f"{home}: {counts['caught']} of {judged} caught ({100 * counts['caught'] // max(judged, 1)} %), seed {seed}; "
          f"left out: {counts['not built']} that do not compile, {counts['equal']} of equal code")


if __name__ == "__main__":
    main(*sys.argv[1:])
