#!/usr/bin/env python3
"""Holds every #include of our own against the include table in docs/ARCHITECTURE.md.

The table's rows read `| folder/ | ... | may include |`. A folder below another one may have a row of
its own, and then only that row counts for it. The last cell lists folders, which stand for all below
them too; `every library` is every folder without a row above it but client/ and localstore/, which
programs choose in their main; `all` is everything.
Every folder of the tree but tests/, bench/, fuzz/ and scripts/ needs a row to hold C++, which is in
.h and .cpp files.
Exit code 1 and one line for each include that the table does not allow, and for each row that names
no folder.
"""
import os
import pathlib
import re
import sys

EXEMPT = {"tests", "bench", "fuzz", "scripts"}
PROGRAMS_OWN = {"client", "localstore"}
OTHER_CPP = {".c", ".cc", ".cppm", ".cxx", ".c++", ".h++", ".hh", ".hpp", ".hxx", ".inc", ".inl",
             ".ipp", ".ixx", ".tpp"}
HEADING = "| Folder | Holds | Start reading at | May include |"
FOLDER = re.compile(r"[\w.-]+(?:/[\w.-]+)*/")


def fail(text):
    print(text)
    fail.count += 1


fail.count = 0


def table_rows(text):
    lines = iter(text.splitlines())
    if HEADING not in lines:  # which takes the lines up to it
        sys.exit("docs/ARCHITECTURE.md has no include table")
    next(lines)  # the rule below the heading
    for line in lines:
        if not line.startswith("|"):
            return
        yield [cell.strip() for cell in line.strip().strip("|").split("|")]


def is_folder(root, name):
    return FOLDER.fullmatch(name) and (root / name).is_dir()


def read_table(root):
    """Folder -> folders that it may include, or None for all."""
    cells = {}
    for row in table_rows((root / "docs/ARCHITECTURE.md").read_text(encoding="utf-8")):
        if is_folder(root, row[0]):
            cells[row[0].rstrip("/")] = row[-1]
        else:
            fail(f'docs/ARCHITECTURE.md: the table has a row for "{row[0]}", which is no folder')
    libraries = {folder for folder in cells if "/" not in folder and folder not in PROGRAMS_OWN}
    table = {}
    for folder, cell in cells.items():
        table[folder] = None if cell == "all" else set()
        for name in cell.split(", ") if cell not in ("all", "nothing of ours") else []:
            if name == "every library":
                table[folder] |= libraries
            elif is_folder(root, name):
                table[folder].add(name.rstrip("/"))
            else:
                fail(f'docs/ARCHITECTURE.md: {folder}/ may include "{name}", which is no folder')
    return table


def source_files(root):
    """The files of the tree, in order, as paths below the root."""
    for folder, below, files in os.walk(root):
        place = pathlib.Path(folder)
        below[:] = sorted(
            name for name in below
            if not name.startswith(".") and not (place / name / "CMakeCache.txt").exists()
            and not (place == root and name in EXEMPT))
        yield from ((place / name).relative_to(root) for name in sorted(files))


def owner(path, folders):
    """The folder of the table that a file lies in: the longest one."""
    above = (str(parent) for parent in pathlib.PurePosixPath(path).parents)
    return next((folder for folder in above if folder in folders), None)


def is_allowed(target, folder, allowed):
    return target == folder or any(target == one or target.startswith(one + "/") for one in allowed)


def why_not(line, folder, table, tops):
    """What is wrong with a line of a file in that folder; None for nothing."""
    if not re.match(r"\s*#\s*(include|import)\b", line):
        return None
    found = re.search(r'(["<])([^">]+)[">]', line)
    if not found:
        return f"cannot tell what it includes: {line.strip()}"
    quote, path = found.groups()
    parts = path.split("/")
    if "." in parts or ".." in parts:
        return f'"{path}" is not named from the root'
    if quote == "<" and parts[0] not in tops:
        return None  # of the system
    target = owner(path, table)
    if target and (table[folder] is None or is_allowed(target, folder, table[folder])):
        return None
    return f'{folder}/ may not include "{path}"'


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    table = read_table(root)
    tops = {path.name for path in root.iterdir() if path.is_dir()}
    for file in source_files(root):
        if file.suffix.lower() in OTHER_CPP or file.suffix in (".H", ".CPP"):
            fail(f"{file}: C++ is in .h and .cpp files here")
        if file.suffix not in (".h", ".cpp"):
            continue
        folder = owner(file, table)
        if folder is None:
            fail(f"{file}: lies in no folder of the table")
            continue
        for number, line in enumerate((root / file).read_text(encoding="utf-8").splitlines(), 1):
            reason = why_not(line, folder, table, tops)
            if reason:
                fail(f"{file}:{number}: {reason}")
    sys.exit(1 if fail.count else 0)


main()
