#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compile-alone.py BUILD_DIR JOBS: builds compile many files as one; here each source of the programs shows that it includes all that it
needs. It is compiled as BUILD_DIR's compile_commands.json says, without a result. The library's sources are left to clang-tidy, which
reads them the same way."""
import concurrent.futures
import json
import os
import shlex
import subprocess
import sys


def alone(entry):
    """The compiler's status and what it says, told not to write anything."""
    words = shlex.split(entry["command"])
    output = words.index("-o")
    words = [word for word in words[:output] + words[output + 2:] if word != "-c" and not word.endswith("/ccache")]
    result = subprocess.run([*words, "-fsyntax-only"], cwd=entry["directory"], stderr=subprocess.PIPE, text=True, check=False)
    return result.returncode, result.stderr


def main(build, jobs):
    with open(f"{build}/compile_commands.json", encoding="utf-8") as file:
        commands = {entry["file"]: entry for entry in json.load(file)}
    programs = tuple(os.path.realpath(folder) + "/" for folder in ("sim", "tools"))
    entries = [entry for name, entry in commands.items() if name.startswith(programs)]
    with concurrent.futures.ThreadPoolExecutor(int(jobs)) as pool:
        results = list(pool.map(alone, entries))
    for _, complaint in results:
        print(complaint, end="")
    print(f"{len(entries)} files compile alone" if not any(status for status, _ in results) else "not all files compile alone")
    return int(any(status for status, _ in results))


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
