#pragma once
// The panel below the picture of a fit: what the fit leaves over, large.

#include <kvmeasure/drawing/canvas_p.h>
#include <kvmeasure/drawing/profile_picture.h>

namespace KvMeasure {

/// The view of the panel below the area of the picture above: upright in the unit of the residuals.
Projection residualView(const Residuals& residuals, const Projection& above);

/// The residuals as dots, a line at zero, a band of one standard error to both sides, and the first of the
/// largest magnitude with its value. `along` is the title of the x axis.
Canvas drawResiduals(const Residuals& residuals, const Projection& view, const QString& along);

}  // namespace KvMeasure
