#pragma once
// The section of a wheel with its values where they were measured.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/limits.h>
#include <kvmeasure/wheels/values.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <limits>

namespace KvMeasure {

/// What the picture of a wheel section shows. NaN: not known, and not drawn.
struct KVMEASURE_EXPORT WheelPicture {
    QString title;                       ///< first line, large
    QString subtitle;                    ///< second line
    QStringList notes;                   ///< of the wheel, a line each
    bool isBackKnown = false;            ///< else lateral positions count from the first point
    KvMath::KvProfile profile;           ///< x lateral, y depth below the flange tip, mm
    KvMath::KvProfile places;            ///< as KvMath::ORBIS_calcWheelParameters marks them
    KvMath::_WheelProfileValues values;  ///< mm; not set by default, see pictureOf
    float radius = std::numeric_limits<float>::quiet_NaN();        ///< of the flange tip, mm
    double nominal = std::numeric_limits<double>::quiet_NaN();     ///< flange height that the deviation
                                                                   ///< counts from, mm
    double searchFrom = std::numeric_limits<double>::quiet_NaN();  ///< inner edge of the defect search, mm
    bool hasDefect = false;                                        ///< of the tread
    DefectPlace defect;                                            ///< where, if that is known
    bool isDefectInSection = false;  ///< the section is the profile that shows it
    std::vector<LimitVerdict>
        verdicts;  ///< on its values, a line for each that is not good; empty: no limits
};

/// What a measured section tells; title, subtitle and defect are the caller's.
KVMEASURE_EXPORT WheelPicture pictureOf(const WheelResult& wheel, const MeasuredSection& section);

/// An SVG document with the section as it stands on the rail, at equal scale. What was not found is not
/// dimensioned; an empty section gives axes, title and notes alone.
KVMEASURE_EXPORT QByteArray drawWheel(const WheelPicture& picture);

}  // namespace KvMeasure
