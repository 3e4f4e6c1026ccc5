#pragma once
// A scan in little, for pages.

#include <kvmeasure/report/html_page.h>

#include <kvmath/profile/profile_zset.h>

namespace KvMeasure {

/// Takes the profiles of a scan one after another, and keeps what a page shows of it: points of a cloud, and
/// profiles for a map of heights. Memory: that of CloudSample, and at most kMostProfiles profiles of
/// kMostPoints points each.
class KVMEASURE_EXPORT ScanSketch {
public:
    static constexpr int kMostProfiles = 400;  ///< of the map; of more at least half as many, evenly taken
    static constexpr int kMostPoints = 1000;   ///< of a profile of the map; of more every n-th

    /// Takes a profile at its position, mm. A position that is not finite: nothing. Points that are not
    /// finite are left out.
    void add(double position, const KvMath::KvProfile& profile);
    /// Appends a heading, the cloud and the map of heights; nothing for fewer than three profiles, for
    /// positions that are all equal, and without points. What has no cloud (HtmlPage::addCloud) has its map,
    /// and what has no map, as makeGrid says, its cloud.
    void addTo(HtmlPage& page, const QString& name) const;

private:
    CloudSample sample_;
    KvMath::KvProfileZSet map_;
    int taken_ = 0, stride_ = 1;
};

}  // namespace KvMeasure
