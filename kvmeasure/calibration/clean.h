#pragma once
// Reflections in raw records of a flat target: positions that are not of its line.

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/table.h>

#include <QtCore/QString>

namespace KvMeasure {

/// What was taken out of a record; lengths in sensor pixels.
struct CleanReport {
    int found = 0;       ///< positions of the record before
    int strays = 0;      ///< dropped: too far from the positions about them
    int alone = 0;       ///< dropped: fewer than five about them to compare them with
    double scatter = 0;  ///< of the positions about the median of their neighbours: 1.4826 median deviations
    double limit = 0;    ///< a stray is farther off

    /// Positions that were dropped.
    int dropped() const { return strays + alone; }
};

/// Empties the positions that are not of the target's line. Lines of a flat target have nearly one shape:
/// after the place of each step and the shape of all lines are taken out, every position is compared with the
/// median of those up to 40 columns and 40 steps away, where two pixels are allowed at least, and then with
/// the median of those up to 8 columns and 4 steps away, where a quarter of a pixel is allowed at least. More
/// is allowed where the record scatters: eight times its scatter. Positions beyond the sensor count like
/// others. A bright spot beside the target, or one that takes more than half of such a neighbourhood, is not
/// told from a line.
///
/// The record must have 648,000 positions; not checked. Without any position: nothing is dropped. About 0.2
/// s.
KVMEASURE_EXPORT CleanReport dropReflections(RawRecord& record);

/// Why a record is hardly one of a flat target: a tenth of its positions and more were dropped, or the rest
/// scatters by more than four pixels, some ten steps. A question to the user; empty: nothing speaks against
/// it.
KVMEASURE_EXPORT QString whyNotFlat(const CleanReport& report);

}  // namespace KvMeasure
