# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Makes single faults in sources and counts how many the unit tests notice. Run by scripts/mutate."""

import argparse
import concurrent.futures
import difflib
import glob
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import threading
import time

TREE = pathlib.Path("build/mutate/source")
BUILD = pathlib.Path("build/mutate/build")
FILES = ("zqxml*/*.cpp", "zqxml*/*_p.h", "standin/*.cpp", "tools/*.cpp")
MEMORY_LIMIT = 4 << 30  # bytes of address space; the largest test needs a quarter of it

# What stands between blanks only: that keeps apart a comparison and a template, a product and a pointer.
OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">"], "<=": ["<", ">="], ">": [">=", "<"], ">=": [">", "<="],
    "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"], "&": ["|"], "|": ["&"],
    "+=": ["-="], "-=": ["+="], "<<=": [">>="], ">>": ["<<"],
}
WORDS = {
    "true": "false", "false": "true", "first": "last", "last": "first", "front": "back", "back": "front",
    "begin": "end", "end": "begin", "min": "max", "max": "min", "KEY": "HKEY", "HKEY": "KEY", "key": "hkey",
    "hkey": "key", "LIST": "ITEM", "ITEM": "LIST", "firstChild": "lastChild", "lastChild": "firstChild",
    "nextSibling": "previousSibling", "append": "prepend", "break": "", "continue": "break", "push_back": "push_front",
    "tagName": "nodeName", "nodeName": "tagName", "startsWith": "endsWith", "endsWith": "startsWith",
    "START_LIST": "START_ITEM", "END_LIST": "END_ITEM", "START_ITEM": "START_LIST", "END_ITEM": "END_LIST",
}
NO_STATEMENT = re.compile(
    r"(return|break|continue|case|default|const|constexpr|auto|static|using|typedef|struct|class|enum|template|namespace"
    r"|public|private|protected|friend|explicit|virtual|if|for|while|do|switch|else|goto|union|extern|Q_\w+)\b"
    r"|[\w:<>,*& ]*[\w>][ *&]+[*&]*\w+ *([={;(\[]|$)")


def blank_out(text):
    """Returns the text with as many blanks in place of comments, literals and preprocessor lines."""
    pattern = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|^#(?:\\\n|[^\n])*'
    return re.sub(pattern, lambda found: re.sub(r"[^\n]", " ", found.group()), text, flags=re.S | re.M)


def closing(code, opening):
    """Returns where the bracket at \\a opening is closed."""
    depth = 0
    for place in range(opening, len(code)):
        depth += (code[place] in "([{") - (code[place] in ")]}")
        if depth == 0:
            return place
    return len(code)


def arguments(code, start, end):
    """Returns the places of what stands between commas that are in no bracket."""
    parts, depth = [start], 0
    for place in range(start, end):
        depth += (code[place] in "([{") - (code[place] in ")]}")
        if code[place] == "," and depth == 0:
            parts += [place, place + 1 + (code[place + 1] in " \n")]
    parts.append(end)
    return list(zip(parts[::2], parts[1::2]))


def faults_of(text):
    """Yields (start, end, what takes the place)."""
    code = blank_out(text)
    for found in re.finditer(r"(?<= )([-+*/%<>=!&|]{1,3})(?=[ \n])", code):
        for other in OPERATORS.get(found[1], []):
            yield found.start(1), found.end(1), other
    for found in re.finditer(r"\b[A-Za-z_]\w*\b", code):
        if found[0] in WORDS:
            yield found.start(), found.end(), WORDS[found[0]]
    for found in re.finditer(r"!(?=[\w(*:])", code):
        yield found.start(), found.end(), ""
    for found in re.finditer(r"\+\+|--", code):
        yield found.start(), found.end(), "--" if found[0] == "++" else "++"
    for found in re.finditer(r"(?<![\w.])(0x[0-9a-f]+|\d+)(?=u?(?:ll)?\b)(?!\.)", code):
        number = int(found[0], 0)
        yield found.start(), found.end(), str(number + 1)
        if number > 0:
            yield found.start(), found.end(), str(number - 1)
    for found in re.finditer(r"\b(if|while)(?: constexpr)? \(", code):
        start, end = found.end(), closing(code, found.end() - 1)
        if not re.search(r"[^=!<>]=[^=]|;", code[start:end]):
            yield start, end, "!(" + text[start:end] + ")"
            yield start, end, "false"
            if found[1] == "if":
                yield start, end, "true"
    for found in re.finditer(r"\breturn ([^;{}]+);", code):
        if found[1].strip() not in ("false", "true", "0", "nullptr"):
            yield found.start(1), found.end(1), "{}"
    for found in re.finditer(r"[\w>]\(", code):
        parts = arguments(code, found.end(), closing(code, found.end() - 1))
        for (a, b), (c, d) in zip(parts, parts[1:]):
            if text[a:b] != text[c:d]:
                yield a, d, text[c:d] + text[b:c] + text[a:b]
    for found in re.finditer(r"(?:(?<=[;{})])|(?<=\belse))\s+([\w*+(][^;{}]*);", code):
        if not NO_STATEMENT.match(found[1]) and re.search(r"\(|=|\+\+|--", found[1]):
            yield found.start(1), found.end(1), ""


def passes(test, seconds, ended):
    """Returns whether a test passes within a time, or false once "ended" is set."""
    properties = {each["name"]: each["value"] for each in test["properties"]}
    environment = dict(each.split("=", 1) for each in properties.get("ENVIRONMENT", []))
    process = subprocess.Popen(["prlimit", f"--as={MEMORY_LIMIT}", "--core=0"] + test["command"],
                               cwd=properties["WORKING_DIRECTORY"], env={**os.environ, **environment},
                               stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True)
    end = time.monotonic() + seconds
    try:
        while time.monotonic() < end and not ended.is_set():
            try:
                return process.wait(0.1) == 0
            except subprocess.TimeoutExpired:
                pass
        return False
    finally:
        try:  # with what it has started itself
            os.killpg(process.pid, 9)
        except ProcessLookupError:
            pass
        process.wait()


def copy_tree():
    """Makes TREE what the tree is; what is the same keeps its time, so that little is built again."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], check=True, stdout=subprocess.PIPE, text=True)
    names = {name for name in listed.stdout.splitlines() if os.path.isfile(name)}
    for old in TREE.rglob("*"):
        if old.is_file() and str(old.relative_to(TREE)) not in names:
            old.unlink()
    for name in names:
        target = TREE / name
        content = pathlib.Path(name).read_bytes()
        if not target.exists() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
            shutil.copymode(name, target)


def configure():
    command = ["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-D", "CMAKE_BUILD_TYPE=", "-D", "CMAKE_CXX_FLAGS=-O0 -w",
               "-D", "ZQXML_BUILD_EXAMPLES=OFF", "-D", "CMAKE_LINK_DEPENDS_NO_SHARED=ON"]
    if shutil.which("ccache"):
        command += ["-D", "CMAKE_CXX_COMPILER_LAUNCHER=ccache"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def unit_tests():
    """Returns the unit tests; the name of each is its target's, too."""
    shown = subprocess.run(["ctest", "--test-dir", BUILD, "--show-only=json-v1", "-R", "^tst_"], check=True,
                           stdout=subprocess.PIPE)
    return json.loads(shown.stdout)["tests"]


def build(tests):
    return subprocess.run(["ninja", "-C", BUILD] + [test["name"] for test in tests], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True)


def good_tests(tests):
    """Returns those that pass while nothing is wrong, the quickest first."""
    for test in tests:
        start = time.monotonic()
        test["passes"] = passes(test, 300, threading.Event())
        test["seconds"] = time.monotonic() - start
        if not test["passes"]:
            print(f"{test['name']} fails before any fault is made, and is left out")
    return sorted((test for test in tests if test["passes"]), key=lambda test: test["seconds"])


def noticed_by(tests, name):
    """Returns the test that fails, or none. Those that bear the file's name come first."""
    stem = pathlib.Path(name).stem.replace("_p", "")
    ended = threading.Event()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        runs = {pool.submit(passes, test, 10 + 10 * test["seconds"], ended): test["name"]
                for test in sorted(tests, key=lambda test: stem not in test["name"])}
        for run in concurrent.futures.as_completed(runs):
            if not run.result():
                ended.set()
                return runs[run]
    return None


def try_file(name, sample, tests):
    """Returns how many faults were made and how many noticed."""
    text = pathlib.Path(name).read_text()
    faults = sorted(set(faults_of(text)))
    random.Random(name).shuffle(faults)
    made = noticed = 0
    target = TREE / name
    for start, end, other in faults:
        if made == sample:
            break
        faulty = text[:start] + other + text[end:]
        target.write_text(faulty)
        if build(tests).returncode != 0:
            continue
        made += 1
        if noticed_by(tests, name):
            noticed += 1
            continue
        print("".join(difflib.unified_diff(text.splitlines(True), faulty.splitlines(True), name, "fault", n=1)), flush=True)
    target.write_text(text)
    print(f"{name}: {noticed} of {made} faults noticed", flush=True)
    return made, noticed


def main():
    parser = argparse.ArgumentParser(prog="mutate")
    parser.add_argument("files", metavar="FILE", nargs="*")
    parser.add_argument("--sample", metavar="N", type=int)
    options = parser.parse_args()
    files = options.files or sorted(name for pattern in FILES for name in glob.glob(pattern))
    copy_tree()
    configure()
    result = build(unit_tests())
    if result.returncode != 0:
        sys.exit(result.stdout)
    tests = good_tests(unit_tests())  # which have a command only now
    counts = [try_file(name, options.sample, tests) for name in files]
    made, noticed = (sum(column) for column in zip(*counts))
    if made:
        print(f"{noticed} of {made} faults noticed, {100 * noticed / made:.0f} %")


main()
