// Builds a curve with every segment kind and prints its values over a range
// that reaches past both ends, where the out-of-range modes take over.
#include "splinebase.h"

#include <cstdio>

int main()
{
    SplineBase curve;

    // The segment kind belongs to the point that ends the segment.
    curve.addPoint(0.0, 0.0);  // first point: its kind is never used

    PointInfo::BezierData slopes{0.0, 4.0};
    curve.addPoint(1.0, 2.0, slopes);  // bezier segment 0..1, arriving flat

    curve.addPoint(2.0, 1.0);  // linear segment 1..2
    curve.setType(curve.findBy(2.0, 0.5), kv_spline::LINEAR);

    PointInfo::TcbData tcb{0.0, 0.0, 0.0, 0.3, 0.3};
    curve.addPoint(3.0, 3.0, tcb);  // TCB segment 2..3 with ease
    curve.setType(curve.findBy(3.0, 0.5), kv_spline::TCB);

    curve.addPoint(4.0, 0.5);  // step segment 3..4
    curve.setType(curve.findBy(4.0, 0.5), kv_spline::STEP);

    curve.preExtrapolation = kv_spline::EXTRAPOLATE_CONSTANT;
    curve.postExtrapolation = kv_spline::EXTRAPOLATE_CYCLE_OFFSET;

    std::printf("%8s  %12s  %s\n", "time", "value", "where");
    for (int step = -2; step <= 22; ++step) {
        const double t = step * 0.25;
        const unsigned int segment = curve.findIndex(t);
        const char* where = segment == 0 ? "before (hold)"
                          : segment == curve.controlPoints.size() ? "after (cycle+offset)"
                          : curve.isLinearInterpolation(static_cast<int>(segment)) ? "linear"
                          : curve.isBezierInterpolation(static_cast<int>(segment)) ? "bezier"
                          : curve.isTCBInterpolation(static_cast<int>(segment)) ? "tcb"
                          : "step";
        std::printf("%8.2f  %12.6f  %s\n", t, curve(t), where);
    }
    return 0;
}
