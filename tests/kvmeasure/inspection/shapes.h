#pragma once
// Parts of known shape, seen by one scanner or by two, with noise and missing points; what tools give on
// them.

#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <cmath>
#include <functional>
#include <random>

namespace TestSupport {

using namespace KvMeasure;
using Points = std::vector<Vector>;

/// What a tool in words gives. Regions S are of the second profile.
inline Evaluation evaluate(const QString& words, const Points& points, const Points& second,
                           const QList<Region>& regions) {
    const auto profileOf = [](const Points& of) {
        KvMath::KvProfile profile;
        for (const Vector& p : of)
            profile.points.append({float(p.x), float(p.y)});
        return profile;
    };
    const Tool tool = parseTool("V = " + words).tool;
    ToolInput input(regions, {});
    input.setLineRegions(tool.lineRegions());
    input.load(profileOf(points), {}, profileOf(second));
    ToolResults results(tool, {}, /*givesMarks=*/true);
    tool.kind->measure(tool, input, results);
    return results.take();
}

/// Its values by their endings.
inline QMap<QString, Value> measure(const QString& words, const Points& points, const Points& second,
                                    const QList<Region>& regions) {
    QMap<QString, Value> values;
    for (const Value& value : evaluate(words, points, second, regions).values)
        values[value.name.mid(2)] = value;
    return values;
}

/// A part of known shape: its height over x, NaN where there is no surface, and what a tool is to give.
struct Shape {
    QString words;
    std::function<double(double)> height;
    QMap<QString, double> truth;               ///< by ending
    QMap<QString, double> worst = {};          ///< of the value without noise, mm or degrees; else 1e-3
    std::function<double(double)> below = {};  ///< seen by the second scanner; empty: there is none
};

/// The regions of all shapes, for a part that is scaled, shifted and then mirrored: L and R are its halves, M
/// all of it, K and Q the ends of the halves, S all of the second profile, B what lies
/// below 0.4, O -2..3.
inline QList<Region> regions(double scale = 1, double shift = 0, double sign = 1) {
    QList<Region> all;
    const struct {
        const char* name;
        double from, to;
    } sides[] = {{"L", -9, -0.2}, {"R", 0.2, 9}, {"M", -9, 9}, {"K", -9, -5},
                 {"Q", 5, 9},     {"S", -9, 9},  {"B", -9, 9}, {"O", -2, 3}};
    for (const auto& side : sides) {
        Region box;
        box.name = side.name;
        const double from = (side.from * scale + shift) * sign;
        const double to = (side.to * scale + shift) * sign;
        box.minX = std::min(from, to);
        box.maxX = std::max(from, to);
        box.isOfSecond = box.name == "S";
        box.maxZ = box.name == "B" ? 0.4 * scale : Region::kOpen;
        all.append(box);
    }
    return all;
}

inline Points scan(const std::function<double(double)>& height, double pitch, double phase) {
    Points points;
    for (int i = 0; height && i < int(16 / pitch); ++i) {
        const double x = -8 + (i + phase) * pitch;
        if (!std::isnan(height(x)))
            points.emplace_back(x, height(x));
    }
    return points;
}

/// Neighbours of a moving average of white noise are added to the heights, standard deviation `noise`.
inline void roughen(Points& points, double noise, int width, std::mt19937_64& random) {
    std::normal_distribution<double> normal;
    std::vector<double> white(points.size() + std::size_t(width));
    for (double& value : white)
        value = normal(random) * noise / std::sqrt(double(width));
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t k = 0; k < std::size_t(width); ++k)
            points[i].y += white[i + k];
    }
}

/// Takes out `gaps` runs of `length` points each, anywhere.
inline void dropOut(Points& points, int gaps, int length, std::mt19937_64& random) {
    std::vector<bool> isLost(points.size());
    for (int gap = 0; gap < gaps; ++gap) {
        const std::size_t at = std::uniform_int_distribution<std::size_t>(0, points.size() - 1)(random);
        for (std::size_t i = at; i < std::min(at + std::size_t(length), points.size()); ++i)
            isLost[i] = true;
    }
    Points kept;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!isLost[i])
            kept.push_back(points[i]);
    }
    points = kept;
}

const std::vector<Shape>& shapes();  ///< one for each kind of tool at least

}  // namespace TestSupport
