#!/usr/bin/env python3
"""The checks find what they are for: each is run over a small tree with a planted fault, and over one without."""

import json
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import tree

SOUND = {
    "zeb/core/A.h": "#pragma once\n\n#define ZEB_PUBLIC __attribute__((visibility(\"default\")))\n\nZEB_PUBLIC int A();\n",
    "zeb/core/A.cpp": "#include \"zeb/core/A.h\"\n\nint A() { return 1; }\n",
    "tests/core/ATest.cpp": "int main() {}\n",
}

# (check, files that are added or changed, what the check then says)
PLANTED = (
    ("format", {"zeb/core/A.cpp": "int  A( ) { return 1;}\n"}, "code should be clang-formatted"),
    ("wording", {"README.md": "As the specif" "ication says.\n"}, "README.md:1: 'specif" "ication'"),
    ("wording", {"zeb/core/A.cpp": "// Part" " 4.2\n"}, "zeb/core/A.cpp:1: 'Part" " 4.2'"),
    ("wording", {"zeb/core/A.cpp": "\n// FIXME\n"}, "zeb/core/A.cpp:2: 'FIXME'"),
    ("wording", {"zeb/core/A.cpp": "void F() { throw 1; }\n"}, "nothing throws"),
    ("wording", {"tests/core/ATest.cpp": "TEST(A, DISABLED_B) {}\n"}, "no test is switched off"),
    ("layers", {"zeb/core/A.cpp": "#include \"zeb/io/File.h\"\n", "zeb/io/File.h": ""}, "'zeb/core' includes 'zeb/io/File.h' of a higher floor"),
    ("layers", {"zeb/doc/json/A.h": "#include \"zeb/doc/B.h\"\n", "zeb/doc/B.h": ""}, "'zeb/doc/json' includes 'zeb/doc/B.h'"),
    ("layers", {"zeb/stream/Stream.h": "#include \"zeb/core/B.h\"\n"}, "'zeb/core/B.h' is no file"),
    ("layers", {"zeb/core/A.cpp": "#include <string>\n"}, "<string> is not used in the library"),
    ("layers", {"zeb/new/B.h": ""}, "stands on no floor"),
    ("layers", {"zeb/core/B.h": "#include \"zeb/core/C.h\"\n", "zeb/core/C.h": "#include \"zeb/core/B.h\"\n"},
     "loop of includes: zeb/core/B.h -> zeb/core/C.h -> zeb/core/B.h"),
    ("headers", {"zeb/core/B.h": "#pragma once\nstring_view F();\n"}, "zeb/core/B.h does not compile alone"),
    ("headers", {"zeb/core/B.h": "class B {};\n"}, "redefinition of"),
    ("lines", {"tests/core/ATest.cpp": "int main() {}\n" * 5}, "more than a third"),
    ("sources", {"tests/core/BTest.cpp": ""}, "tests/core/BTest.cpp: is not in the build"),
    ("exports", {"zeb/core/A.cpp": "__attribute__((visibility(\"default\"))) void Leak(int) {}\n"}, "exports 'Leak(int)'"),
    ("tidy", {"zeb/core/A.cpp": "int A(int const* p) { return p == nullptr ? *p : 0; }\n"}, "Dereference of null pointer"),
)


# What ./dev mutate makes of a source: each line of MUTATED with all that becomes of it.
MUTATED = {
    "// not a < b": (),
    "    if (Find(\"a < b\", 'c') && !empty) {": (
        "if (!(Find(\"a < b\", 'c') && !empty)) {", "if (false && (Find(\"a < b\", 'c') && !empty)) {",
        "if (Find(\"a < b\", 'c') || !empty) {", "if (Find(\"a < b\", 'c') && empty) {", "if (Find(\"a < b\", 'b') && !empty) {"),
    "        Add(Type<int>::VALUE);": (";",),
    "        Guard const guard(lock_);": (";",),
    "        int const used = 0x1F;": ("int const used = 32;", "int const used = 30;"),
    "        ++count;": ("--count;", ";"),
    "        return used == count;": ("return used != count;",),
}


def mutants_complaints(folder):
    lay(folder, {"zeb/core/M.cpp": "\n".join(MUTATED) + "\n    }\n"})
    done = subprocess.run([sys.executable, "-c", "import mutate\nfor m in mutate.mutants(['zeb/core/M.cpp'], 1, False):\n print(m.describe())"],
                          cwd=folder / "scripts", text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    made = sorted(line.strip()[2:] for line in done.stdout.splitlines() if line.startswith("    + "))
    wanted = sorted(sum(MUTATED.values(), ()))
    return [] if made == wanted else [f"mutate: makes {made} where {wanted} is due\n{done.stdout if not made else ''}"]


def lay(folder, files):
    for name, content in files.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)


def prepare(folder):
    """What the build leaves behind: the compile commands, which here know the sound files only."""
    lay(folder, SOUND)
    shutil.copytree(tree.ROOT / "scripts", folder / "scripts", ignore=shutil.ignore_patterns("__pycache__"))
    for name in (".clang-format", ".clang-tidy"):
        shutil.copy(tree.ROOT / name, folder)
    commands = [{"directory": str(folder), "file": str(folder / name), "command": f"g++ -std=c++20 -I. -c {name}"}
                for name in SOUND if name.endswith(".cpp")]
    lay(folder, {"build/dev/compile_commands.json": json.dumps(commands), ".gitignore": "/build/\n__pycache__/\n"})
    subprocess.run(["git", "init", "-q", folder], check=True)


def run(folder, check):
    arguments = [folder / "scripts" / f"check_{check}.py"]
    if check == "exports":
        library = folder / "build/library.so"
        subprocess.run(["g++", "-shared", "-fPIC", "-fvisibility=hidden", f"-I{folder}", "-o", library,
                        folder / "zeb/core/A.cpp"], check=True)
        arguments.append(library)
    done = subprocess.run(arguments, cwd=folder, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


complaints = []
with tempfile.TemporaryDirectory() as temporary:
    for number, (check, files, words) in enumerate((("", {}, ""),) + PLANTED):
        folder = Path(temporary) / str(number)
        prepare(folder)
        if not check:
            for sound in sorted({planted[0] for planted in PLANTED}):
                code, output = run(folder, sound)
                if code:
                    complaints.append(f"{sound}: complains about a sound tree:\n{output}")
            complaints += mutants_complaints(folder)
            continue
        lay(folder, files)
        code, output = run(folder, check)
        if code == 0 or words not in output:
            complaints.append(f"{check}: does not say \"{words}\" of {', '.join(files)}, but:\n{output}")
print(f"{len(PLANTED)} planted faults")
tree.report(complaints)
