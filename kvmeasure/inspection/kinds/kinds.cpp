// The table of all kinds, in the order of the help: those that measure lines of a template, and tools, which
// measure regions. A new kind is a file in this folder and a row here; nothing else lists them.

#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/measurement_kind_p.h>

#include <iterator>

namespace KvMeasure {

namespace Internal {

// `class` declares the name, so that the table needs no header of a kind; in an unnamed namespace it would
// declare another class.
static constexpr const MeasurementKind* (*kRows[])() = {
    kindRow<class LengthKind>,  kindRow<class InclinationKind>, kindRow<class RotationKind>,
    kindRow<class AngleKind>,   kindRow<class PointKind>,       kindRow<class IntersectionKind>,
    kindRow<class BetweenKind>, kindRow<class ShiftKind>,       kindRow<class DistanceKind>,
    kindRow<class FarKind>,
};

static constexpr const ToolKind* kTools[] = {
    &maxTool,           //
    &minTool,           //
    &meanTool,          //
    &medianTool,        //
    &percentileTool,    //
    &bridgeTool,        //
    &boxTool,           //
    &areaTool,          //
    &lineTool,          //
    &arcTool,           //
    &intersectionTool,  //
    &angleTool,         //
    &dimensionTool,     //
    &stepTool,          //
    &gapTool,           //
    &flushTool,         //
    &grooveTool,        //
    &cornerTool,        //
    &edgeTool,          //
    &filletTool,        //
    &stripTool,         //
    &thicknessTool,     //
    &filletWeldTool,    //
    &buttWeldTool,      //
    &straightnessTool,  //
    &roundnessTool,     //
    &stepHeightTool,    //
    &roughnessTool,     //
};

const std::vector<const MeasurementKind*>& measurementKinds() {
    static const auto kinds = [] {
        std::vector<const MeasurementKind*> made;
        for (const auto row : kRows)
            made.push_back(row());
        return made;
    }();
    return kinds;
}

KindsOfWord kindsOf(const QString& word) {
    KindsOfWord kinds;
    for (const MeasurementKind* kind : measurementKinds()) {
        if (kind->word() == word)
            kinds.ofLines = kind;
    }
    kinds.tool = findToolKind(word);
    return kinds;
}

QStringList kindWords() {
    QStringList words;
    for (const MeasurementKind* kind : measurementKinds())
        words.append(kind->word());
    for (const ToolKind* kind : toolKinds())
        words.append(kind->word);
    words.removeDuplicates();
    return words;
}

QMap<QString, QString> otherKindWords() {
    QMap<QString, QString> words;
    for (const MeasurementKind* kind : measurementKinds()) {
        for (const QString& other : kind->otherWords())
            words.insert(other, kind->word());
    }
    return words;
}

}  // namespace Internal

const std::vector<const ToolKind*>& toolKinds() {
    static const std::vector<const ToolKind*> kinds(std::begin(Internal::kTools), std::end(Internal::kTools));
    return kinds;
}

const ToolKind* findToolKind(const QString& word) {
    for (const ToolKind* kind : toolKinds()) {
        if (word == QLatin1String(kind->word))
            return kind;
    }
    return nullptr;
}

}  // namespace KvMeasure
