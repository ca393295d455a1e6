#!/usr/bin/env bash
# Installs the Python package into a fresh virtual environment made from the
# system's Python with its site packages (NumPy, pytest, pybind11 come from
# Debian), once with `pip install .` and once without build isolation, and
# runs the pytest suite (the README's snippets and the example included).
#   .ci/python-tests.sh [TOOL]   TOOL: the exprcurve tool that the results are
#                                compared with (default: the `test` preset's)
set -euo pipefail
cd "$(dirname "$0")/.."

tool=${1:-build/test/tools/exprcurve}
[ -x "$tool" ] || cmake --workflow --preset test >/dev/null
venv=build/python-venv
rm -rf "$venv"
/usr/bin/python3 -m venv --system-site-packages "$venv"

echo "== pip install ."
"$venv/bin/python" -m pip install --quiet .
"$venv/bin/python" -c "import exprcurve; print('exprcurve', exprcurve.__version__)"
echo "== pip install --no-build-isolation ."
"$venv/bin/python" -m pip install --quiet --no-build-isolation --force-reinstall --no-deps .

echo "== pytest"
EXPRCURVE_TOOL="$(realpath "$tool")" EXPRCURVE_REQUIRE_TOOL=1 \
  "$venv/bin/python" -m pytest -q -p no:cacheprovider tests/python
