#include <kvmeasure/inspection/registration.h>

#include <cmath>

namespace KvMeasure {

Vector RigidMotion::apply(const Vector& point) const {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const Vector arm(point.x - centre.x, point.y - centre.y);
    return {centre.x + c * arm.x - s * arm.y + shift.x, centre.y + s * arm.x + c * arm.y + shift.y};
}

RigidMotion RigidMotion::followedBy(const RigidMotion& next) const {
    const Vector there = next.apply(apply(centre));
    return {centre, angle + next.angle, {there.x - centre.x, there.y - centre.y}};
}

}  // namespace KvMeasure
