#pragma once
// The settings of a measuring post, checked before any of them is used.

#include <kvmath/wheel/sensor_coord.h>

#include <QtCore/QSettings>
#include <QtCore/QStringList>

namespace KvMeasure {

enum Side : int { Left = 0, Right = 1 };

/// Which scanner does what: SENSOR1 and 2 look at the backs of the left and right wheels; SENSOR3, 4, 5 see
/// the left wheel before, in and behind the middle of the post, SENSOR11, 12, 13 the right one.
constexpr int faceScanner(int side) { return side + 1; }
constexpr int middleScanner(int side) { return side == Left ? 4 : 12; }
bool hasRole(int index);
bool seesSections(int index);
QString sensorName(int index);  ///< "SENSOR4"
QString sideName(int side);

/// Throws Failure for a file that is missing, unreadable or no INI file, for a line without "=" or with an
/// open quotation, for a scanner with a role whose serial number is missing or behind a gap, and for values
/// that are no numbers or beyond their range.
class PostSettings {
public:
    explicit PostSettings(const QString& path);

    QSettings* ini() { return &ini_; }
    int indexOf(int serial) const;  ///< 0: not configured
    const KvMath::_KvORBIS_SensorCoordROT_& rule(int index) const { return rules_.find(index).value(); }

private:
    [[noreturn]] void fail(const QString& text) const;
    void requireAssignments() const;
    double number(const QString& key, double absent) const;
    void check(const QString& key, double absent, double minimum, bool isWhole) const;
    void checkSensor(int index) const;
    void readRule(int index);

    QString path_;
    QSettings ini_;
    QMap<int, KvMath::_KvORBIS_SensorCoordROT_> rules_;
};

}  // namespace KvMeasure
