#pragma once
// Units of length as headings and options spell them.

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// A unit of length. Cheap to copy; the library's own live as long as the program.
struct LengthUnit {
    const char* name;  ///< its symbol, or "inch"; of the library
    double multiply;   ///< so many mm are `divide` of this unit; > 0
    double divide;     ///< > 0; a second number so that um and nm are rounded once
    double toMm(double value) const { return value * multiply / divide; }  ///< a length of this unit in mm
};

/// The unit of all coordinates of the library.
KVMEASURE_EXPORT extern const LengthUnit millimetre;

/// A unit by its symbol, spelled exactly ("Mm" is no mm), or by its name in any case: "um", "µm", "Micron",
/// "INCH". Blanks around it do not count. Null for other words and for none.
KVMEASURE_EXPORT const LengthUnit* findLengthUnit(const QString& text);

/// The names of all units: nm, um, mm, cm, m, mil, inch.
KVMEASURE_EXPORT QStringList lengthUnitNames();

/// The unit other than mm that a text speaks of first, its words taken in any case; null for none. "m", "in"
/// and "mil" do not count, since they may be other words.
KVMEASURE_EXPORT const LengthUnit* unitMentioned(const QString& text);

}  // namespace KvMeasure
