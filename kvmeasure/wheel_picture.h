#pragma once
// The section of a wheel with its values where they were measured.

#include <kvmath/profile/profile.h>
#include <kvmath/wheel/wheel_parameters.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

struct WheelPicture {
    QString title, subtitle;
    KvMath::KvProfile profile;  ///< x lateral, y depth below the flange tip, mm
    KvMath::KvProfile places;   ///< as ORBIS_calcWheelParameters marks them
    KvMath::_WheelProfileValues values;
    float radius = 0;  ///< of the flange tip
};

/// An SVG of the section as it stands on the rail, at equal scale. What was not found is not dimensioned.
QByteArray drawWheel(const WheelPicture& picture);

}  // namespace KvMeasure
