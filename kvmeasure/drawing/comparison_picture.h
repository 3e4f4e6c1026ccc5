#pragma once
// The picture of a comparison with a master.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/comparison.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// What a picture of a comparison shows.
struct ComparisonPicture {
    QString title;                           ///< first line
    KvMath::KvProfile master;                ///< drawn as a line, mm; gives the range
    const Comparison* comparison = nullptr;  ///< of the caller, must live; null: the master alone
    double lower = -std::numeric_limits<double>::infinity();  ///< mm, limits of the deviations;
    double upper = std::numeric_limits<double>::infinity();   ///< infinite: none is drawn
};

/// An SVG document: the master with the deviations square to it, magnified by a round number that it says,
/// the limits magnified alike, the largest and smallest deviation marked, and the figures beside.
KVMEASURE_EXPORT QByteArray drawComparison(const ComparisonPicture& picture);

}  // namespace KvMeasure
