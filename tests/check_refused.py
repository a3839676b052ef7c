"""Checks that exactly the lines of a source that say "refused" do not compile.

Usage: check_refused.py COMPILER INCLUDE_DIR SOURCE
"""

import pathlib
import re
import subprocess
import sys

compiler, include, source = sys.argv[1:]
wanted = {number for number, line in enumerate(pathlib.Path(source).read_text().splitlines(), 1)
          if line.endswith("// refused")}
limit = "-ferror-limit=0" if "clang" in compiler else "-fmax-errors=0"
for standard in "c++17", "c++20":
    done = subprocess.run([compiler, f"-std={standard}", f"-I{include}", "-fsyntax-only", limit,
                           "-Werror=unused-result", source], capture_output=True, text=True)
    found = {int(n) for n in re.findall(rf"^{re.escape(source)}:(\d+):\d", done.stderr, re.M)}
    if not wanted or found != wanted or not done.returncode:
        sys.exit(f"{standard}: compiled: {sorted(wanted - found)}, did not: "
                 f"{sorted(found - wanted)}\n{done.stderr}")
