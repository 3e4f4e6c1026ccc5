#pragma once
// What every measurement offers for display, whatever its kind: named points, lines and angles in profile
// coordinates.

#include <kvmath/core/global.h>
#include <kvmath/core/vector2d.h>

#include <QtCore/QList>
#include <QtCore/QString>

namespace KvMath {

/// Named point of a result.
struct TSUniformResultPoint {
    KvVector2D<double> point;  ///< mm
    QString name;
};

/// Named segment of a result, with the value measured along it.
struct TSUniformResultLine {
    KvVector2D<double> p1, p2;  ///< ends, mm
    double value = 0;           ///< length or shift, mm
    QString name;
};

/// Named angle of a result.
struct TSUniformResultAngle {
    KvVector2D<double> vertex, first, second;  ///< vertex and the end of either arm, mm
    double value = 0;                          ///< radians
    QString name;
};

/// Name of a result, and whether measuring adds it to the uniform results.
struct TSUniformResultInfo {
    QString name;
    bool isActive = true;
};

/// Results of one measurement; only active ones appear.
class KVMATH_EXPORT TSUniformResults {
public:
    QList<TSUniformResultPoint> points;
    QList<TSUniformResultLine> lines;
    QList<TSUniformResultAngle> angles;

    void clear();
    bool isEmpty() const;
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::TSUniformResultPoint, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultLine, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultAngle, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultInfo, Q_MOVABLE_TYPE);
