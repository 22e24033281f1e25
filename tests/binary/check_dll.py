#!/usr/bin/env python3
"""Checks the exports, the imports or the entry point of a DLL.

  check_dll.py x.dll --exports list.txt             x.dll must export exactly the names in the list
  check_dll.py x.dll --imports kernel32.dll ...     x.dll may import only these DLLs
  check_dll.py x.dll --no-entry-point               x.dll must not run code when it is loaded

Each line of the list is "code" or "data" and a demangled name. --update writes the list instead of
comparing it. --unexported TEXT ignores the lines of the list that begin with TEXT: x.dll must not
export their names.
"""
import argparse
import re
import subprocess
import sys


def tool(name, *arguments, **options):
    command = ["x86_64-w64-mingw32-" + name, *arguments]
    return subprocess.run(command, capture_output=True, text=True, check=True, **options).stdout


def code_sections(dll, image_base):
    """Yields the first address, the size and "contains code" of each section.

    The addresses are relative to the image.
    """
    lines = tool("objdump", "-h", dll).splitlines()
    for line, flags in zip(lines, lines[1:]):
        match = re.match(r"\s*\d+ (\S+)\s+([0-9a-f]+)\s+([0-9a-f]+)", line)
        if match:
            yield int(match.group(3), 16) - image_base, int(match.group(2), 16), "CODE" in flags


def exports(dll):
    head = tool("objdump", "-p", dll)
    image_base = int(re.search(r"ImageBase\s+([0-9a-f]+)", head).group(1), 16)
    sections = list(code_sections(dll, image_base))
    address = {
        int(ordinal): int(rva, 16)
        for ordinal, rva in re.findall(r"\[\s*(\d+)\] \+base\[\s*\d+\]\s+([0-9a-f]+) Export RVA", head)
    }
    table = head[head.index("[Ordinal/Name Pointer] Table"):].split("\n\n")[0]
    names = re.findall(r"\[\s*(\d+)\](?: \+base\[\s*\d+\]\s+[0-9a-f]+)? (\S+)$", table, re.M)
    demangled = tool("c++filt", input="\n".join(name for _, name in names)).splitlines()

    def kind(rva):
        return "code" if any(a <= rva < a + n and code for a, n, code in sections) else "data"

    return sorted(f"{kind(address[int(o)])} {name}" for (o, _), name in zip(names, demangled))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("dll")
    parser.add_argument("--exports")
    parser.add_argument("--unexported")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--imports", nargs="+")
    parser.add_argument("--no-entry-point", action="store_true")
    arguments = parser.parse_args()

    if arguments.no_entry_point:
        entry = re.search(r"AddressOfEntryPoint\s+([0-9a-f]+)", tool("objdump", "-p", arguments.dll)).group(1)
        sys.exit(f"unexpected entry point at {entry}" if int(entry, 16) else 0)

    if arguments.imports:
        allowed = {name.lower() for name in arguments.imports}
        imported = re.findall(r"DLL Name: (\S+)", tool("objdump", "-p", arguments.dll))
        if not imported:
            sys.exit("no import table found in " + arguments.dll)
        extra = [name for name in imported if name.lower() not in allowed]
        sys.exit("".join(f"unexpected import: {name}\n" for name in extra) or 0)

    found = exports(arguments.dll)
    if not found:
        sys.exit("no exports found in " + arguments.dll)
    if arguments.update:
        with open(arguments.exports, "w", encoding="utf-8") as listing:
            listing.write("\n".join(found) + "\n")
        return
    with open(arguments.exports, encoding="utf-8") as listing:
        expected = listing.read().splitlines()
    if arguments.unexported:
        expected = [name for name in expected if not name.startswith(arguments.unexported)]
    difference = [f"+ {name}" for name in found if name not in expected]
    difference += [f"- {name}" for name in expected if name not in found]
    if difference or found != expected:
        sys.exit("\n".join(difference) or "the list is not sorted: run with --update")


if __name__ == "__main__":
    main()
