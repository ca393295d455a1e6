#include "controlpoints.h"

#include <cmath>
#include <limits>

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

namespace {

bool isSortedWithoutNaN(const std::vector<PointInfo*>& list)
{
    double previous = -std::numeric_limits<double>::infinity();
    for (const PointInfo* point : list) {
        if (!staysSortedWithoutNaN(previous, point->time))
            return false;
        previous = point->time;
    }
    return true;
}

}  // namespace

OrderedBuilder::OrderedBuilder(std::vector<PointInfo*>& list)
    : list(list), sortedWithoutNaN(isSortedWithoutNaN(list))
{
}

void OrderedBuilder::insert(PointInfo* point)
{
    const double time = point->time;
    if (std::isnan(time))
        sortedWithoutNaN = false;
    if (sortedWithoutNaN && (list.empty() || time > list.back()->time))
        list.push_back(point);
    else
        insertOrdered(list, point);
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
