#pragma once
// Cross-sections of wheels and rails from the files of profile gauges, told apart by their content.
//
// Three forms are read: lines KEY=VALUE above columns of points (.whl, .ban and the like); blocks from
// "header.begin" and "spline.begin" to "point.end" (.prw, .prr and the like); and tables and records that
// every other command reads, too.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/profiles/column_choice.h>

#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <vector>

namespace KvMeasure {

/// The forms of files that hold a cross-section.
enum class GaugeForm { KeyValue, Blocks, Profile };

/// What a cross-section is of.
enum class GaugeObject { Unknown, Wheel, Rail };

/// What x = 0 is by the file: a wheel's flange back, its running circle 70 mm from there, or nothing that the
/// file states.
enum class GaugeZero { Unknown, FlangeBack, RunningCircle };

/// A field of a file's header as it stands there.
struct GaugeField {
    QString name;   ///< e.g. "CarNo", in blocks "spline.comment"
    QString value;  ///< without blanks and quotes around it; may be empty
};

/// A cross-section from a file.
struct KVMEASURE_EXPORT GaugeProfile {
    GaugeForm form = GaugeForm::Profile;        ///< of the file
    GaugeObject object = GaugeObject::Unknown;  ///< as the header says
    GaugeZero zero = GaugeZero::Unknown;        ///< of x, as form and header say
    QString side;                    ///< "left", "right", or empty where the header does not say it
    std::vector<Vector> points;      ///< mm, in the order of the file and in the frame that it states; finite
    std::vector<GaugeField> header;  ///< in the order of the file; empty for GaugeForm::Profile
    QStringList notes;               ///< what was done to the points, and what was left out
    QString warning;                 ///< of a table: what may have been misunderstood

    /// The value of a field, its name in any case; empty where there is none.
    QString field(const QString& name) const;
    /// A field as a number; NaN where there is none or it is no number.
    double number(const QString& name) const;
};

/// What a user is told of an object: "wheel", "rail", "cross-section".
KVMEASURE_EXPORT QString objectName(GaugeObject object);

/// Reads the file of a gauge, or any profile that the other commands read. The points are brought into the
/// frame that the file states: units, mirroring, shift, rotation and bounds of blocks; reference points, tilt
/// and offsets of KEY=VALUE files. Each of these that changes a point has a note. Points that the file marks
/// as not in use (a quotation mark, '!' or '%' in front) are left out. `options.units`, where given, is the
/// unit of the points; the others of `options` are for tables.
///
/// Throws Error with file(), and with line() where it is one line's: what cannot be read, a row that is no
/// point, a header without points, less points than the header states, several profiles, more than 1,000,000
/// points, a file above 256 MB.
KVMEASURE_EXPORT GaugeProfile readGaugeProfile(const QString& fileName,
                                               const TextOptions& options = TextOptions());

/// The same from the beginning of a file that is open. `fileName` is its name in messages.
KVMEASURE_EXPORT GaugeProfile readGaugeProfile(const std::shared_ptr<QFile>& file, const QString& fileName,
                                               const TextOptions& options);

}  // namespace KvMeasure
