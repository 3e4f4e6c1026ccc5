#pragma once
// The actions of "kvmeasure wheels". Each takes the words behind its name and returns an exit code.

#include <QtCore/QStringList>

namespace KvMeasure {

/// Everything that works on the recordings of a pass: detect, parameters, distances, defects, pass.
int runWheelsOnPass(const QString& action, const QStringList& words);

/// The values of plain cross-sections in text files, with these options of "wheels parameters".
struct SectionOptions {
    double diameter;  ///< at height 0, mm
    bool areRadii;    ///< the second column holds radii, not heights
    QString columns, picture;
    int kind;  ///< as _WheelProfileValues::wheelType
    bool isJson;
};
int measureSections(const QStringList& paths, const SectionOptions& options);

}  // namespace KvMeasure
