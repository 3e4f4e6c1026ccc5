#pragma once
// How the simulators refuse a recipe.

#include <QtCore/QString>

namespace Simulator {

/// Nothing for a value within its range, otherwise a text that names the field and the range. NaN is outside.
inline QString outside(const QString& field, double value, double minimum, double maximum) {
    if (value >= minimum && value <= maximum)  // false for NaN
        return {};
    return QString("%1: %2 is outside %3 ... %4")
        .arg(field, QString::number(value), QString::number(minimum), QString::number(maximum));
}

}  // namespace Simulator
