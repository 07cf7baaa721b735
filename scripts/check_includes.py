#!/usr/bin/env python3
"""Holds every #include of our own against the include table in docs/ARCHITECTURE.md.

The table's rows read `| folder/ | ... | may include |`. A folder below another one may have a row of
its own, and then only that row counts for it. The last cell lists folders, which stand for all below
them too; `every library` is every folder without a row above it but client/; `all` is everything.
Exit code 1 and one line for each include that the table does not allow.
"""
import pathlib
import re
import sys


def read_table(text):
    """Folder -> folders that it may include, or None for all."""
    cells = {}
    for line in text.splitlines():
        row = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if line.startswith("|") and re.fullmatch(r"[a-z/]+/", row[0]):
            cells[row[0].rstrip("/")] = row[-1]
    libraries = {folder for folder in cells if "/" not in folder and folder != "client"}
    table = {}
    for folder, cell in cells.items():
        allowed = {name.rstrip("/") for name in re.findall(r"[a-z/]+/", cell)}
        if "every library" in cell:
            allowed |= libraries
        table[folder] = None if cell.startswith("all") else allowed
    return table


def owner(path, folders):
    """The folder of the table that a file lies in: the longest one."""
    above = (str(parent) for parent in pathlib.PurePosixPath(path).parents)
    return next((folder for folder in above if folder in folders), None)


def is_allowed(target, folder, allowed):
    return target == folder or any(target == one or target.startswith(one + "/") for one in allowed)


root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
table = read_table((root / "docs/ARCHITECTURE.md").read_text(encoding="utf-8"))
if not table:
    sys.exit("docs/ARCHITECTURE.md has no include table")

bad = 0
for top in sorted({folder.split("/")[0] for folder in table}):
    for path in sorted((root / top).rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        file = path.relative_to(root).as_posix()
        folder = owner(file, table)
        if folder is None:
            print(f"{file}: lies in no folder of the table")
            bad += 1
            continue
        if table[folder] is None:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
            target = owner(found[1], table) if found else None
            if found and not (target and is_allowed(target, folder, table[folder])):
                print(f'{file}:{number}: {folder}/ may not include "{found[1]}"')
                bad += 1
sys.exit(1 if bad else 0)
