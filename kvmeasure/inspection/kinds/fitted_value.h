#pragma once
// A value that follows from fitted lines and arcs, with its uncertainty.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/robust_arc.h>

#include <QtCore/QString>

#include <limits>

namespace KvMeasure {

/// A value with its standard uncertainty, which contains the noise of the profile.
struct FittedValue {
    double value =
        std::numeric_limits<double>::quiet_NaN();         ///< mm, mm^2 or degrees; NaN where there is none
    double u = std::numeric_limits<double>::quiet_NaN();  ///< standard uncertainty; NaN: not known
    double degreesOfFreedom = 0;                          ///< of u; 0 where it is not known
    QString reason;                                       ///< why there is no value; empty: there is one

    bool isFound() const { return reason.isEmpty(); }  ///< there is a value
};

/// Adds up independent contributions to an uncertainty; their degrees of freedom as B. L. Welch and
/// F. E. Satterthwaite do.
class KVMEASURE_EXPORT UncertaintySum {
public:
    /// Adds a contribution: the standard uncertainty of an input times the slope of the value over it. With
    /// infinitely many degrees of freedom it is known exactly.
    void add(double contribution, double degreesOfFreedom);
    double u() const;                 ///< root of the sum of squares; NaN where one is NaN, 0 without any
    double degreesOfFreedom() const;  ///< infinite where all contributions are 0 or known exactly

private:
    double squares_ = 0;
    double spread_ = 0;  ///< sum of u^4 / degrees of freedom
};

/// Where two lines meet. Not finite for parallel ones.
KVMEASURE_EXPORT Vector meetingPoint(const LineFit& a, const LineFit& b);

}  // namespace KvMeasure
