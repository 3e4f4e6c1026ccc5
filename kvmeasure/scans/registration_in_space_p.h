#pragma once
// Lays a scan on a master.

#include <kvmeasure/inspection/registration.h>
#include <kvmeasure/scans/master_surface_p.h>
#include <kvmeasure/scans/scan_registration.h>

namespace KvMeasure::Internal {

/// Lays points on a master by least squares of the distances square to it, as registerPoints does in a
/// profile. Points must be finite, the master not empty. No motion and no parts where fewer than six points
/// lie over the master.
ScanRegistration registerScan(const std::vector<KvMath::KvPointXYZ>& points, const MasterSurface& master,
                              const RegistrationSettings& settings);

/// Where a registration may start: as the points lie, first, then shifts at which the heights of both agree
/// best.
std::vector<SpaceMotion> registrationStarts(const std::vector<KvMath::KvPointXYZ>& points,
                                            const std::vector<KvMath::KvPointXYZ>& master);

/// Every n-th of the points, so that at most `most` are left.
std::vector<KvMath::KvPointXYZ> evenlyChosen(const std::vector<KvMath::KvPointXYZ>& points, std::size_t most);

}  // namespace KvMeasure::Internal
