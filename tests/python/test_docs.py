"""The README's snippets and the Python example run as they are written."""

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
