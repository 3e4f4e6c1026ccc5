#!/usr/bin/env python3
"""Writes docs/python_reference.md: every name of the Python module, its signature from the stubs and its docstring.

usage: python_reference.py PAGE | python_reference.py --check PAGE

The built module must be in PYTHONPATH. --check changes nothing; exit code 1 when the page is not what would be written.
"""

import ast
import inspect
import pathlib
import re
import sys

import kvmath

PACKAGE = pathlib.Path(kvmath.__file__).parent
HEAD = """# Reference of the Python module

Every name of `kvmath`, from its stubs and docstrings (`tools/python_reference.py` writes this page). What arrays, results and errors are like stands
in [Measuring from Python](python.md). Lengths are mm, angles degrees, unless a line says otherwise.
"""


def definitions():
    """Nodes of the stubs and of the sources in Python, by name."""
    found = {}
    for path in (PACKAGE / "_core.pyi", *sorted(PACKAGE.glob("_*.py"))):
        for node in ast.parse(path.read_text()).body:
            if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
                found.setdefault(node.name, node)
    return found


def groups():
    """[(title, names)] of __all__, whose comments are the titles."""
    text = (PACKAGE / "__init__.py").read_text().split("__all__ = [")[1].split("]")[0]
    pairs = re.split(r"\n\s*# (.*)\n", "\n" + text)
    return [(pairs[i], sorted(re.findall(r'"(\w+)"', pairs[i + 1]), key=str.lower)) for i in range(1, len(pairs), 2)]


def words(made, name):
    """The docstring without the signature that the compiled part puts in front."""
    lines = inspect.cleandoc(made.__doc__ or "").splitlines()
    if lines and lines[0].startswith(f"{name}("):
        lines = lines[1:]
    return "\n".join(lines).strip()


def signature(node, name):
    arguments = [a for a in node.args.posonlyargs + node.args.args if a.arg != "self"]
    made = ast.arguments(node.args.posonlyargs[:0], arguments, node.args.vararg, node.args.kwonlyargs,
                         node.args.kw_defaults, node.args.kwarg, node.args.defaults)
    returns = f" -> {ast.unparse(node.returns)}" if node.returns is not None and node.name != "__init__" else ""
    return f"{name}({ast.unparse(made)}){returns}".replace("_core.", "")


def block(text):
    """Paragraphs as they are; what is laid out in columns stays so."""
    return "" if not text else f"\n```text\n{text}\n```\n"


def entry_of_class(name, made, node):
    lines = [f"\n### {name}\n", block(words(made, name))]
    rows = []
    for member in node.body if node is not None else ():
        if not isinstance(member, ast.FunctionDef) or (member.name.startswith("_") and member.name != "__init__"):
            continue
        if member.name == "__init__":
            if made.__module__ == "kvmath" and inspect.isclass(made):
                rows.append((signature(member, name), words(made.__init__, "__init__")))
        elif isinstance(vars(made).get(member.name), property):
            rows.append((f"{member.name}: {ast.unparse(member.returns)}", words(vars(made)[member.name], member.name)))
        else:
            rows.append((signature(member, member.name), words(getattr(made, member.name), member.name)))
    if rows:
        lines.append("\n| | |\n|---|---|\n")
        for code, text in rows:  # no bar but those between the cells
            lines.append(f"| `{code.replace(' | ', ' or ')}` | {' '.join(text.split()).replace('|', '&#124;')} |\n")
    return "".join(lines)


def page():
    nodes = definitions()
    text = HEAD
    for title, names in groups():
        text += f"\n## {title[0].upper()}{title[1:]}\n"
        for name in names:
            made, node = getattr(kvmath, name), nodes.get(name)
            if inspect.isclass(made):
                text += entry_of_class(name, made, node)
            else:
                text += f"\n### {name}\n\n```python\n{signature(node, name)}\n```\n{block(words(made, name))}"
    return text


def main():
    arguments = sys.argv[1:]
    is_check = arguments[:1] == ["--check"]
    if len(arguments) != 1 + is_check or arguments[-1].startswith("-"):
        sys.exit(__doc__)
    path = pathlib.Path(arguments[-1])
    if not is_check:
        path.write_text(page(), encoding="utf-8")
    elif not path.exists() or path.read_text(encoding="utf-8") != page():
        sys.exit(f"python_reference: {path} is not up to date; write it with tools/python_reference.py {path}")


if __name__ == "__main__":
    main()
