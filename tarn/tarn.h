#pragma once
// Stand-in for the scanner-data library, with the operations that the library uses.

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace Tarn {

/// Measured point, mm.
class Vector3D {
public:
    Vector3D() = default;                                            ///< (0, 0, 0)
    Vector3D(float x0, float y0, float z0) : x(x0), y(y0), z(z0) {}  ///< (x0, y0, z0)
    float x = 0;                                                     ///< along the scanner line, mm
    float y = 0;                                                     ///< along the scan, mm
    float z = 0;                                                     ///< height, mm
};

/// One scanner line in space. Owns the points that are appended to it; copies of a profile share them.
class Profile3D {
public:
    int size() const { return static_cast<int>(points_.size()); }  ///< number of points
    /// The point at `index`, or null when there is none.
    Vector3D* operator[](int index) const {
        return index >= 0 && index < points_.size() ? points_.at(index).data() : nullptr;
    }
    /// Takes over `point`, which comes from `new` and is appended once only.
    void append(Vector3D* point) { points_.append(QSharedPointer<Vector3D>(point)); }
    /// Removes the point at `index`; nothing when there is none.
    void removeAt(int index) {
        if (index >= 0 && index < points_.size())
            points_.removeAt(index);
    }
    void clear() { points_.clear(); }  ///< removes all points

private:
    QList<QSharedPointer<Vector3D>> points_;
};

/// A scan: scanner lines in order, and named parameters.
class PointCloud {
public:
    QList<Profile3D>& profiles() { return profiles_; }              ///< the lines, to be changed
    const QList<Profile3D>& profiles() const { return profiles_; }  ///< the lines, to be read
    /// The value of a parameter; invalid when it was never set.
    QVariant parameter(const QString& name) const { return parameters_.value(name); }
    /// Sets a parameter, in place of an earlier value.
    void setParameter(const QString& name, const QVariant& value) { parameters_.insert(name, value); }

private:
    QList<Profile3D> profiles_;
    QMap<QString, QVariant> parameters_;
};

}  // namespace Tarn

using Tarn::PointCloud;
using Tarn::Profile3D;
using Tarn::Vector3D;
