#pragma once
// From fitted values to the results of tools.

#include <kvmeasure/inspection/kinds/fitted_value.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

namespace KvMeasure::Internal {

/// Adds a value, or refuses it with its reason.
void give(const char* ending, const FittedValue& value, ToolResults& results);

/// Says beside the values why there is no uncertainty, or that it rests on few independent points.
void warnOfNoise(const QString& reason, bool isShort, ToolResults& results);

/// The line of a region whose points lie on it but for their noise; null: they do not.
const LineFit* straightLine(const ToolInput& input, const QString& region);

/// The scatter of sorted heights of a region: about its line, or, where the points do not lie on one, about
/// smoothed heights. Points that are missing by chance count.
OrderNoise orderNoise(const ToolInput& input, const QString& region);

/// Standard uncertainty of the greatest or least height of a region, or of its x: half a point distance at
/// most, evenly.
double uOfExtreme(const ToolInput& input, const QString& region, bool isOfX, bool isGreatest);
/// Of the other coordinate of that point.
double uOfExtremePlace(const ToolInput& input, const QString& region, bool isOfX, bool isGreatest);

/// Of the mean height or x of points: noise, and points that are missing by chance, as missingShare() gives
/// them.
double uOfMean(const std::vector<Vector>& points, bool isOfX, const NoiseModel& noise, double missing);

constexpr double kRootOf12 = 3.4641016151377544;  ///< of a value that is anywhere within 1

/// Adds the height of that percentile of a region, 0 and 100 being the extremes, as the value without ending.
/// Its uncertainty is that of points about the surface of the region.
void giveRank(const ToolInput& input, const QString& region, double height, double percent,
              ToolResults& results);

/// No value, for that reason.
FittedValue refused(const QString& reason);

}  // namespace KvMeasure::Internal
