#!/usr/bin/env python3
"""Checks that each folder includes only headers from the folders that it may include, and that
public headers include only public headers.

Prints each #include line that is not allowed. The exit status is then 1.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# For each folder of the library, the other folders from which it may include headers.
MAY_INCLUDE = {
    "dll": set(),
    "platform": {"dll"},
    "i18nstr": {"platform", "dll"},
    "i18nsys": {"platform", "dll"},
    "i18nres": {"i18nsys", "i18nstr", "platform", "dll"},
    "clipboard": {"i18nstr", "platform", "dll"},
    "formats": {"clipboard", "i18nstr", "platform", "dll"},
}

# Programs that use the library. These programs may include only the public headers of the library.
PROGRAMS = {"tools", "samples"}


def public_headers():
    """Returns the installed headers: those in the FILE_SETs of the CMakeLists.txt files."""
    names = {"I18nResource.h"}
    for room in MAY_INCLUDE:
        text = (ROOT / room / "CMakeLists.txt").read_text(encoding="utf-8")
        for block in re.findall(r"FILE_SET HEADERS\s+FILES([^)]*)\)", text):
            names.update(f"{room}/{header}" for header in block.split())
    return names


def main():
    public = public_headers()
    errors = []
    files = [ROOT / "I18nResource.h"]
    for program in sorted(PROGRAMS):
        files += sorted(p for p in (ROOT / program).rglob("*") if p.suffix in {".h", ".cpp"})
    for room in MAY_INCLUDE:
        files += sorted(p for p in (ROOT / room).iterdir() if p.suffix in {".h", ".cpp", ".rc"})
    for path in files:
        name = path.relative_to(ROOT).as_posix()
        room = name.split("/")[0] if "/" in name else None
        for line, text in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = re.match(r'\s*#\s*include\s+"([^"]+)"', text)
            if not match or match.group(1) == "version.h":
                continue
            included = match.group(1)
            target = included.split("/")[0]
            if not (ROOT / included).is_file():
                errors.append(f"{name}:{line}: {included} is not relative to the root, or does not exist")
            elif room in PROGRAMS:
                if target != room and included not in public:
                    errors.append(f"{name}:{line}: {room} may not include the internal {included}")
            elif room and target != room and target not in MAY_INCLUDE[room]:
                errors.append(f"{name}:{line}: {room} may not include {included}")
            elif name in public and included not in public:
                errors.append(f"{name}:{line}: a public header includes the internal {included}")
    print("\n".join(errors) or f"{len(files)} files include only what they may")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
