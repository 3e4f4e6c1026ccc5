#pragma once
// Measurements as text: "depth = distance floor right : 12.1 +- 0.05; angle left wall".

#include "kvmeasure/template_file.h"

namespace KvMeasure {

/// A tolerance as written: the nominal value may be left to the taught part.
struct WrittenTolerance {
    bool hasNominal = false;
    Tolerance tolerance;
};

/// Adds the measurements of `text` to file.measurements and file.means, which are empty; template lines are
/// named as in file.lineNames or by number. Angles are degrees here and radians in the library. Returns the
/// tolerances by result name. Throws Failure that quotes the statement and says what was expected, also where
/// two results, parts of means among them, would have one name.
QMap<QString, WrittenTolerance> addMeasurements(const QString& text, TemplateFile& file);

/// The grammar with an example of each kind, for help texts.
const char* measureHelp();

}  // namespace KvMeasure
