#pragma once
// Cross-sections of wheels in files, which two of the commands "kvmeasure wheels" read.

#include "cli/arguments.h"

#include <kvmeasure/profiles/column_choice.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/limits.h>
#include <kvmeasure/wheels/reference.h>
#include <kvmeasure/wheels/values.h>
#include <kvmeasure/wheels/wheel_wear.h>

#include <QtCore/QStringList>

namespace KvMeasure {

/// The values of cross-sections in files, with these options of "wheels parameters".
struct SectionOptions {
    double diameter = 920;     ///< at height 0, mm
    bool isSizeKnown = false;  ///< else radius and running diameter are withheld
    bool areRadii = false;     ///< the second column holds radii, not heights
    TextOptions text;
    QString picture;
    ValueOptions values;   ///< `back` in the lateral positions of the file
    GaugePlaces places;    ///< of Sh, Sd, qR
    WheelLimits limits;    ///< empty: no verdicts
    WheelSection nominal;  ///< that wear is measured against; without points: none
    WearAlignment alignment = WearAlignment::Tread;
    bool isJson = false;
    bool isOfList = false;  ///< warnings are notes of their rows
};

/// Options of "wheels parameters" for the values of gauges: --l1 to --l3, --widths, --reference, --align and
/// --limits.
std::vector<Option> gaugeOptions();
/// Reads these options, and the files that they name. Throws Error.
void readGaugeOptions(const Arguments& arguments, SectionOptions& options);

/// Reads --kind, --nominal and --back. Throws Error.
ValueOptions readValueOptions(const Arguments& arguments);

/// "wheels parameters" on files of sections, or on a list of them; `usage` is that of the arguments. Throws
/// Error.
int measureSections(const Usage& usage, const Arguments& arguments);

/// The section of a text file as a reference; positions count from its flange back, which is looked for where
/// `back` is NaN. Throws Error.
ReferenceSection referenceSection(const QString& path, const SectionOptions& options);

}  // namespace KvMeasure
