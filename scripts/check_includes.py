#!/usr/bin/env python3
"""Holds every #include of our own against the include table in docs/ARCHITECTURE.md.

The table's rows read `| folder/ | ... | may include |`; the last cell lists folders, `nothing of
ours`, or `all`. Exit code 1 and one line for each include that the table does not allow.
"""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
table = {}
for line in (root / "docs/ARCHITECTURE.md").read_text(encoding="utf-8").splitlines():
    cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
    if line.startswith("|") and re.fullmatch(r"`?[a-z]+/`?", cells[0]):
        allowed = re.findall(r"([a-z]+)/", cells[-1])
        table[cells[0].strip("`/")] = None if cells[-1].startswith("all") else set(allowed)

if not table:
    sys.exit("docs/ARCHITECTURE.md has no include table")

bad = 0
for folder, allowed in sorted(table.items()):
    if allowed is None:
        continue
    for path in sorted((root / folder).rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = re.match(r'\s*#\s*include\s+"([^"/]+)/', line)
            if found and found[1] != folder and found[1] not in allowed:
                print(f"{path.relative_to(root)}:{number}: {folder}/ may not include {found[1]}/")
                bad += 1
sys.exit(1 if bad else 0)
