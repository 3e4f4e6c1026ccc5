#pragma once
// The level that parts an object from its support, found from the heights of a scan.

#include <kvmath/profile/profile_zset.h>

#include <QtCore/QList>
#include <QtCore/QString>

namespace KvMeasure {

/// Two kinds of heights in a scan and the gap between them, mm; or why there are not two.
struct HeightLevels {
    /// Hardly any heights lie in it.
    struct Gap {
        double from = 0, to = 0;
        double width() const { return to - from; }
        double middle() const { return (from + to) / 2; }
    };
    enum Outcome { Found, TooFewPoints, NoGap, Several, Mixed } outcome = TooFewPoints;
    double level = 0;             ///< middle of the gap
    QList<Gap> gaps;              ///< one when a level is found
    qint64 below = 0, above = 0;  ///< points not above and above the level
    double medianBelow = 0, medianAbove = 0;
    double lowest = 0, highest = 0;  ///< of all heights; 0 without points
    double leastGap = 0;             ///< a smaller gap does not count

    /// The reason for the level, or why there is none; a part of a sentence.
    QString explanation() const;

private:
    QString severalText() const;
};

/// Looks for a band of heights that hardly occur: less than a tenth as often as on average. It
/// counts with at least 3 % of the points on either side, when it is at least `step` (the greater distance of
/// neighbouring points, mm) and 15 % of the range of heights. Neighbouring points must mostly lie on the
/// same side of it, at least twice as often as in any order: noise has no levels. Several such bands, with at
/// least 3 % of the points between, have no level either: which of them is meant cannot be known.
HeightLevels findHeightLevels(const KvMath::KvProfileZSet& stack, double step);

}  // namespace KvMeasure
