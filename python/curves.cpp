// Curves for Python.
//
// sample() runs without the interpreter lock, so other Python threads go on
// (and may sample the same curve) meanwhile. Edits happen under the
// interpreter lock and also take the curve's own lock exclusively, which
// such samplers hold shared: an edit waits for them, and they never see a
// half-edited list.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include <pybind11/numpy.h>

#include "bindings.h"
#include "compiledcurve.h"
#include "curve_files.h"
#include "exact_copy.h"
#include "splinebase.h"

namespace exprcurve_python {

namespace {

// One point as NumPy sees it in Curve.points.
struct PointRecord {
    double time;
    double value;
    std::int32_t kind;
    double left_slope;
    double right_slope;
    double tension;
    double continuity;
    double bias;
    double ease_from;
    double ease_to;
    bool flag;
};

struct Curve {
    SplineBase spline;
    mutable std::shared_mutex samplers;
};

using ContiguousDoubles = py::array_t<double, py::array::c_style | py::array::forcecast>;

const char* const kindNames[] = {"linear", "bezier", "tcb", "step"};
const char* const modeNames[] = {"zero", "constant", "cycle", "cycle_offset", "linear"};

// A kind or mode given as its enum, its code or its name ("linear",
// "cycle_offset", ...).
template <std::size_t Count>
int codeOf(const py::handle& given, const char* const (&names)[Count], const char* what)
{
    if (py::isinstance<py::str>(given)) {
        const std::string name = py::str(given.attr("lower")()).cast<std::string>();
        for (std::size_t code = 0; code < Count; ++code) {
            if (name == names[code])
                return static_cast<int>(code);
        }
        throw py::value_error(std::string("unknown ") + what + " '" + name + "'");
    }
    return py::reinterpret_borrow<py::object>(given).cast<int>();
}

// pybind11 enums answer any code, so a mode loaded from a file that is
// none of the five still reads back as a Mode.
py::object modeObject(int code)
{
    return py::module_::import("exprcurve._exprcurve").attr("Mode")(code);
}

unsigned int binaryVersion(const py::object& version)
{
    return version.is_none() ? 0u : version.cast<unsigned int>();
}

// OSError picks its subclass from the error number (FileNotFoundError,
// PermissionError, ...); a file that ends early or holds no number is an
// OSError with the library's account of it.
[[noreturn]] void raiseFileError(const exprcurve::FileOutcome& outcome, const std::string& path)
{
    py::object error =
        outcome.systemError != 0
            ? py::reinterpret_borrow<py::object>(PyExc_OSError)(
                  outcome.systemError, std::strerror(outcome.systemError), path)
            : py::reinterpret_borrow<py::object>(PyExc_OSError)(outcome.message);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
    throw py::error_already_set();
}

std::unique_ptr<Curve> loadCurve(const py::object& path, const py::object& version)
{
    auto curve = std::make_unique<Curve>();
    const std::string file = pathText(path);
    const exprcurve::FileOutcome outcome =
        exprcurve::loadCurveFile(curve->spline, file, binaryVersion(version));
    if (!outcome.ok)
        raiseFileError(outcome, file);
    return curve;
}

void saveCurve(Curve& curve, const py::object& path, const py::object& version)
{
    const unsigned int layout = binaryVersion(version);
    if (layout != 0 && layout < exprcurve::newestBinaryLayout)
        throw py::value_error("binary files are written in the layout of version " +
                              std::to_string(exprcurve::newestBinaryLayout) +
                              " and later, not " + std::to_string(layout));
    if (layout == 0) {
        const std::string unfit = exprcurve::textUnfitness(curve.spline);
        if (!unfit.empty())
            throw py::value_error(unfit);
    }
    const std::string file = pathText(path);
    const exprcurve::FileOutcome outcome = exprcurve::saveCurveFile(curve.spline, file, layout);
    if (!outcome.ok)
        raiseFileError(outcome, file);
}

std::size_t addPoint(Curve& curve, double time, double value, const py::object& kind,
                     double leftSlope, double rightSlope, double tension, double continuity,
                     double bias, double easeFrom, double easeTo, bool flag)
{
    auto point = std::make_unique<PointInfo>();
    point->time = time;
    point->value = value;
    point->type = static_cast<kv_spline::interpolationType>(codeOf(kind, kindNames, "kind"));
    point->bezier = PointInfo::BezierData{leftSlope, rightSlope};
    point->tcb = PointInfo::TcbData{tension, continuity, bias, easeFrom, easeTo};
    point->flag = flag;
    const std::unique_lock<std::shared_mutex> editing(curve.samplers);
    curve.spline.controlPoints.reserve(curve.spline.controlPoints.size() + 1);
    return curve.spline.addPoint(point.release());
}

void removePoint(Curve& curve, py::ssize_t index)
{
    const auto count = static_cast<py::ssize_t>(curve.spline.controlPoints.size());
    if (index < 0)
        index += count;
    if (index < 0 || index >= count)
        throw py::index_error("point index out of range");
    const std::unique_lock<std::shared_mutex> editing(curve.samplers);
    const PointInfo* record = curve.spline.controlPoints[static_cast<std::size_t>(index)];
    curve.spline.remove(record);  // hands the record back to us
    delete record;
}

py::array_t<PointRecord> points(const Curve& curve)
{
    const std::vector<PointInfo*>& list = curve.spline.controlPoints;
    py::array_t<PointRecord> records(static_cast<py::ssize_t>(list.size()));
    // Field by field into zeroed memory: the records' padding bytes are part
    // of the array's buffer too.
    PointRecord* out = records.mutable_data();
    std::memset(out, 0, list.size() * sizeof(PointRecord));
    for (const PointInfo* point : list) {
        out->time = point->time;
        out->value = point->value;
        out->kind = point->type;
        out->left_slope = point->bezier.leftSlope;
        out->right_slope = point->bezier.rightSlope;
        out->tension = point->tcb.tension;
        out->continuity = point->tcb.continuity;
        out->bias = point->tcb.bias;
        out->ease_from = point->tcb.easeFrom;
        out->ease_to = point->tcb.easeTo;
        out->flag = point->flag;
        ++out;
    }
    records.attr("setflags")(py::arg("write") = false);
    return records;
}

// values of the times' shape, filled by `fill(times, values, count)` without
// the interpreter lock.
template <class Fill>
py::array_t<double> sampleArray(const py::handle& given, Fill&& fill)
{
    const ContiguousDoubles times = ContiguousDoubles::ensure(given);
    if (!times)
        throw py::type_error("the times are not an array of numbers");
    py::array_t<double> values(std::vector<py::ssize_t>(times.shape(), times.shape() + times.ndim()));
    const double* in = times.data();
    double* out = values.mutable_data();
    const auto count = static_cast<std::size_t>(times.size());
    {
        const py::gil_scoped_release released;
        fill(in, out, count);
    }
    return values;
}

py::array_t<double> sample(const Curve& curve, const py::handle& given)
{
    return sampleArray(given, [&](const double* in, double* out, std::size_t count) {
        const std::shared_lock<std::shared_mutex> sampling(curve.samplers);
        curve.spline.sample(in, out, count);
    });
}

std::unique_ptr<Curve> copyOf(const Curve& curve)
{
    auto copy = std::make_unique<Curve>();
    exprcurve::copyExactly(curve.spline, copy->spline);
    return copy;
}

std::string describe(const Curve& curve)
{
    const auto modeName = [](int code) {
        return code >= 0 && code < 5 ? std::string("'") + modeNames[code] + "'"
                                     : std::to_string(code);
    };
    return "Curve(points=" + std::to_string(curve.spline.controlPoints.size()) +
           ", pre=" + modeName(curve.spline.preExtrapolation) +
           ", post=" + modeName(curve.spline.postExtrapolation) + ")";
}

void bindEnums(py::module_& module)
{
    py::enum_<kv_spline::interpolationType>(module, "Kind", py::arithmetic(),
                                            "The kind of the segment that ends at a point.")
        .value("LINEAR", kv_spline::LINEAR)
        .value("BEZIER", kv_spline::BEZIER, "Hermite with the points' own slopes.")
        .value("TCB", kv_spline::TCB, "Tension, continuity and bias, with ease.")
        .value("STEP", kv_spline::STEP, "Holds the previous point's value.");
    py::enum_<kv_spline::extrapolationType>(module, "Mode", py::arithmetic(),
                                            "What a curve gives before its first or after its "
                                            "last point.")
        .value("ZERO", kv_spline::EXTRAPOLATE_ZERO)
        .value("CONSTANT", kv_spline::EXTRAPOLATE_CONSTANT, "The end point's value.")
        .value("CYCLE", kv_spline::EXTRAPOLATE_CYCLE, "The curve repeated.")
        .value("CYCLE_OFFSET", kv_spline::EXTRAPOLATE_CYCLE_OFFSET,
               "The curve repeated, each repetition shifted by the change over one.")
        .value("LINEAR", kv_spline::EXTRAPOLATE_LINEAR, "Continued along the end tangent.");
}

// The runtime form never changes, so it needs no lock of its own.
void bindCompiledCurve(py::module_& module)
{
    using exprcurve::CompiledCurve;
    py::class_<CompiledCurve>(module, "CompiledCurve",
                              "The runtime form of a Curve: a snapshot of the curve as it stood "
                              "when made, with the same values bit for bit, whose lookups search "
                              "instead of scanning. It never changes, so any number of threads "
                              "may sample it at once.")
        .def(py::init([](const Curve& curve) { return CompiledCurve(curve.spline); }),
             py::arg("curve"))
        .def(
            "__call__", [](const CompiledCurve& self, double t) { return self(t); }, py::arg("t"),
            "The curve's value at time `t`, as the curve stood.")
        .def(
            "sample",
            [](const CompiledCurve& self, const py::handle& times) {
                return sampleArray(times, [&](const double* in, double* out, std::size_t count) {
                    self.sample(in, out, count);
                });
            },
            py::arg("times"), "As Curve.sample, for the curve as it stood.")
        .def("__len__", &CompiledCurve::size)
        .def("__repr__", [](const CompiledCurve& self) {
            return "CompiledCurve(points=" + std::to_string(self.size()) + ")";
        });
}

void bindModeProperty(py::class_<Curve>& curve, const char* name, int SplineBase::*mode,
                      const char* doc)
{
    curve.def_property(
        name, [mode](const Curve& self) { return modeObject(self.spline.*mode); },
        [mode](Curve& self, const py::object& value) {
            const int code = codeOf(value, modeNames, "mode");
            const std::unique_lock<std::shared_mutex> editing(self.samplers);
            self.spline.*mode = code;
        },
        doc);
}

}  // namespace

void bindCurves(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(PointRecord, time, value, kind, left_slope, right_slope, tension,
                         continuity, bias, ease_from, ease_to, flag);
    bindEnums(module);
    bindCompiledCurve(module);
    py::class_<Curve> curve(module, "Curve",
                            "A 1-D animation curve: points in time order, each with the kind of "
                            "the segment that ends at it, and a mode before and after them.");
    curve.def(py::init<>())
        .def_static("load", &loadCurve, py::arg("path"), py::arg("version") = py::none(),
                    "Loads a curve file: text when `version` is None, else binary data of that "
                    "version. Raises OSError when the file cannot be read or ends early.")
        .def("save", &saveCurve, py::arg("path"), py::arg("version") = py::none(),
             "Saves the curve: as text (17 significant digits, so it loads back bit for bit) "
             "when `version` is None, else in the binary layout, which readers from version "
             "3027 on understand. A curve holding a number that is infinite, NaN or subnormal "
             "cannot be saved as text (the text reader refuses such numbers): ValueError.")
        .def("add_point", &addPoint, py::arg("time"), py::arg("value"),
             py::arg("kind") = "linear", py::kw_only(), py::arg("left_slope") = 0.0,
             py::arg("right_slope") = 0.0, py::arg("tension") = 0.0,
             py::arg("continuity") = 0.0, py::arg("bias") = 0.0, py::arg("ease_from") = 0.0,
             py::arg("ease_to") = 0.0, py::arg("flag") = false,
             "Adds a point and returns its index. It goes before any point at the same time. "
             "`kind` is a Kind or its name.")
        .def("remove_point", &removePoint, py::arg("index"), "Removes the point at `index`.")
        .def(
            "clear",
            [](Curve& self) {
                const std::unique_lock<std::shared_mutex> editing(self.samplers);
                self.spline.removeAllControlPoints();
            },
            "Removes every point; the modes and the default value stay.")
        .def("__len__", [](const Curve& self) { return self.spline.controlPoints.size(); })
        .def_property_readonly("points", &points,
                               "A read-only structured array of the points, one record per "
                               "point with the fields time, value, kind, left_slope, "
                               "right_slope, tension, continuity, bias, ease_from, ease_to and "
                               "flag.")
        .def_property(
            "default_value", [](const Curve& self) { return self.spline.defaultValue; },
            [](Curve& self, double value) {
                const std::unique_lock<std::shared_mutex> editing(self.samplers);
                self.spline.defaultValue = value;
            },
            "The value of the curve while it has no points.")
        .def(
            "__call__", [](const Curve& self, double t) { return self.spline(t); }, py::arg("t"),
            "The curve's value at time `t`.")
        .def("sample", &sample, py::arg("times"),
             "The curve's value at each time of an array (any numeric dtype and shape), as a "
             "float64 array of the same shape; each value has the bits of calling the curve at "
             "that time. Other Python threads run meanwhile.")
        .def(
            "compile", [](const Curve& self) { return exprcurve::CompiledCurve(self.spline); },
            "The curve's runtime form (a CompiledCurve): a snapshot that answers faster, for "
            "a curve sampled many times between edits.")
        .def("copy", &copyOf, "An independent copy: points, modes and default value.")
        .def("__copy__", &copyOf)
        .def("__deepcopy__", [](const Curve& self, const py::dict&) { return copyOf(self); })
        .def("__repr__", &describe);
    bindModeProperty(curve, "pre", &SplineBase::preExtrapolation,
                     "The Mode before the first point (a Mode, its name or its code).");
    bindModeProperty(curve, "post", &SplineBase::postExtrapolation,
                     "The Mode after the last point (a Mode, its name or its code).");
}

}  // namespace exprcurve_python
