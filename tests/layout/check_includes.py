#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_includes.py SOURCE_DIR [--print]: folders of include/, src/, sim/ and tools/ include what rooms.txt, beside this, allows, and
no circle of folders is closed. With --print: the table as the files have it, to start a new one from."""
import collections
import fnmatch
import pathlib
import re
import sys

TOPS = ("include", "src", "sim", "tools")
ROOTS = ("", "include", "src")  # where names between quotes are looked for, after the including file's folder and the folder's top
INCLUDE = re.compile(r'\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)')


class Table:
    """Lines of `FOLDER: WHAT...`. FOLDER is a pattern; WHAT are patterns of folders, files or, as <name>, of system headers. A system
    header that stands in the table is for the folders that name it alone. `circle: FOLDER...` is one that is known."""

    def __init__(self, path):
        self.rows, self.circles = [], []
        for line in path.read_text(encoding="utf-8").splitlines():
            folder, colon, allowed = line.partition("#")[0].partition(":")
            if folder.strip() == "circle":
                self.circles.append(set(allowed.split()))
            elif colon:
                self.rows.append((folder.strip(), allowed.split()))
        self.guarded = {what for _, allowed in self.rows for what in allowed if what.startswith("<")}

    def allows(self, folder, target):
        names = (target, str(pathlib.PurePath(target).parent))
        return any(fnmatch.fnmatchcase(name, what) for pattern, allowed in self.rows if fnmatch.fnmatchcase(folder, pattern)
                   for what in allowed for name in names)


def includes(source):
    """(place, folder, file or <header> that is included) of all that one folder includes of others."""
    files = sorted(path for top in TOPS for path in (source / top).rglob("*") if path.suffix in (".h", ".cpp"))
    for path in files:
        folder = path.parent.relative_to(source)
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = INCLUDE.match(line)
            if not found:
                continue
            name = found[1] or found[2]
            places = [path.parent / name, *(source / root / name for root in (folder.parts[0], *ROOTS))]
            target = next((place.resolve().relative_to(source) for place in places if place.is_file()), None)
            if target is None or target.parent != folder:
                yield f"{path.relative_to(source)}:{number}", str(folder), str(target or f"<{name}>")


def circles(edges):
    """Sets of folders that reach each other."""
    reach = {folder: {folder} for folder in edges}
    for _ in edges:
        for folder, near in edges.items():
            reach[folder] |= near.union(*(reach.get(other, set()) for other in near))
    return {frozenset(other for other in reach[folder] if folder in reach.get(other, ())) for folder in edges}


def main(source, *options):
    source = pathlib.Path(source).resolve()
    table = Table(pathlib.Path(__file__).with_name("rooms.txt"))
    edges, examples, faults = collections.defaultdict(set), {}, []
    for place, folder, target in includes(source):
        if not target.startswith("<"):
            edges[folder].add(str(pathlib.PurePath(target).parent))
            examples.setdefault((folder, str(pathlib.PurePath(target).parent)), place)
        elif target not in table.guarded:
            continue
        if not table.allows(folder, target):
            faults.append(f"{place}: {folder} may not include {target}")
    if "--print" in options:
        print("\n".join(f"{folder}: {' '.join(sorted(near))}" for folder, near in sorted(edges.items())))
        return 0
    for circle in circles(edges):
        if len(circle) > 1 and not any(circle <= known for known in table.circles):
            faults.append("a circle of " + ", ".join(sorted(circle)))
            faults += [f"    {place}: {a} includes {b}" for (a, b), place in sorted(examples.items()) if {a, b} <= circle]
    print("\n".join(faults) or f"{len(examples)} edges between folders, all as the table has them")
    return int(bool(faults))


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
