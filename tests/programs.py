"""The programs that a test starts, with a launcher if the tests need one."""

import os
import tempfile

_scripts = tempfile.TemporaryDirectory()


def launched(folder):
    """The folder of programs, or a folder of scripts with their names that run them by the launcher."""
    launcher = os.environ.get("NODETREE_TEST_LAUNCHER")
    if not launcher:
        return folder
    scripts = os.path.join(_scripts.name, os.path.basename(folder))
    os.mkdir(scripts)
    for program in os.scandir(folder):
        if program.is_file() and os.access(program, os.X_OK):
            script = os.path.join(scripts, program.name)
            with open(script, "w", encoding="utf-8", opener=lambda *how: os.open(*how, 0o755)) as f:
                f.write(f'#!/bin/sh\nexec {launcher} {program.path} "$@"\n')
    return scripts


def launched_program(path):
    return os.path.join(launched(os.path.dirname(path)), os.path.basename(path))
