// One-dimensional animation curves.
//
// A SplineBase maps a time to a value through a list of control points kept
// in ascending time. Each point carries the kind of the segment that ends at
// it (linear, bezier, TCB with ease, step); before the first and after the
// last point the two out-of-range modes apply.
//
// Ownership: the curve owns the PointInfo records it lists, except after
// copyRefs(), which shares another curve's records. Such a curve must be
// emptied with reset() before it is destroyed, cleared or loaded into.
//
// sample() evaluates a whole array of times with exactly the results of
// evaluating them one at a time, faster on a sorted list.
//
// Evaluation and the tangent queries write nothing, so an unchanging curve
// may be evaluated from several threads at once; the expression-driven
// evaluation writes host variables and is single-threaded.
#ifndef EXPRCURVE_SPLINEBASE_H
#define EXPRCURVE_SPLINEBASE_H

#include <cstddef>
#include <cstdio>
#include <iosfwd>
#include <vector>

class FunctionFloatBase;

namespace kv_spline {

// Kind of the segment that ends at a point. Any other stored code evaluates
// like TCB.
enum interpolationType : int { LINEAR = 0, BEZIER = 1, TCB = 2, STEP = 3 };

// Out-of-range modes. An unknown code behaves like EXTRAPOLATE_CONSTANT
// before the curve and like EXTRAPOLATE_CYCLE_OFFSET after it.
enum extrapolationType : int {
    EXTRAPOLATE_ZERO = 0,
    EXTRAPOLATE_CONSTANT = 1,
    EXTRAPOLATE_CYCLE = 2,
    EXTRAPOLATE_CYCLE_OFFSET = 3,
    EXTRAPOLATE_LINEAR = 4
};

}  // namespace kv_spline

// One control point: a plain record, created with new and destroyed with
// delete.
struct PointInfo {
    struct BezierData {
        double leftSlope;   // value units per time unit, arriving at the point
        double rightSlope;  // leaving the point
    };
    struct TcbData {
        double tension;
        double continuity;
        double bias;
        double easeFrom;  // ease at the start of the segment leaving the point
        double easeTo;    // ease at the end of the segment arriving at it
    };

    double time;
    double value;
    BezierData bezier;
    TcbData tcb;
    kv_spline::interpolationType type;
    bool flag;  // the host's own; stored, loaded and copied, never read
};

class SplineBase {
public:
    SplineBase();
    ~SplineBase();
    SplineBase(const SplineBase&) = delete;
    SplineBase& operator=(const SplineBase&) = delete;

    // ---- editing
    // Forgets the records without deleting them; restores the modes and
    // defaultValue.
    void reset();
    // Deletes every record; keeps the modes, defaultValue and curveFlag.
    void removeAllControlPoints();

    // Every insertion goes in front of the first point whose time is not
    // below the new one (so before equal times, and a NaN time goes first).
    unsigned int addPoint(PointInfo* point);  // takes ownership; returns the index
    PointInfo* addPointPtr(PointInfo* point);  // takes ownership; returns point
    void addPoint(const double& time, const double& value);
    void addPoint(const double& time, const double& value, const PointInfo::BezierData& bezier);
    // The point stays BEZIER; select the TCB segment with setType().
    void addPoint(const double& time, const double& value, const PointInfo::TcbData& tcb);
    void addPoint(const PointInfo& point);  // copies the record
    // Takes the record out of the list and gives it back to the caller.
    void remove(const PointInfo* point);

    bool isLinearInterpolation(const int& index) const;
    bool isBezierInterpolation(const int& index) const;
    bool isTCBInterpolation(const int& index) const;
    bool isStepInterpolation(const int& index) const;

    // 0 before (or at) the first point, the count after the last one, else
    // the segment i with time(i-1) < t <= time(i).
    unsigned int findIndex(const double& t) const;
    bool isInterior(const double& t) const;
    PointInfo* findBy(const double& t, const double& tolerance) const;
    PointInfo* getNext(const double& t) const;
    PointInfo* getPrev(const double& t) const;

    // Change the record the curve holds and move it to its sorted place.
    void setTime(const PointInfo* point, const double& time);
    void setType(const PointInfo* point, const kv_spline::interpolationType& type);

    // ---- evaluation
    // Built with assertions (Debug), evaluation stops on two assertions that
    // legal data can reach and a Release build evaluates (mostly to NaN):
    // a point time
    // that is infinite or NaN, times whose difference overflows (beyond about
    // 9e307), an ease value that is infinite, NaN or so large that a sum of
    // two overflows, or a list out of time order, in a bezier, TCB or
    // unknown-type segment ("s >= 0.0 && s <= 1.0" in hermiteBasis); the
    // same times, or points all at time 0 with the first at 0 and the last at
    // -0, when cycling after the curve ("numOffsets >= 1.0"). See
    // docs/reliability.md.
    double operator()(const double& t) const;
    // The curve plus `expression`, with the out-of-range modes applied to the
    // sum. Outside the curve it writes the time into the host variables of
    // the keys "t" and "f" (time * timeScale) of FunctionParserBase::instance()
    // before evaluating the expression, and leaves them as last written.
    double operator()(const double& t, FunctionFloatBase* expression, const double& timeScale);

    // ---- bulk evaluation
    // values[i] = (*this)(times[i]) for every i, bit for bit; `values` may be
    // `times` itself. The list is checked once: when its times never decrease
    // and none is NaN, each time's segment is found by walking on from the
    // previous one (ascending times cost O(points + times) in all) or by a
    // binary search, which gives the segment of the front-to-back scan on
    // such a list; otherwise each time is evaluated as operator() does.
    void sample(const double* times, double* values, std::size_t count) const;
    // values[i] = (*this)(times[i], expression, timeScale) for i = 0, 1, ...
    // in order, with the same writes of "t" and "f" and the same evaluations
    // of the expression per time, so the keys are left as the last of those
    // calls leaves them. The keys are looked up at most once per call; the
    // expression must change neither this curve nor the parser's keys.
    void sample(const double* times, double* values, std::size_t count,
                FunctionFloatBase* expression, const double& timeScale);
    std::vector<double> sample(const std::vector<double>& times) const;
    std::vector<double> sample(const std::vector<double>& times, FunctionFloatBase* expression,
                               const double& timeScale);

    double getLeftTan(const PointInfo* prev, const PointInfo* cur, const PointInfo* next) const;
    double getRightTan(const PointInfo* prev, const PointInfo* cur, const PointInfo* next) const;
    double getBruteLeftTan(const PointInfo* prev, const PointInfo* cur, const PointInfo* next) const;
    double getBruteRightTan(const PointInfo* prev, const PointInfo* cur,
                            const PointInfo* next) const;
    double getTangentLeftAtNode(const unsigned int& index, double& ratio) const;
    double getTangentRightAtNode(const unsigned int& index, double& ratio) const;

    // ---- persistence
    // A failed read (end of data, unparsable number) stops a load: the points
    // completed so far are kept, a failed count counts as zero, and the
    // stream's fail state (or the FILE's feof/ferror) is left for the caller
    // to test. Nothing is ever reserved from a count read from the data.
    static SplineBase* load(std::ifstream& in);
    static void load(SplineBase* target, std::ifstream& in);
    static void save(SplineBase& curve, std::ofstream& out);
    void load(FILE* file, const unsigned int& version);
    void save(FILE* file);

    // ---- copying. A source that is this curve is read from a snapshot
    // taken before the call.
    void copy(const SplineBase& source);
    void copyDup(const SplineBase& source, const double& offset);
    void copyRefs(const SplineBase& source);
    void copySelected(const SplineBase& source, const std::vector<const PointInfo*>& selection);
    std::vector<const PointInfo*> combine(const SplineBase& source, const double& offset);

    int preExtrapolation;   // a kv_spline::extrapolationType code
    int postExtrapolation;  // a kv_spline::extrapolationType code
    double defaultValue;    // the value of a curve without points
    bool curveFlag;         // the host's own
    bool modified;          // set whenever the list is replaced as a whole
    std::vector<PointInfo*> controlPoints;
};

#endif  // EXPRCURVE_SPLINEBASE_H
