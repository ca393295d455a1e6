"""The package's build backend (PEP 517): CMake builds the extension module
and this file writes the wheel itself, so that `pip install .` needs nothing
from a package index, with or without build isolation.

Besides CMake and a C++17 compiler, the build needs pybind11's CMake files
(Debian: pybind11-dev) and the Python headers (python3-dev).

Settings (`pip install . --config-settings NAME=VALUE`, or the environment):
  build-dir   EXPRCURVE_PYTHON_BUILD_DIR   CMake's build directory
                                            (default: build/python-TAG in the source)
  jobs        EXPRCURVE_PYTHON_BUILD_JOBS  parallel compile jobs (default: 2)
"""

import base64
import hashlib
import io
import os
import re
import subprocess
import sys
import sysconfig
import tarfile
import zipfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[1]
PACKAGE = SOURCE / "python" / "exprcurve"
NAME = "exprcurve"
SUMMARY = "Expressions and 1-D animation curves, with NumPy, exact to the last bit"
# What an sdist needs to build a wheel again.
SDIST_PARTS = ["CMakeLists.txt", "pyproject.toml", "README.md", "cmake", "include", "src", "python"]


def _version():
    cmake_lists = (SOURCE / "CMakeLists.txt").read_text()
    return re.search(r"project\(exprcurve VERSION ([0-9.]+)", cmake_lists).group(1)


def _dependencies():
    pyproject = (SOURCE / "pyproject.toml").read_text()
    block = re.search(r"^dependencies\s*=\s*\[(.*?)\]", pyproject, re.M | re.S)
    return re.findall(r'"([^"]+)"', block.group(1)) if block else []


def _metadata():
    lines = ["Metadata-Version: 2.1", f"Name: {NAME}", f"Version: {_version()}",
             f"Summary: {SUMMARY}", "Requires-Python: >=3.8"]
    lines += [f"Requires-Dist: {dependency}" for dependency in _dependencies()]
    lines += ["Description-Content-Type: text/markdown", "", (SOURCE / "README.md").read_text()]
    return "\n".join(lines)


def _tag():
    version = f"{sys.version_info.major}{sys.version_info.minor}"
    interpreter = ("cp" if sys.implementation.name == "cpython" else "pp") + version
    abi = interpreter + getattr(sys, "abiflags", "")
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    return f"{interpreter}-{abi}-{platform}"


def _setting(config_settings, name, variable, default):
    return (config_settings or {}).get(name) or os.environ.get(variable) or default


def _build_extension(config_settings):
    build_dir = Path(_setting(config_settings, "build-dir", "EXPRCURVE_PYTHON_BUILD_DIR",
                              SOURCE / "build" / f"python-{_tag()}"))
    jobs = str(_setting(config_settings, "jobs", "EXPRCURVE_PYTHON_BUILD_JOBS", 2))
    configure = ["cmake", "-S", str(SOURCE), "-B", str(build_dir),
                 "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_SHARED_LIBS=OFF",
                 "-DCMAKE_POSITION_INDEPENDENT_CODE=ON", "-DEXPRCURVE_BUILD_TESTS=OFF",
                 "-DEXPRCURVE_BUILD_TOOLS=OFF", "-DEXPRCURVE_BUILD_PYTHON=ON",
                 "-DPYBIND11_FINDPYTHON=ON", f"-DPython_EXECUTABLE={sys.executable}"]
    try:
        import pybind11  # the Python package knows where its CMake files are
        configure.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
    except ImportError:
        pass  # pybind11-dev's CMake files are found on the system's paths
    # The frontend reads our standard output; CMake's chatter goes to stderr.
    for command in (configure, ["cmake", "--build", str(build_dir), "--target", "_exprcurve",
                                "--parallel", jobs]):
        subprocess.run(command, check=True, stdout=sys.stderr)
    suffix = sysconfig.get_config_var("EXT_SUFFIX")
    built = sorted(build_dir.rglob(f"_exprcurve{suffix}"))
    if not built:
        raise RuntimeError(f"the build made no _exprcurve{suffix} in {build_dir}")
    return built[0]


def _record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}"


def _dist_info():
    return f"{NAME}-{_version()}.dist-info"


def _write_metadata_files(directory):
    info = Path(directory) / _dist_info()
    info.mkdir(parents=True, exist_ok=True)
    (info / "METADATA").write_text(_metadata())
    return info.name


# ---- PEP 517 hooks

def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    return _write_metadata_files(metadata_directory)


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    module = _build_extension(config_settings)
    files = {f"{NAME}/{path.name}": path.read_bytes()
             for path in sorted(PACKAGE.iterdir()) if path.suffix in (".py", ".pyi", ".typed")}
    files[f"{NAME}/{module.name}"] = module.read_bytes()
    info = _dist_info()
    files[f"{info}/METADATA"] = _metadata().encode()
    files[f"{info}/WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: {NAME}-build\n"
                              f"Root-Is-Purelib: false\nTag: {_tag()}\n").encode()
    record = [_record_line(name, data) for name, data in files.items()]
    files[f"{info}/RECORD"] = ("\n".join(record + [f"{info}/RECORD,,"]) + "\n").encode()

    wheel_name = f"{NAME}-{_version()}-{_tag()}.whl"
    with zipfile.ZipFile(Path(wheel_directory) / wheel_name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name, date_time=(2020, 1, 1, 0, 0, 0))
            entry.external_attr = (0o755 if name.endswith(".so") else 0o644) << 16
            wheel.writestr(entry, data, zipfile.ZIP_DEFLATED)
    return wheel_name


def build_sdist(sdist_directory, config_settings=None):
    base = f"{NAME}-{_version()}"
    archive_name = f"{base}.tar.gz"

    def skip_build_products(info):
        return None if "/build/" in f"/{info.name}/" or "__pycache__" in info.name else info

    with tarfile.open(Path(sdist_directory) / archive_name, "w:gz") as archive:
        for part in SDIST_PARTS:
            archive.add(SOURCE / part, arcname=f"{base}/{part}", filter=skip_build_products)
        pkg_info = _metadata().encode()
        entry = tarfile.TarInfo(f"{base}/PKG-INFO")
        entry.size = len(pkg_info)
        archive.addfile(entry, io.BytesIO(pkg_info))
    return archive_name
