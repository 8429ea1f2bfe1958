#!/usr/bin/env python3
"""Whether several programs did the same to a project.

compare_projects.py PRISTINE RESULT...: the folders of the results must hold the same files, each
with the same JSON value (or, for other files, the same bytes), and the scripts must have changed
something in every tree of the pristine project. The layout of a JSON file does not count, nor the
order of its members."""

import json
import pathlib
import sys


def contents(folder):
    """Relative path to something comparable, for every file below the folder."""
    root = pathlib.Path(folder)
    return {str(path.relative_to(root)): content(path) for path in root.rglob("*") if path.is_file()}


def content(path):
    data = path.read_bytes()
    if path.suffix != ".json":
        return data
    # As text, in which true is not 1; with every number a double, in which 5 is 5.0.
    return json.dumps(json.loads(data, parse_int=float), sort_keys=True)


def main():
    pristine_folder, *result_folders = sys.argv[1:]
    pristine = contents(pristine_folder)
    expected = contents(result_folders[0])
    untouched = [
        name
        for name in pristine
        if name.startswith(("configuration/", "process/"))
        and name != "configuration/manifest.json"
        and pristine[name] == expected.get(name)
    ]
    if untouched:
        sys.exit(f"{result_folders[0]}: {len(untouched)} trees unchanged, such as {untouched[0]}")
    for folder in result_folders:
        found = contents(folder)
        different = sorted(
            name for name in expected.keys() | found.keys() if expected.get(name) != found.get(name)
        )
        if different:
            sys.exit(f"{folder}: {len(different)} files differ from {result_folders[0]}, "
                     f"such as {different[0]}")


main()
