#include "exact_copy.h"

#include <memory>

#include "splinebase.h"

namespace exprcurve {

void copyExactly(const SplineBase& source, SplineBase& target)
{
    target.controlPoints.reserve(source.controlPoints.size());
    for (const PointInfo* point : source.controlPoints)
        target.controlPoints.push_back(std::make_unique<PointInfo>(*point).release());
    target.preExtrapolation = source.preExtrapolation;
    target.postExtrapolation = source.postExtrapolation;
    target.defaultValue = source.defaultValue;
    target.curveFlag = source.curveFlag;
}

}  // namespace exprcurve
