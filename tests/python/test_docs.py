"""The README's snippets and the Python example run as they are written."""

import ast
import enum
import os
import re
import subprocess
import sys

from conftest import ROOT


def readme_block(section, language):
    readme = (ROOT / "README.md").read_text()
    body = readme.split(f"## {section}\n", 1)[1].split("\n## ", 1)[0]
    return re.search(rf"```{language}\n(.*?)```", body, re.S).group(1)


def test_the_python_snippet_runs(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    exec(compile(readme_block("From Python", "python"), "README.md", "exec"), {})
    assert (tmp_path / "ramp.curve").exists()


def test_the_package_docstring_examples_hold():
    import doctest

    import exprcurve

    assert doctest.testmod(exprcurve).failed == 0


def test_the_c_snippet_is_the_example_that_the_tests_run():
    program = (ROOT / "examples" / "c" / "readme_example.c").read_text()
    assert readme_block("From C", "c") == program


def test_the_example_script_runs(tmp_path):
    script = ROOT / "examples" / "python" / "curves_and_expressions.py"
    result = subprocess.run([sys.executable, str(script), str(tmp_path / "plot.png")],
                            capture_output=True, text=True, cwd=tmp_path,
                            env={**os.environ, "MPLBACKEND": "Agg"})
    assert result.returncode == 0, result.stderr
    assert "Curve(points=5, pre='cycle', post='cycle')" in result.stdout



def stubbed_names(body):
    names = set()
    for node in body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            names.add(node.name)
        elif isinstance(node, (ast.AnnAssign, ast.Assign)):
            target = node.target if isinstance(node, ast.AnnAssign) else node.targets[0]
            names.add(target.id)
    return names


DUNDERS = {"__call__", "__len__", "__float__", "__copy__", "__deepcopy__"}


def public_members(cls):
    return {name for name in vars(cls)
            if name not in dir(object) and (not name.startswith("_") or name in DUNDERS)}


def stubbed_classes():
    stubs = ast.parse((ROOT / "python" / "exprcurve" / "__init__.pyi").read_text())
    return stubs.body, [node for node in stubs.body if isinstance(node, ast.ClassDef)]


def test_the_type_stubs_name_what_the_module_has():
    import exprcurve

    body, classes = stubbed_classes()
    assert {name for name in stubbed_names(body) if not name.startswith("_")} == \
        set(exprcurve.__all__) - {"__version__"}
    for node in classes:
        cls = getattr(exprcurve, node.name)
        stubbed = stubbed_names(node.body) - {"__init__"}
        if node.bases and ast.unparse(node.bases[0]) == "enum.IntEnum":
            assert stubbed == set(cls.__members__), node.name
            assert all(int(cls.__members__[name]) == int(ast.literal_eval(item.value))
                       for item in node.body if isinstance(item, ast.Assign)
                       for name in [item.targets[0].id]), node.name
        elif not node.bases:
            assert stubbed == public_members(cls), node.name


def test_every_class_and_method_has_a_docstring():
    import exprcurve

    for node in stubbed_classes()[1]:
        cls = getattr(exprcurve, node.name)
        assert (cls.__doc__ or "").strip(), node.name
        for member in public_members(cls) if not node.bases else ():
            assert (getattr(cls, member).__doc__ or "").strip(), f"{node.name}.{member}"
    for function in (exprcurve.lint, exprcurve.set_native_code_allowed):
        assert (function.__doc__ or "").strip(), function.__name__
