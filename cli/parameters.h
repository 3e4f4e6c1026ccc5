#pragma once
// How the program calls the parameters of the library.

#include <QtCore/QString>

namespace KvMeasure {

/// The option of a parameter: "--scan-step" for "step", else its name in words.
QString optionOf(const QString& parameter);

}  // namespace KvMeasure
