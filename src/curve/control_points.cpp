#include "control_points.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "splinebase.h"

namespace exprcurve::curves {

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

bool hasNaNTime(const PointInfo* point)
{
    return std::isnan(point->time);
}

// Whether every point arrived after the one before it in time (no NaN, no
// equal times), so that each was appended.
bool arrivedInOrder(const std::vector<PointInfo*>& list)
{
    for (std::size_t i = 1; i < list.size(); ++i) {
        if (!(list[i]->time > list[i - 1]->time))
            return false;
    }
    return true;
}

}  // namespace

OrderedBuilder::OrderedBuilder(std::vector<PointInfo*>& list) : list(list)
{
    assert(list.empty());
}

// Reversed, the arrivals are the blocks in their final order with the NaN
// points between them, and each block's equal times in their final order;
// sorting each block stably by time finishes it.
OrderedBuilder::~OrderedBuilder()
{
    if (arrivedInOrder(list))
        return;
    std::reverse(list.begin(), list.end());
    const auto byTime = [](const PointInfo* a, const PointInfo* b) { return a->time < b->time; };
    auto block = list.begin();
    for (;;) {
        const auto nextNaN = std::find_if(block, list.end(), hasNaNTime);
        std::stable_sort(block, nextNaN, byTime);
        if (nextNaN == list.end())
            break;
        block = nextNaN + 1;
    }
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

}  // namespace exprcurve::curves
