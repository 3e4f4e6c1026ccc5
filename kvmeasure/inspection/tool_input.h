#pragma once
// What tools read: the points of a profile, and those of its regions where their anchors put them.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/anchor.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/inspection/region.h>
#include <kvmeasure/profiles/robust_line.h>

#include <kvmath/profile/profile.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <limits>
#include <optional>
#include <vector>

namespace KvMeasure {

/// The points of a region in one profile.
struct RegionPoints {
    /// Where the profile crosses the left or right side between a point of the region and the next one
    /// outside.
    struct Crossing {
        Vector at;                                              ///< between both points, on the side
        double step = std::numeric_limits<double>::infinity();  ///< their distance in x, mm; infinite: none
    };
    std::vector<Vector> points;  ///< x and z, mm, all finite, in scan order; in the profile's own x and z
    Crossing entry;              ///< before the first of the points, if these come one after the other
    Crossing exit;               ///< likewise behind the last one
    QString reason;              ///< why there are none: the anchor is not found, no point lies in the region
    Frame taught;                ///< where its anchor was taught; both at the origin without an anchor
    Frame found;                 ///< where its anchor is

    bool isEmpty() const { return points.empty(); }  ///< there is a reason
};

/// A line of the matched template, as it is measured.
struct FoundLine {
    QString name;         ///< of the template line
    KvMath::LinePP line;  ///< mm
};

/// The input of all tools of a plan, one profile after another. Regions are filled when they are asked for,
/// each once per profile. An object is for one thread.
class KVMEASURE_EXPORT ToolInput {
public:
    /// Regions and anchors of a plan. Of equal names the first counts.
    ToolInput(const QList<Region>& regions, const QList<Anchor>& anchors);

    /// Takes the next profile. Points with a coordinate that is not finite are left out.
    /// `second` is the profile of another scanner in the same x and z; empty: there is none.
    void load(const KvMath::KvProfile& profile, const QList<FoundLine>& templateLines = {},
              const KvMath::KvProfile& second = {});

    const std::vector<Vector>& points() const { return points_; }  ///< all that are finite, in scan order

    /// The points of a region by its name. For an unknown name, an anchor that is not found and one that
    /// depends on the region itself there are none, and a reason. Valid until the next load().
    const RegionPoints& region(const QString& name) const;

    /// The line fitted to a region, as fitLine does it by default; its reason is that of the region where
    /// this has no points. Valid until the next load().
    const LineFit& line(const QString& region) const;

    /// What the distances of neighbours in a region say. Valid until the next load().
    const PointSpacing& spacing(const QString& region) const;

    /// The heights of the surface under the points of a region, as smoothHeights() gives them with the
    /// correlation of pointNoise(). Valid until the next load().
    const std::vector<double>& surface(const QString& region) const;

    /// Regions that tools read as lines, in any order: noise() rests on all of them, whichever tool asks.
    void setLineRegions(const QStringList& regions) {
        lineRegions_ = regions;
        noise_.reset();
        pointNoise_.reset();
    }
    /// The noise of other profiles of the same scanner, which noise() rests on beside this profile's own.
    void setKnownNoise(const ResidualNoise& noise) {
        knownNoise_ = noise;
        noise_.reset();
        pointNoise_.reset();
    }
    /// As setKnownNoise() was told; nothing before.
    const ResidualNoise& knownNoise() const { return knownNoise_; }
    /// The noise of the profile: of the line regions, without any of those that line() was asked for, and of
    /// further fits, e.g. that of an arc.
    NoiseModel noise(const ResidualNoise& further = {}) const;
    /// The noise of a point, for tools that fit no line: of the line regions; where these do not tell it, of
    /// the straight pieces of the whole profile.
    const NoiseModel& pointNoise() const;

private:
    enum State { Unknown, Busy, Known };
    struct Entry {
        State state = Unknown;
        RegionPoints points;
        LineFit line;
        PointSpacing spacing;
        std::vector<double> surface;
        bool hasLine = false;  ///< `line` is fitted
        bool hasSpacing = false;
        double surfaceTime = 0;  ///< the correlation time of `surface`; 0: there is none
    };

    Entry& knownEntry(const QString& region) const;
    void fill(int index) const;
    QString place(const Region& region, RegionPoints& points) const;
    QString findAnchor(const Anchor& anchor, Frame& found) const;
    QString findLine(const Anchor& anchor, Frame& found) const;
    QString findTemplateLine(const QString& name, Frame& found) const;

    QList<Region> regions_;
    QList<Anchor> anchors_;
    QHash<QString, int> regionOf_, anchorOf_;
    QList<FoundLine> lines_;
    std::vector<Vector> points_;
    std::vector<Vector> second_;  ///< points of the second profile
    bool ascends_ = false;        ///< x of no point is less than that of the one before
    bool secondAscends_ = false;
    mutable std::vector<Entry> entries_;
    mutable RegionPoints unknown_;
    mutable LineFit unknownLine_;
    mutable Entry unknownEntry_;
    QStringList lineRegions_;
    ResidualNoise knownNoise_;
    mutable std::optional<NoiseModel> noise_;  ///< without further fits, of the lines fitted so far
    mutable std::optional<NoiseModel> pointNoise_;
};

}  // namespace KvMeasure
