#pragma once
// The wheelsets of a pass as its document (wheelJson) holds them, with verdicts in words.

#include <kvmeasure/report/html_page.h>

#include <QtCore/QJsonArray>

namespace KvMeasure {

/// A value of a wheel: its key in the document, and its name.
struct WheelQuantity {
    const char *key, *name;
};
inline constexpr WheelQuantity kWheelQuantities[] = {
    {"flangeHeight", "flange height"},       {"thicknessFromBack", "thickness from back"},
    {"flangeSteepness", "flange steepness"}, {"heightDeviation", "height deviation"},
    {"radius", "radius of the flange tip"},  {"runningDiameter", "running diameter"}};
inline constexpr const char* kWheelSides[] = {"left", "right"};

/// A wheelset with the verdicts on its wheels and on itself.
struct Axle {
    QJsonObject json, wheels[2];
    QString name, words[2], own;

    explicit Axle(const QJsonObject& wheelset);
    bool isGood() const;
    QString travel() const;  ///< m
};

double numberOf(const QJsonValue& value);  ///< NaN where there is none
QString rounded(double value);             ///< three decimals; "-" for NaN
QString joined(const QJsonValue& notes);   ///< with semicolons

/// The expanded uncertainty of a value of a wheel or wheelset; NaN where there is none.
double expandedOf(const QJsonObject& owner, const QString& key);

/// "value +- U", the value alone where it has no U.
QString withUncertainty(const QJsonObject& owner, const QString& key);

/// Of a verdict by a table of limits: name and symbol; its limits; why it is not good, with its note.
QString nameOf(const QJsonObject& limit);
QString unitOf(const QJsonObject& limit);  ///< "mm", "deg", or empty for a plain number
QString limitsText(const QJsonObject& limit);
QString reasonOf(const QJsonObject& limit);

/// Each value along the train, those with limits first. A limit that is not the same all along is not shown.
QList<PlottedSeries> seriesOf(const QList<Axle>& axles);

}  // namespace KvMeasure
