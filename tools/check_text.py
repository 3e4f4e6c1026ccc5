#!/usr/bin/env python3
"""Checks that no text of a user is taken for a pattern.

A chain QString("%1: %2").arg(name).arg(count) fills a "%2" in the name too. So in the folders below every .arg()
stands once, behind QString("a literal pattern") or QStringLiteral(); filledIn() of kvmeasure/base/filled_in.h and trace() of
kvmath/base/trace_p.h take any number of values. Prints one line per fault; exit code 1 when there is any.

usage: check_text.py [ROOT] | check_text.py --self-test
"""

import pathlib
import re
import sys

FOLDERS = ("kvmath", "kvmeasure", "cli", "simulator")
LITERAL = r'"(?:\\.|[^"\\])*"'
TOKEN = re.compile(rf"//[^\n]*|/\*.*?\*/|R\"(?P<raw>\w*)\(.*?\)(?P=raw)\"|{LITERAL}|'(?:\\.|[^'\\])'", re.DOTALL)
PATTERN = re.compile(r'QString(Literal)?\(\s*("[^"]*"\s*)+\)\s*$')


def blanked(text):
    """The text with comments emptied and literals filled with underscores, at the same places."""
    def blank(match):
        token = match.group(0)
        if token.startswith("/"):
            return re.sub(r"[^\n]", " ", token)
        return token[0] + re.sub(r"[^\n]", "_", token[1:-1]) + token[-1] if token[0] == '"' else re.sub(r"[^\n]", "_", token)
    return TOKEN.sub(blank, text)


def end_of_call(text, opening):
    depth = 0
    for i in range(opening, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i + 1
    return len(text)


def faults(name, text):
    text = blanked(text)
    inChain = set()
    for call in re.finditer(r"\.arg\(", text):
        place = f"{name}:{text.count(chr(10), 0, call.start()) + 1}"
        end = end_of_call(text, call.end() - 1)
        following = re.match(r"\s*(?=\.arg\()", text[end:])
        if following:
            inChain.add(end + following.end())
            yield f"{place}: a chain of .arg(); take filledIn() or one .arg() of strings"
        if call.start() not in inChain and not PATTERN.search(text[:call.start()]):
            yield f"{place}: .arg() of something else than a literal pattern; take filledIn()"


def self_test():
    """Each planted fault is found, and nothing else."""
    good = ['QString("%1: %2").arg(name, text)', 'QString("%1 (%2)"\n  " of %3").arg(f(a), g(b), c)', 'filledIn("%1", n)',
            'QStringLiteral("%1").arg(n)', '// QString("%1").arg(a).arg(b)', 'QString("a \\"%1\\" .arg(x).arg(").arg(count)', 'arguments.argument(1)']
    planted = ['QString("%1 %2").arg(a).arg(b)', 'QStringLiteral("%1 %2").arg(a).arg(b)', 'QString("%1 %2")\n    .arg(f(a, ")"))\n    .arg(b)', "text.arg(name)", "f(path).arg(name)"]
    for text in good:
        assert list(faults("", text)) == [], (text, list(faults("", text)))
    for text in planted:
        assert list(faults("", text)) != [], text
    print(f"check_text: all {len(planted)} planted faults found")
    return 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parent.parent
    paths = [path for folder in FOLDERS for path in sorted((root / folder).rglob("*")) if path.suffix in (".h", ".cpp")]
    found = [fault for path in paths
             for fault in faults(path.relative_to(root).as_posix(), path.read_text(encoding="utf-8"))]
    print("\n".join(found) if found else f"check_text: {len(paths)} files, every pattern is a literal and filled once")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
