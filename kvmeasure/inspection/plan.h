#pragma once
// Inspection plans: all that a part needs, in one JSON document. A template is stored as the library's
// template document; everything else stands beside it.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/anchor.h>
#include <kvmeasure/inspection/master.h>
#include <kvmeasure/inspection/region.h>
#include <kvmeasure/inspection/stated_uncertainty.h>
#include <kvmeasure/inspection/tolerance.h>
#include <kvmeasure/inspection/tool.h>
#include <kvmeasure/profiles/filter_steps.h>
#include <kvmeasure/profiles/line_refit.h>

#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template.h>

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace KvMeasure {

/// Most lines of a template that is read; a search over more costs too much to be started.
constexpr int kMostTemplateLines = 1000;

/// The mean of two results of measurements, shown in their place: a distance taken at both ends of a line.
struct Mean {
    QString name;    ///< of the mean
    QString first;   ///< name of a result; the mean is shown in its place
    QString second;  ///< name of the other result
};

/// An inspection plan: what to do with a profile before it is measured, what to find in it, what to measure
/// on it, and what the values may be. A plan needs no template: tools measure on regions. Made from a file,
/// from words (addTools), or from a good part:
///
///     InspectionPlan plan;
///     plan.search = estimateSearch(profile);
///     const Segments segments = findPieces(profile, plan.search).segments;
///     buildConstraints(segments, longestLines(segments, 3), TeachTolerances(), plan);
///     const auto written = addMeasurements("depth = distance 1 0 : 6 +- 0.1", plan);  // needs the lines
///     plan.tolerances["depth"] = written["depth"].tolerance;
///     writeOutputFile("plan.json", planText(plan));
struct InspectionPlan {
    KvMath::TSTemplate lines{0};             ///< the template: its lines and their constraints
    KvMath::TSMeasurementList measurements;  ///< in the order of the results
    KvMath::TSFindTemplateParams search{};   ///< how a profile becomes segments
    bool hasSearch = false;  ///< false: the file has no search parameters, estimate them from the profile
    QString name;            ///< of the plan, for titles; may be empty
    QStringList lineNames;   ///< one per template line; the number where it has no name
    QList<Mean> means;       ///< of results of the measurements
    QMap<QString, Tolerance> tolerances;  ///< by name of the result
    LineFitting fitting;                  ///< of the lines that are measured
    QList<QStringList> ends;   ///< per template line what lay beyond its start and end when it was taught;
                               ///< empty: not known
    QList<FilterStep> filter;  ///< steps that every profile goes through first, in order
    QList<Region> regions;     ///< what tools and anchors read, each of another name
    QList<Anchor> anchors;     ///< what regions move with, each of another name
    QList<Tool> tools;         ///< measured after the measurements, in the order of the results
    std::optional<PlanMaster> master;  ///< what the part is compared with, after the tools; it is taken as
                                       ///< it is, without the filter steps
    Decision decision = Decision::Simple;  ///< how values are judged by their tolerances
    StatedUncertainty calibration;         ///< what is added to the uncertainty of the values

    /// It has a template, which is searched for.
    bool hasTemplate() const { return lines.getTemplateLinesNumber() > 0; }
    /// It measures without a template, too.
    bool hasTools() const { return !tools.isEmpty() || master.has_value(); }
};

/// One value that a measurement delivers: its name and "mm" or "deg".
struct ValueName {
    QString name;  ///< as in tables and tolerances
    QString unit;  ///< "mm" or "deg"
};

/// What one measurement delivers, in the order of its results, without those that are not active. A point
/// delivers two, its name with ".x" and ".y".
KVMEASURE_EXPORT QList<ValueName> valueNames(KvMath::TSMeasurement& measurement);

/// What all measurements and means deliver, in the order of the tables; parts of means are not shown.
KVMEASURE_EXPORT QList<ValueName> measurementNames(const InspectionPlan& plan);

/// The same with the values of the tools and of the master after them: all columns of a table.
KVMEASURE_EXPORT QList<ValueName> valueNames(const InspectionPlan& plan);

/// What does not go together in a plan, with its place, e.g. `tools[2] "top": there is no region "S"`: a name
/// that is there twice or not at all, an anchor that depends on itself, a setting that is missing. Empty:
/// nothing.
KVMEASURE_EXPORT QString planFault(const InspectionPlan& plan);

/// Adds tools in words, parted by semicolons or line ends, with their tolerances: "NAME = KIND ... [:
/// TOLERANCE]", see toolHelp(). Throws Error with parameter() "measure", the plan then unchanged. Whether the
/// regions are there says planFault().
KVMEASURE_EXPORT void addTools(const QString& text, InspectionPlan& plan);

/// Reads a plan of at most 4 MB, 1000 template lines, 2000 measurements, and 1000 means, regions, anchors and
/// tools each; "-" is standard input. Whole numbers count as numbers everywhere: KvMath takes a bound that is
/// not of type double for unset, and JSON does not tell 3 from 3.0. Unknown keys are refused with a
/// suggestion; only a template document of another program may have keys of its own beside "template". Throws
/// Error with file(): for a file that cannot be read or is too large; with line() for text that is no JSON;
/// for a part of the plan that is not as it must be, with its place in the document and what was expected
/// there.
KVMEASURE_EXPORT InspectionPlan readPlan(const QString& path);

/// The plan as JSON that readPlan reads; with a template its search parameters are always included. `path`:
/// where it is written to, so that the file of a master is named from there; empty: it is named in full.
/// Throws Error for a constraint or measurement of a kind that cannot be stored.
/// (1) The plan that readPlan makes of this text has the same text.
KVMEASURE_EXPORT QByteArray planText(const InspectionPlan& plan, const QString& path = QString());

/// The JSON schema (draft 2020-12) of the plans that readPlan takes, made from the descriptions of the kinds.
/// What it cannot say: names that go together, numbers in the right order, words of filter steps.
KVMEASURE_EXPORT QByteArray planSchema();

}  // namespace KvMeasure
