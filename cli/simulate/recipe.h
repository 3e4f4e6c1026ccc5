#pragma once
// What the simulations of profiles and of scans share: shapes with named dimensions, true values.

#include "cli/arguments.h"

#include "simulator/profile_simulator.h"

namespace KvMeasure {

/// The usage with the shapes as choices of --shape, and with their dimensions in front of the examples.
Usage withShapes(Usage usage, const std::vector<QString>& shapes,
                 std::vector<Simulator::Dimension> (*dimensionsOf)(const QString&));

/// --shape, one of these; throws Error.
QString chooseShape(const Arguments& arguments, const std::vector<QString>& shapes, const QString& absent);

/// Dimensions from "name=value, ..."; throws Error for names that the shape does not have.
QMap<QString, double> readDimensions(const QString& text, const QString& shape,
                                     const std::vector<Simulator::Dimension>& dimensions);

/// Prints what was written and the true values. `summary` is the first line of the text form.
void reportTruth(bool isJson, const QString& path, const QString& summary, qint64 points,
                 const QString& shape, const std::vector<Simulator::TrueValue>& values);

}  // namespace KvMeasure
