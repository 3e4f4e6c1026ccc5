#pragma once
// The points that the commands on form read: doubles of a text, or what any other file holds.

#include "cli/arguments.h"

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/form/flatness.h>
#include <kvmeasure/form/stray_points.h>

#include <QtCore/QJsonObject>

#include <vector>

namespace KvMeasure {

/// Points with their place among the rows of the file, from 0; rows without numbers are left out.
template <class Point>
struct FormPoints {
    std::vector<Point> points;
    std::vector<int> rows;
    int unset = 0;
    int interpolated = 0;  ///< of a section through a scan: heights between measured points
};

/// --columns and --record, for the usage of a command.
std::vector<Option> pointOptions();
/// These, and where a section runs through a scan.
std::vector<Option> profileOptions();

/// The profile of the operand, or the section through it. Throws Error.
FormPoints<Vector> takePlanePoints(const Arguments& arguments);

/// True for a text that is no scan: a table of points.
bool isPointTable(const QString& path);

/// The points of such a text, in doubles. `columns` names the two columns, as --columns does, empty: by their
/// headings. Throws Error.
FormPoints<Vector> readPointTable(const QString& path, const QString& columns);

/// The surface of the operand: x, y, z of a text, the points of a scan otherwise. Throws Error.
FormPoints<SpacePoint> takeSpacePoints(const Arguments& arguments);

/// --x, --scan, --height and --strays, which selectPoints() reads, for the usage of a command. A profile has
/// x and height alone.
std::vector<Option> selectionOptions(bool isOfSurface);

/// What selectPoints() left out.
struct Selection {
    int outside = 0;     ///< points outside the limits
    StrayPoints strays;  ///< indices are rows of the file
    bool isFiltered = false;
    QJsonObject json() const;  ///< of the stray points
};

/// Keeps the points within the limits, then leaves stray ones out; `isCircle`: of points about a circle.
/// Throws Error where nothing is left.
Selection selectPoints(const Arguments& arguments, FormPoints<Vector>& taken, bool isCircle);
Selection selectPoints(const Arguments& arguments, FormPoints<SpacePoint>& taken);

}  // namespace KvMeasure
