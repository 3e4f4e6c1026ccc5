#pragma once
// Limits of wheels and wheelsets in service: a table that users edit, and the verdicts by it.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_values.h>

#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// A row of a table of limits, mm. NaN: no limit on this side.
struct WheelLimit {
    QString quantity;         ///< e.g. "flange height"
    QString symbol;           ///< e.g. "Sh"
    double diameterFrom = 0;  ///< the row holds for running diameters above this one, or equal
    double diameterTo = std::numeric_limits<double>::infinity();  ///< and up to this one
    double minimum = std::numeric_limits<double>::quiet_NaN();    ///< itself good
    double maximum = std::numeric_limits<double>::quiet_NaN();    ///< itself good
    QString note;                                                 ///< as in the table
    qint64 line = 0;                                              ///< in the table, from 1
};

/// A table of limits.
using WheelLimits = std::vector<WheelLimit>;

/// The verdict on one value.
struct KVMEASURE_EXPORT LimitVerdict {
    /// Missing: there is a limit and no value. Open: the limits depend on the diameter, which is not known.
    enum Kind { Good, Out, Missing, Open };
    QString symbol;                                              ///< of the value, as in the table
    QString quantity;                                            ///< its name in the table
    double value = std::numeric_limits<double>::quiet_NaN();     ///< mm; NaN where it is missing
    double expanded = std::numeric_limits<double>::quiet_NaN();  ///< U (k = 2) of the value; NaN: not known
    double minimum = std::numeric_limits<double>::quiet_NaN();   ///< NaN: none, or not known
    double maximum = std::numeric_limits<double>::quiet_NaN();   ///< NaN: none, or not known
    Kind kind = Missing;                                         ///< whether the value is good
    QString reason;                                              ///< why it is not good; empty where it is
    QString note;                                                ///< of the row

    /// "good", "OUT" or "NOT MEASURED", as the values of plans have it.
    QString word() const;
};

/// Reads a table with the columns symbol, minimum, maximum and, if they are there, quantity, diameter_from,
/// diameter_to, note; lengths in mm or in the unit of the heading. An empty cell is no limit. Symbols: Sh,
/// Sd, qR, BR (rim width), AR (back to back), SR (front to front of the flanges), Rd (tyre thickness), and
/// the keys of gaugeValues. Throws Error with file(), and line() where it is one row's: no such columns, an
/// unknown symbol (with a suggestion), a row without limits, limits or diameters in the wrong order, two rows
/// of a symbol that hold for the same diameters, more than 10,000 rows.
KVMEASURE_EXPORT WheelLimits readWheelLimits(const QString& path);

/// The key of the value that a symbol of a table stands for, e.g. "rimWidth" of "BR"; the text itself where
/// no table has it.
KVMEASURE_EXPORT QString limitKey(const QString& symbol);

/// The verdicts on those of these values that have limits, in the order of the table. `diameter` is the
/// running diameter, NaN: not known; the verdict is then given where all rows of a symbol agree. On a
/// diameter that ends one row and begins another the row of the smaller diameters holds.
KVMEASURE_EXPORT std::vector<LimitVerdict> judge(const WheelLimits& limits,
                                                 const std::vector<SectionValue>& values, double diameter);

/// "good" where all are good, "OUT" where one is out, else "NOT MEASURED" where one is missing or open; empty
/// without verdicts.
KVMEASURE_EXPORT QString overallVerdict(const std::vector<LimitVerdict>& verdicts);

}  // namespace KvMeasure
