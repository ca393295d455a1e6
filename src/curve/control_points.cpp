#include "controlpoints.h"

#include "splinebase.h"

namespace exprcurve_detail {

unsigned int insertOrdered(std::vector<PointInfo*>& list, PointInfo* point)
{
    const double time = point->time;
    std::size_t index = 0;
    while (index < list.size() && time > list[index]->time)
        ++index;
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(index), point);
    return static_cast<unsigned int>(index);
}

void deleteAll(std::vector<PointInfo*>& list)
{
    for (PointInfo*& entry : list) {
        PointInfo* record = entry;
        entry = nullptr;
        delete record;
    }
    list.clear();
}

PointInfo* copyOf(const PointInfo& source, double time)
{
    PointInfo* copy = new PointInfo(source);
    copy->time = time;
    return copy;
}

}  // namespace exprcurve_detail
