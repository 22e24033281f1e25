#!/usr/bin/env python3
"""Filter: resolves "frame: <module>+0x<rva>" lines (tests/support/CrashTrace.cpp) and winedbg's
"in <module> (+0x<rva>)" frames with addr2line.  Usage: test 2>&1 | symbolize.py [module-dir ...]"""
import os, re, subprocess, sys

ADDR2LINE = os.environ.get("ADDR2LINE", "x86_64-w64-mingw32-addr2line")
OBJDUMP = os.environ.get("OBJDUMP", "x86_64-w64-mingw32-objdump")
bases = {}


def find(path):
    """Z:\\a\\b.dll -> /a/b.dll; a bare module name is looked up in the given folders."""
    if re.match(r"^[zZ]:\\", path):
        unix = path[2:].replace("\\", "/")
        return unix if os.path.exists(unix) else None
    for folder in sys.argv[1:] or ["."]:
        for ext in ("", ".dll", ".exe"):
            p = os.path.join(folder, path + ext)
            if os.path.isfile(p):
                return p
    return None


def resolve(module, rva):
    path = find(module)
    if not path:
        return ""
    if path not in bases:
        m = re.search(r"ImageBase\s+([0-9a-f]+)", subprocess.run([OBJDUMP, "-p", path], capture_output=True, text=True).stdout)
        bases[path] = int(m.group(1), 16) if m else 0
    out = subprocess.run([ADDR2LINE, "-Cfpie", path, hex(bases[path] + rva)], capture_output=True, text=True).stdout.strip()
    return "" if out.startswith("??") else "\n         " + out.replace("\n", "\n         ")


for line in sys.stdin:
    line = line.rstrip("\n")
    m = re.match(r"frame: (.*)\+0x([0-9a-f]+)\s*$", line) or re.search(r" in (\S+) \(\+0x([0-9a-f]+)\)", line)
    print(line + (resolve(m.group(1), int(m.group(2), 16)) if m else ""), flush=True)
