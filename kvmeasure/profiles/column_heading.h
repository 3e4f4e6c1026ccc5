#pragma once
// What the heading of a column says: its name, its unit, and what the column therefore holds.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/length_unit.h>

namespace KvMeasure {

/// What a column holds by its name. `Y` is the height beside an x, and lies across the line beside a z.
enum class ColumnRole { Unknown, X, Y, Height, Number, Other };

/// The heading of a column, in its parts.
struct Heading {
    QString text;                           ///< as it stands in the file, without quotes
    QString name;                           ///< without the unit
    QString unit;                           ///< as it stands in the file; empty for none
    const LengthUnit* length = nullptr;     ///< of the unit, where it is one of length
    ColumnRole role = ColumnRole::Unknown;  ///< by the name

    /// True when name or unit says what the column holds.
    bool isKnown() const { return role != ColumnRole::Unknown || length != nullptr; }
};

/// Parts a heading into name and unit. Units are taken from brackets ("x [um]", "z (mm)"), after "in" or "/"
/// ("x in mm", "x/mm") and, those of length, as the last word ("x_mm"). Empty text: all is empty, role
/// Unknown.
KVMEASURE_EXPORT Heading readHeading(const QString& text);

/// The unit alone, with or without brackets around it, as lines of units hold it.
KVMEASURE_EXPORT QString unitText(const QString& text);

}  // namespace KvMeasure
