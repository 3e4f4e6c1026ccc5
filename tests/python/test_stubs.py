"""The stubs say what the module has, and mypy takes them and the examples, where it is installed."""
import ast
import inspect
import pathlib
import shutil
import subprocess
import sys

import pytest

import kvmath
from kvmath import _core

PACKAGE = pathlib.Path(kvmath.__file__).parent
REPOSITORY = pathlib.Path(__file__).parents[2]
EXAMPLES = REPOSITORY / "examples" / "python"


def is_public(name):
    return not name.startswith("_")


def test_stubs_and_module_have_the_same_names():
    tree = ast.parse((PACKAGE / "_core.pyi").read_text())
    functions = {node.name for node in tree.body if isinstance(node, ast.FunctionDef)}
    classes = {node.name: {member.name for member in node.body if isinstance(member, ast.FunctionDef)}
               for node in tree.body if isinstance(node, ast.ClassDef) and node.name != "Error"}
    assert functions == {name for name, made in vars(_core).items() if inspect.isroutine(made)}
    assert set(classes) == {name for name, made in vars(_core).items() if inspect.isclass(made) and name != "Error"}
    for name, members in classes.items():
        there = {member for member in vars(getattr(_core, name)) if is_public(member)}
        assert {member for member in members if is_public(member)} == there, name


def test_everything_public_says_what_it_is():
    for name in kvmath.__all__:
        made = getattr(kvmath, name)
        assert made.__doc__ and made.__doc__.strip(), name
        for member, value in vars(made).items() if inspect.isclass(made) and name != "Error" else ():
            if is_public(member) and isinstance(value, property):
                assert value.__doc__, f"{name}.{member}"
    assert all(is_public(name) for name in kvmath.__all__) and sorted(set(kvmath.__all__)) == sorted(kvmath.__all__)


def test_the_page_of_reference_is_up_to_date():
    done = subprocess.run([sys.executable, REPOSITORY / "tools" / "python_reference.py", "--check",
                           REPOSITORY / "docs" / "python_reference.md"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr


@pytest.mark.skipif(shutil.which("mypy") is None, reason="mypy is not installed")
def test_mypy_takes_the_package_and_the_examples(tmp_path):
    done = subprocess.run(["mypy", "--strict", "--no-error-summary", f"--cache-dir={tmp_path}",
                           *sorted(map(str, EXAMPLES.glob("*.py")))], cwd=PACKAGE.parent, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout
