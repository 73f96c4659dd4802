#!/usr/bin/env python3
"""Checks what the sources include.

- A floor includes only itself and the floors below it; rooms that share a floor do not know each other.
- No header reaches itself through its includes.
- Who is outside of the library includes what is installed of it.
- Only a platform folder sees the operating system: everybody else includes the C++ standard library, the contracts in
  common/platform, and the libraries named here; and no #if asks which system it is.
"""

import pathlib
import re
import sys

# From the ground up. A line is a floor, a pattern in it is a room; a file belongs to the first room that it matches.
STREAMS = r"common/io/(?!filesystem|packed|internal/packed)|common/memory/memorystream|common/callback/(fileio|callbackfile)"
FLOORS = [
    [r"common/platform/|common/(types|export)\.h"],
    [
        rf"(?!{STREAMS})common/([^/]+$|(utility|memory|container|callback|debug|exceptions|math)/)"
        r"|common/threading/(?!thread|task|internal/)"
    ],
    [STREAMS, r"common/threading/"],
    [r"common/io/", r"common/serialize/", r"common/crypto/", r"common/parser/[^/]+$"],
    [r"common/parser/internal/"],
    [r"common/reflection/", r"common/parser/xml/", r"common/geom/"],
    [r"common/network/", r"common/parser/formula/", r"common/parser/vrml2/"],
    [r"common/debugger/"],
]
# What brings the library up and takes it down knows every room that has something to bring up.
KNOWS_ALL = {"common/library.cpp", "common/interface.cpp"}

THIRD_PARTY = {"common/crypto/": {"openssl"}, "examples/vrml/": {"png.h"}, "tool/cli/": {"CLI", "nlohmann"}}
SYSTEM_NAMES = (
    r"_WIN32|_WIN64|WIN32|__MINGW\w+|__CYGWIN__|(__)?linux(__)?|__gnu_linux__|(__)?unix(__)?"
    r"|__APPLE__|__\w+BSD__|__ANDROID__|__GLIBC__|_POSIX\w*"
)

root = pathlib.Path(__file__).resolve().parent.parent
problems = []


def sources(*directories):
    for directory in directories:
        for path in sorted((root / directory).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.relative_to(root).as_posix()


def directives(name):
    """Yields line number and text of every preprocessor line; a continued line is one."""
    text = (root / name).read_text(encoding="utf-8").replace("\\\n", " \f")
    number = 1
    for line in text.split("\n"):
        if line.lstrip().startswith("#"):
            yield number, line.replace("\f", "")
        number += 1 + line.count("\f")


def room(name):
    for floor, rooms in enumerate(FLOORS):
        for pattern in rooms:
            if re.match(pattern, name):
                return floor, pattern
    return None


def check_floor(name, line, included):
    if name in KNOWS_ALL:
        return
    here, there = room(name), room(included)
    if here is None or there is None:
        problems.append(f"{name}:{line}: no floor is known for {included if here else name}")
    elif there[0] > here[0] or (there[0] == here[0] and there != here):
        problems.append(f"{name}:{line}: {included} is not on a floor below")


def check_system(name, line, text):
    for header in re.findall(r"(?:include|__has_include\s*\()\s*<([^>]+)>", text):
        allowed = next((libraries for place, libraries in THIRD_PARTY.items() if name.startswith(place)), set())
        if re.search(r"[./]", header) and header.split("/")[0] not in allowed:
            problems.append(f"{name}:{line}: <{header}> is not of the C++ standard library")
    if re.match(r"\s*#\s*(el)?if", text) and re.search(rf"\b({SYSTEM_NAMES})\b", text):
        problems.append(f"{name}:{line}: only a platform folder knows the operating system")
    if re.search(r'"(common|tool)/platform/[^/"]+/', text):
        problems.append(f"{name}:{line}: only the contracts in common/platform are for others")


def check_circles(includes):
    """Reports each circle once, where the walk closes it."""
    done = set()

    def walk(name, trail):
        if name in trail:
            problems.append("circle: " + " > ".join(trail[trail.index(name) :] + [name]))
        elif name not in done:
            for included in includes.get(name, ()):
                walk(included, trail + [name])
            done.add(name)

    for name in includes:
        walk(name, [])


includes = {}
for name in sources("common", "examples", "tool"):
    in_platform_folder = re.match(r"(common|tool)/platform/[^/]+/", name)
    for line, text in directives(name):
        if not in_platform_folder:
            check_system(name, line, text)
        for included in re.findall(r'include\s*"(common/[^"]+)"', text):
            includes.setdefault(name, []).append(included)
            if "/internal/" in included and not name.startswith("common/"):
                problems.append(f"{name}:{line}: {included} is not installed")
            if name.startswith("common/"):
                check_floor(name, line, included)
check_circles(includes)

for problem in problems:
    print(problem)
sys.exit(1 if problems else 0)
