// Which points of a file count for a zone of form: those in a region, without stray ones.

#include "cli/form/points.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/json.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

/// Limits of one coordinate.
struct Side {
    const char* option;
    double from = -std::numeric_limits<double>::infinity(), to = -from;
};

Side readSide(const Arguments& arguments, const char* option) {
    Side side{option};
    arguments.pair(option, side.from, side.to);
    if (!(side.from <= side.to))
        throw Error(filledIn("%1 needs the lesser number first", option));
    return side;
}

/// Keeps the points of which `isKept` is true.
template <class Point, class Kept>
void keep(FormPoints<Point>& taken, const Kept& isKept) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < taken.points.size(); ++i) {
        if (!isKept(i))
            continue;
        taken.points[kept] = taken.points[i];
        taken.rows[kept++] = taken.rows[i];
    }
    taken.points.resize(kept);
    taken.rows.resize(kept);
}

template <class Point, class Places, class Strays>
Selection select(const Arguments& arguments, FormPoints<Point>& taken, const std::vector<const char*>& names,
                 const Places& placesOf, const Strays& straysOf) {
    Selection selection;
    std::vector<Side> sides;
    sides.reserve(names.size());
    for (const char* name : names)
        sides.push_back(readSide(arguments, name));
    const std::size_t all = taken.points.size();
    keep(taken, [&](std::size_t i) {
        const auto places = placesOf(taken.points[i]);
        for (std::size_t k = 0; k < sides.size(); ++k) {
            if (!(places[k] >= sides[k].from && places[k] <= sides[k].to))
                return false;
        }
        return true;
    });
    selection.outside = static_cast<int>(all - taken.points.size());
    if (taken.points.empty() && all > 0)
        throw Error(arguments.operand(0) + ": no point lies within the limits");
    if (!arguments.has("--strays"))
        return selection;
    constexpr double kLeast = 1, kMost = 1000;
    selection.isFiltered = true;
    selection.strays = straysOf(arguments.number("--strays", kMost, kLeast, kMost));
    const std::vector<int> strays = selection.strays.strays;
    for (int& i : selection.strays.strays)
        i = taken.rows[static_cast<std::size_t>(i)];
    keep(taken, [&](std::size_t i) {
        return !std::binary_search(strays.begin(), strays.end(), static_cast<int>(i));
    });
    return selection;
}

}  // namespace

std::vector<Option> selectionOptions(bool isOfSurface) {
    std::vector<Option> options{{"--x", "FROM,TO", "only points within these x, mm"}};
    if (isOfSurface)
        options.push_back({"--scan", "FROM,TO", "only points within these places along the scan, or y, mm"});
    options.push_back({"--height", "FROM,TO", "only points within these heights, mm"});
    options.push_back({"--strays", "K",
                       "leave out points farther than K robust deviations from the median of "
                       "the points around them, e.g. 6"});
    return options;
}

Selection selectPoints(const Arguments& arguments, FormPoints<Vector>& taken, bool isCircle) {
    return select(
        arguments, taken, {"--x", "--height"},
        [](const Vector& p) {
            return std::array<double, 2>{p.x, p.y};
        },
        [&](double cut) {
            return isCircle ? strayPointsOfCircle(taken.points, cut) : strayPoints(taken.points, cut);
        });
}

Selection selectPoints(const Arguments& arguments, FormPoints<SpacePoint>& taken) {
    return select(
        arguments, taken, {"--x", "--scan", "--height"}, [](const SpacePoint& p) { return p; },
        [&](double cut) { return strayPoints(taken.points, cut); });
}

QJsonObject Selection::json() const {
    constexpr std::size_t kMostRows = 1000;
    QJsonArray rows;
    for (std::size_t i = 0; i < std::min(kMostRows, strays.strays.size()); ++i)
        rows.append(strays.strays[i]);
    return {{"count", static_cast<double>(strays.strays.size())},
            {"rows", rows},
            {"limit", jsonNumber(strays.limit)},
            {"deviation", jsonNumber(strays.deviation)},
            {"cell", jsonNumber(strays.cell)},
            {"alone", strays.alone}};
}

}  // namespace KvMeasure
