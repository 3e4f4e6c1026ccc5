#pragma once
// What every measurement offers for display, whatever its kind: named points, lines and angles in profile
// coordinates.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

#include <QtCore/QList>
#include <QtCore/QString>

namespace KvMath {

/// Named point of a result.
struct TSUniformResultPoint {
    KvVector2D<double> point;  ///< place, mm
    QString name;              ///< name of the result
};

/// Named segment of a result, with the value measured along it.
struct TSUniformResultLine {
    KvVector2D<double> p1;  ///< start, mm
    KvVector2D<double> p2;  ///< end, mm
    double value = 0;       ///< length or shift, mm
    QString name;           ///< name of the result
};

/// Named angle of a result.
struct TSUniformResultAngle {
    KvVector2D<double> vertex;  ///< where the arms begin, mm
    KvVector2D<double> first;   ///< end of the first arm, mm
    KvVector2D<double> second;  ///< end of the second arm, mm
    double value = 0;           ///< radians
    QString name;               ///< name of the result
};

/// Name of a result, and whether measuring adds it to the uniform results.
struct TSUniformResultInfo {
    QString name;          ///< given by the host
    bool isActive = true;  ///< whether measuring adds the result
};

/// Results of one measurement; only active ones appear.
class KVMATH_EXPORT TSUniformResults {
public:
    QList<TSUniformResultPoint> points;  ///< in the order of the class's constructor
    QList<TSUniformResultLine> lines;    ///< in the order of the class's constructor
    QList<TSUniformResultAngle> angles;  ///< in the order of the class's constructor

    void clear();          ///< removes all results
    bool isEmpty() const;  ///< true without any result
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::TSUniformResultPoint, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultLine, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultAngle, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::TSUniformResultInfo, Q_MOVABLE_TYPE);
