#!/usr/bin/env python3
"""Changes one line of the library at a time and reports the changes that no test detects.

Builds and tests each mutant in an existing build folder, and prints its result:

    not compiled  the library does not compile
    killed        a test program does not compile, fails, or exceeds its time limit
    survived      all test programs pass: a test is missing, or the change has no effect

The source file is restored after each mutant, even if this program is interrupted. CI does not run
this program.

    scripts/mutate.py build/mingw-release --sources i18nstr/*.cpp --programs i18nstr_tests --count 10
"""
import argparse
import os
import random
import re
import signal
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# Pairs of a regular expression and the text that replaces each match.
CHANGES = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "),
    (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ ", " - "), (r" - ", " + "),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"(?<=\bif )\((?:[^()]|\([^()]*\))*\)", lambda condition: f"(!{condition})"),
    (r"(?<![\w.\"'])\d+(?![\w.\"'])", lambda digits: str(int(digits) + 1)),
    (r"(?<![\w.\"'])0x[0-9A-Fa-f]+(?![\w.\"'])", lambda digits: hex(int(digits, 16) + 1)),
]
# A line that contains only a call, an assignment or an increment. Declarations do not match.
STATEMENT = re.compile(r"\s+(?!return\b|throw\b|delete\b)[*:\w\[\].>()-]+"
                       r"( [-+*/|&^]?= .*|\(.*\)|\+\+|--);\s*$")


def without_texts(line):
    """Returns the line with its comment and the contents of its literals replaced by spaces."""
    blank = lambda match: re.sub(r".", " ", match[0])
    line = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'', blank, line)
    return re.sub(r"//.*", blank, line)


def mutants_of(path):
    """Returns a list of (path, line number, changed line)."""
    mutants = []
    for number, line in enumerate(path.read_text(encoding="ascii").split("\n")):
        code = without_texts(line)
        if code.lstrip().startswith(("#", "template", "static_assert")):
            continue
        for pattern, replacement in CHANGES:
            for match in re.finditer(pattern, code):
                begin, end = match.span()
                text = replacement(line[begin:end]) if callable(replacement) else replacement
                mutants.append((path, number, line[:begin] + text + line[end:]))
        if STATEMENT.match(code) and code.count("(") == code.count(")"):
            mutants.append((path, number, re.match(r"\s*", line)[0] + ";"))
    return mutants


def run(command, seconds):
    """Returns the exit code, or None if the command exceeds its time limit."""
    process = subprocess.Popen(command, cwd=ROOT, stdin=subprocess.DEVNULL, start_new_session=True,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        return process.wait(seconds)
    except BaseException as reason:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        if isinstance(reason, subprocess.TimeoutExpired):
            return None
        raise


def build(arguments, target):
    return run(["cmake", "--build", arguments.build, "--target", target], None) == 0


def outcome(arguments):
    """Builds and tests the current source files."""
    if not build(arguments, "I18nResource"):
        return "not compiled"
    for program in arguments.programs:
        if not build(arguments, program):
            return "killed"
        executable = Path(arguments.build, "bin", program + ".exe")
        code = run(["scripts/wine-session.sh", "run", arguments.build, str(executable)],
                   arguments.seconds)
        if code != 0:
            return f"killed by {program}" + (" (time limit)" if code is None else "")
    return "survived"


def test_mutant(arguments, path, number, changed):
    original = path.read_bytes()
    lines = original.decode("ascii").split("\n")
    before = lines[number]
    lines[number] = changed
    try:
        path.write_bytes("\n".join(lines).encode("ascii"))
        result = outcome(arguments)
    finally:
        path.write_bytes(original)
    print(f"{result}: {path}:{number + 1}\n    {before.strip()}\n    {changed.strip()}", flush=True)
    return result


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("build", help="build folder with the library and its tests")
    parser.add_argument("--sources", nargs="+", type=Path, required=True, help="files to change")
    parser.add_argument("--programs", nargs="+", required=True,
                        help="test programs, in the order in which they run")
    parser.add_argument("--count", type=int, default=10, help="number of mutants (default: 10)")
    parser.add_argument("--seed", type=int, default=1, help="selects other mutants (default: 1)")
    parser.add_argument("--seconds", type=float, default=120, help="time limit of a program")
    arguments = parser.parse_args()

    mutants = [mutant for path in arguments.sources for mutant in mutants_of(path)]
    random.Random(arguments.seed).shuffle(mutants)

    # By default, only SIGINT raises an exception. Make SIGTERM and SIGHUP raise exceptions too, so
    # that the source file is restored.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit("mutate.py: stopped; the source is restored"))

    # Start the Wine session here, so that its processes are not in the process group of a test. The
    # process group of a test is killed if the test exceeds its time limit.
    subprocess.run(["scripts/wine-session.sh", "start", arguments.build], cwd=ROOT, check=True)
    unchanged = outcome(arguments)
    if unchanged != "survived":
        sys.exit(f"mutate.py: {unchanged} without any change. Correct this first, or omit the "
                 "programs that need the environment that ctest sets.")
    results = [test_mutant(arguments, *mutant) for mutant in mutants[:arguments.count]]
    outcome(arguments)  # builds the unchanged library again
    print(f"{len(results)} mutants, {results.count('survived')} survived, "
          f"{results.count('not compiled')} not compiled")


if __name__ == "__main__":
    main()
