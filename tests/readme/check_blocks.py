"""Checks that every code block in README.md is one a test runs: C++,
Python and JavaScript blocks word for word between the "readme: begin" and
"readme: end" markers of examples/readme (or the own-web-view example's
markers), which tests build and run against `lxfermo sim`; shell blocks are
the `./dev` commands CI runs, the pkg-config lines the install test runs, or
the sim commands readme.SimCommandsAsShown runs."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
readme = (root / "README.md").read_text()
blocks = re.findall(r"^```(\w*)\n(.*?)^```$", readme, re.S | re.M)


def regions(path, begin, end):
    text = path.read_text()
    pattern = r"^[^\n]*" + re.escape(begin) + r"[^\n]*\n(.*?)^[^\n]*" + re.escape(end)
    return re.findall(pattern, text, re.S | re.M)


examples = root / "examples"
tested = {
    "cpp": regions(examples / "readme/readme_snippets.cpp", "readme: begin", "readme: end")
    + regions(examples / "own-web-view/own_web_view.cpp", "own-web-view: begin", "own-web-view: end"),
    "python": regions(examples / "readme/readme_snippets.py", "readme: begin", "readme: end")
    + regions(examples / "python/own_web_view.py", "own-web-view: begin", "own-web-view: end"),
    "js": regions(examples / "readme/readme_snippets.js", "readme: begin", "readme: end"),
}


def shell_block_tested(block):
    commands = [line for line in block.splitlines() if line.strip()]
    if all(line.startswith("./dev ") for line in commands):
        return True
    if all("pkg-config" in line for line in commands):
        return True
    return any(line.startswith("lxfermo sim") for line in commands)


problems = []
for language, block in blocks:
    if language == "sh":
        ok = shell_block_tested(block)
    elif language in tested:
        ok = any(block in region or block.strip() == region.strip() for region in tested[language])
    else:
        ok = False
    if not ok:
        first = block.strip().splitlines()[0] if block.strip() else "(empty)"
        problems.append(f"a {language or 'plain'} block no test runs as it stands: {first}")
if not blocks:
    problems.append("no code blocks found")
for problem in problems:
    print(problem, file=sys.stderr)
sys.exit(1 if problems else 0)
