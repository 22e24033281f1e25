#!/usr/bin/env python3
"""Copies standard input to standard output, and adds the function, file and line that addr2line
reports to two kinds of lines: lines "frame: <module>+0x<rva>" that tests/support/CrashTrace.cpp
prints, and lines with "in <module> (+0x<rva>)" that winedbg prints.

    test 2>&1 | symbolize.py [MODULE-FOLDER...]
"""
import os
import re
import subprocess
import sys

ADDR2LINE = os.environ.get("ADDR2LINE", "x86_64-w64-mingw32-addr2line")
OBJDUMP = os.environ.get("OBJDUMP", "x86_64-w64-mingw32-objdump")
FRAMES = (re.compile(r"^frame: (.*)\+0x([0-9a-f]+)\s*$"),
          re.compile(r" in (\S+) \(\+0x([0-9a-f]+)\)"))
image_bases = {}


def find(module):
    """Returns the path of a module's file, or None. For Z:\\a\\b.dll the result is /a/b.dll.

    A module without a folder is searched for in the folders on the command line.
    """
    if re.match(r"^[zZ]:\\", module):
        path = module[2:].replace("\\", "/")
        return path if os.path.exists(path) else None
    for folder in sys.argv[1:] or ["."]:
        for extension in ("", ".dll", ".exe"):
            path = os.path.join(folder, module + extension)
            if os.path.isfile(path):
                return path
    return None


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


def resolve(module, rva):
    path = find(module)
    if not path:
        return ""
    if path not in image_bases:
        base = re.search(r"ImageBase\s+([0-9a-f]+)", output_of(OBJDUMP, "-p", path))
        image_bases[path] = int(base.group(1), 16) if base else 0
    lines = output_of(ADDR2LINE, "-Cfpie", path, hex(image_bases[path] + rva)).strip()
    return "" if lines.startswith("??") else "\n         " + lines.replace("\n", "\n         ")


def main():
    for line in sys.stdin:
        line = line.rstrip("\n")
        for pattern in FRAMES:
            frame = pattern.search(line)
            if frame:
                line += resolve(frame.group(1), int(frame.group(2), 16))
                break
        print(line, flush=True)


try:
    main()
except (KeyboardInterrupt, BrokenPipeError):
    sys.exit(1)
