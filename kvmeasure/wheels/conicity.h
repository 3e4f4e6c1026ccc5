#pragma once
// Equivalent conicity of a wheelset (EN 15302) from its rolling radius difference.
//
//     RollingRadii radii = rollingRadii(wheelset, ShiftSettings());
//     ConicityCurve curve(radii.shifts, radii.differences, ConicitySettings());
//     Conicity at3 = curve.at(3);
//     if (at3.reason.isEmpty())
//         use(at3.tanGamma, at3.wavelength);

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What the wavelength depends on; the conicity does not.
struct ConicitySettings {
    double diameter = 920;          ///< mean diameter of both wheels, mm, > 0
    double contactDistance = 1500;  ///< of the points of contact across the track, mm, > 0
};

/// The conicity at one amplitude. Values that are NaN have a reason.
struct KVMEASURE_EXPORT Conicity {
    double amplitude = 0;  ///< half the way of the wheelset from one side to the other, mm
    double tanGamma = std::numeric_limits<double>::quiet_NaN();    ///< of the cone with the same wavelength
    double regression = std::numeric_limits<double>::quiet_NaN();  ///< half the slope of the straight line
                                                                   ///< through the difference on that way
    double wavelength = std::numeric_limits<double>::quiet_NaN();  ///< of the motion, mm
    double from = std::numeric_limits<double>::quiet_NaN();        ///< shift at its left end, mm
    double to = std::numeric_limits<double>::quiet_NaN();          ///< at its right end, mm
    QString reason;  ///< why values are missing; empty where none is

    /// There is a conicity. It is 0, without a wavelength, where the difference is zero on the whole way.
    bool isValid() const { return tanGamma >= 0; }
};

/// The motion of a wheelset whose rolling radius difference is given at some shifts, and straight between
/// these. It swings about its running position, where the difference rises through zero.
///
/// (1) Difference 2 g y: tanGamma = regression = g at every amplitude. (2) Diameter and distance of contacts
/// change the wavelength alone. (3) Mirroring shifts and differences mirrors from and to, and nothing else.
class KVMEASURE_EXPORT ConicityCurve {
public:
    /// Largest relative error of tanGamma by numerical integration (measured: 0.0000015 on the reference case
    /// and on a table with sharp bends, against 16384 nodes).
    static constexpr double kIntegrationError = 1e-5;

    /// Shifts to the right, strictly ascending, and the rolling radius of the right wheel less that of the
    /// left there, mm: finite, at least two. Throws Error for what is not, and for settings not above 0.
    ConicityCurve(const std::vector<double>& shifts, const std::vector<double>& differences,
                  const ConicitySettings& settings);

    /// Why there is no running position: the difference is zero throughout, has one sign, or falls through
    /// zero. Empty where there is one.
    QString reason() const { return reason_; }
    /// The shift of the running position, mm: of several the one nearest to 0; the middle of a stretch
    /// without difference. NaN where there is none.
    double runningPosition() const { return zero_; }
    /// The largest amplitude that has values, mm; NaN without running position.
    double largestAmplitude() const { return largest_; }

    /// The conicity at an amplitude, mm. No values, with a reason: no running position, an amplitude that is
    /// not above 0, one whose motion leaves the table, one that no motion has because the difference falls
    /// through zero on the way.
    Conicity at(double amplitude) const;

private:
    /// One side of the running position. With u the way from there and d the difference, positive where it
    /// drives the wheelset back:
    struct Branch {
        std::vector<double> ways, differences;  // u, d
        std::vector<double> slopes;             // of d after each point but the last
        std::vector<double> works;              // integral of d
        std::vector<double> peaks;              // the greatest work up to here
        std::vector<double> moments;            // integral of u d
        double flat = 0;                        // the way without difference
        QString end;                            // why no motion goes farther

        void add(double way, double difference);
        double wayOf(double work, int& piece) const;
        double workAt(double way, int& piece) const;
        double momentAt(double way, int piece) const;
    };

    void findZero(const std::vector<double>& shifts, const std::vector<double>& differences);
    Branch branch(const std::vector<double>& shifts, const std::vector<double>& differences, int sign) const;
    double workOf(double amplitude) const;

    ConicitySettings settings_;
    double zero_ = std::numeric_limits<double>::quiet_NaN();
    double largest_ = std::numeric_limits<double>::quiet_NaN();
    double largestWork_ = 0;
    QString reason_;
    Branch left_, right_;
};

}  // namespace KvMeasure
