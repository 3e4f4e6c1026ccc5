#pragma once
// The settings of a measuring post, checked before any of them is used.

#include <kvmath/core/line.h>
#include <kvmath/wheel/sensor_coord.h>
#include <kvmeasure/base/global.h>

#include <QtCore/QSettings>
#include <QtCore/QStringList>

namespace KvMeasure {

/// The wheels of a wheelset.
enum Side : int { Left = 0, Right = 1 };

/// Number of the scanner that looks at the flange back of a side: SENSOR1 at the left wheel, SENSOR2 at the
/// right one.
constexpr int faceScanner(int side) { return side + 1; }

/// Number of the scanner in the middle of the post that sees sections of a side, SENSOR4 or SENSOR12. The
/// numbers before and after it are the other two of that side.
constexpr int middleScanner(int side) { return side == Left ? 4 : 12; }

/// True for the numbers of the eight scanners that take part: 1, 2, 3 to 5, 11 to 13.
KVMEASURE_EXPORT bool hasRole(int index);

/// True for the numbers of the scanners that see sections of wheels: 3 to 5 left, 11 to 13 right.
KVMEASURE_EXPORT bool seesSections(int index);

/// The name of a scanner in the settings and in messages, e.g. "SENSOR4".
KVMEASURE_EXPORT QString sensorName(int index);

/// "left" or "right".
KVMEASURE_EXPORT QString sideName(int side);

/// The INI file of a post (keys: docs/wheels.md). What it returns has been checked, so that no default takes
/// the place of what was meant.
class KVMEASURE_EXPORT PostSettings {
public:
    /// Reads and checks a file. Throws Error in that file: missing, no regular file, larger than 4 MB or no
    /// INI file; a line without "=" or with an open quotation; no scanner; a scanner with a role whose serial
    /// number is missing or after a gap, or one for sections without a rule of nine numbers; values that are
    /// no numbers or beyond their range.
    explicit PostSettings(const QString& path);

    /// The settings as the functions of kvmath read them. They belong to this object.
    QSettings* ini() { return &ini_; }
    /// The number of the scanner with this serial number, 1 to 49; 0: not configured.
    int indexOf(int serial) const;
    /// The fewest profiles of a wheel: minProfsInWheel, >= 1; 5 where it is absent.
    int leastProfiles() const;
    /// The line NAME_k, NAME_b of a scanner; slope and intercept, mm, where they are absent. Throws Error for
    /// a value that is no number.
    KvMath::KvLine line(int index, const QString& name, double slope = 0, double intercept = 0) const;
    /// A number of this scanner, else that of all, else `absent`. Throws Error for a value that is no number.
    double ofScanner(int index, const QString& name, double absent) const;
    /// The reference line k2, b2 of a face scanner, mm; 0, 0 where it is absent.
    KvMath::KvLine reference(int index) const;
    /// The distance of the two reference lines, calibrLines2, mm; 0 where it is absent.
    float referenceDistance() const;
    /// How the points of a scanner get to the axes of the post. Only for the number of a configured scanner
    /// that sees sections, as findRecordings finds them; not checked.
    const KvMath::_KvORBIS_SensorCoordROT_& rule(int index) const { return rules_.find(index).value(); }

private:
    [[noreturn]] void fail(const QString& text) const;
    PostSettings(const QString& path, const QByteArray& text);
    void requireAssignments(const QByteArray& text) const;
    double number(const QString& key, double absent) const;
    void check(const QString& key, double absent, double minimum, bool isWhole) const;
    void checkSensor(int index) const;
    void readRule(int index);

    QString path_;
    QSettings ini_;
    QMap<int, KvMath::_KvORBIS_SensorCoordROT_> rules_;
};

}  // namespace KvMeasure
