#pragma once
// How the numbers of a measurement move with the ends of its lines.

#include <kvmeasure/base/plane_geometry.h>

#include <kvmath/tsearch/lines_indices.h>

#include <cmath>
#include <vector>

namespace KvMeasure::Internal {

/// Slopes over ends of template lines. A line may be told several times; what is told is added up.
class EndSlopes {
public:
    struct Slope {
        int segment = 0;
        int end = 0;     ///< 0: its first, 1: its second
        int number = 0;  ///< among the numbers of the measurement
        Vector slope;    ///< over the x and the y of that end, each per mm
    };

    /// The slopes of a measurement on such segments. Both are kept by reference.
    EndSlopes(const Segments& segments, const KvMath::TSLinesIndecies& indices)
        : segments_(segments), indices_(indices) {}

    /// The segment of a template line, from its start to its end. A line without one has no length.
    KvMath::LinePP line(int line) const {
        KvMath::LinePP found;
        indices_.getLine(segments_, line, found);
        return found;
    }

    /// Adds the slope of a number over one end of a template line.
    void add(int number, int line, bool isStart, const Vector& slope) {
        int segment = 0;
        if (!indices_.getLineIndex(line, segment))
            return;
        addAt(number, segment, isStart != indices_.isReversed(line) ? 0 : 1, slope);
    }

    /// The same by the segment and its first or second end.
    void addAt(int number, int segment, int end, const Vector& slope) {
        for (Slope& told : slopes_) {
            if (told.segment == segment && told.end == end && told.number == number) {
                told.slope = Vector(told.slope.x + slope.x, told.slope.y + slope.y);
                return;
            }
        }
        slopes_.push_back({segment, end, number, slope});
    }

    /// Adds what a number changes by, per radian, when a template line turns to the left.
    void addTurn(int number, int line, double perRadian) {
        const KvMath::LinePP at = this->line(line);
        const double x = at.p2.x - at.p1.x;
        const double y = at.p2.y - at.p1.y;
        const double scale = perRadian / (x * x + y * y);
        add(number, line, /*isStart=*/false, {-y * scale, x * scale});
        add(number, line, /*isStart=*/true, {y * scale, -x * scale});
    }

    /// Adds the slopes of a point, whose x and y are numbers 0 and 1, that goes `share` of the way of an end.
    void addShare(int line, bool isStart, double share) {
        add(0, line, isStart, {share, 0});
        add(1, line, isStart, {0, share});
    }

    void clear() { slopes_.clear(); }                             ///< of another measurement then
    const std::vector<Slope>& slopes() const { return slopes_; }  ///< each end and number once

private:
    const Segments& segments_;
    const KvMath::TSLinesIndecies& indices_;
    std::vector<Slope> slopes_;
};

}  // namespace KvMeasure::Internal
