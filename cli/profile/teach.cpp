// teach: shows segments, makes a template of them, or extends a plan. The part is measured twice: nominal
// values that are to be taught come from the first time, verdicts from the second.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/fitting_options.h"
#include "cli/profile/options.h"
#include "cli/profile/plan_options.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/line_ends.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/inspection/teaching.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

Usage makeUsage() {
    const Usage own{
        "teach",
        "PROFILE",
        "Makes a plan from a good part: a template from its segments, tools on regions, or both. Without "
        "--lines, --longest, --region and --plan it shows the segments and their numbers.",
        {{"--out", "FILE", "plan to write (JSON)"},
         {"--plan", "FILE", "plan that is extended; its template is found in the good part"},
         {"--lines", "LIST", "segments that become the template lines, e.g. \"1,3\" or \"left=1, right=3\""},
         {"--longest", "N", "take the N longest segments, in scan order"},
         {"--name", "TEXT", "name of the plan (that of the file)"},
         {"--length-tolerance", "T", "of each line, \"20%\" or mm (20%)"},
         {"--angle-tolerance", "DEG", "of the first line's inclination and of the turns between lines (5)"},
         {"--distance-tolerance", "T",
          "from line end to next line start, \"20%\" or mm (20%, at least 1 mm)"},
         {"--any-inclination", "", "the part may lie at any angle"},
         {"--reversed", "", "segments may also match from their end to their start"},
         {"--record", "N", "which profile of a file with several, from 0 (0)"},
         {"--svg", "PICTURE", "draw segments, or the template with its measurements"}},
        measureHelp() +
            "\n"
            "Examples\n"
            "  kvmeasure teach good.csv --svg segments.svg\n"
            "  kvmeasure teach good.csv --lines \"left=0, floor=1, right=2\" --out groove.json \\\n"
            "      --measure \"depth = distance floor right : 12.1 +- 0.05; width = length floor\"\n"
            "  kvmeasure teach good.csv --longest 3 --measure \"angle 0 2; shift 0 1 90\" --out t.json\n"
            "  kvmeasure teach good.csv --plan groove.json --region \"R = x -2..2 at floor\" \\\n"
            "      --measure \"low = min in R : +- 0.1\" --out groove2.json\n"};
    return withTextOptions(with(with(with(own, planOptions()), searchOptions()), fittingOptions()));
}

/// "20%" as a share or "2.5" in mm.
void readShareOrMm(const Arguments& arguments, const QString& name, double& share, double& mm) {
    if (!arguments.has(name))
        return;
    QString text = arguments.text(name);
    const bool isShare = text.endsWith('%');
    if (isShare)
        text.chop(1);
    double value = 0;
    if (!(isShare ? parseNumber(text, value) : parseQuantity(text, {"mm"}, value)) || value < 0)
        throw Error(QString("teach: %1 needs a share such as \"20%\" or mm such as \"2.5\", not \"%2\"")
                        .arg(name, arguments.text(name)));
    constexpr double kPercent = 0.01;
    share = isShare ? value * kPercent : 0;
    mm = isShare ? 0 : value;
}

TeachTolerances readTolerances(const Arguments& arguments) {
    TeachTolerances tolerances;
    readShareOrMm(arguments, "--length-tolerance", tolerances.lengthShare, tolerances.lengthMm);
    readShareOrMm(arguments, "--distance-tolerance", tolerances.distanceShare, tolerances.distanceMm);
    tolerances.angleDegrees = arguments.number("--angle-tolerance", tolerances.angleDegrees, 0, 180);
    tolerances.anyInclination = arguments.has("--any-inclination");
    return tolerances;
}

void showSegments(const Arguments& arguments, const LoadedProfile& loaded, const Segments& segments,
                  const InspectionPlan& plan) {
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = loaded.stem + ": segments found";
        picture.profile = loaded.profile;
        picture.segments = segments;
        picture.numberSegments = true;
        writePicture(arguments.text("--svg"), [&] { return drawPicture(picture); });
    }
    if (arguments.isJson()) {
        printJson({{"file", loaded.name},
                   {"segments", jsonSegments(segments)},
                   {"search", jsonSearch(plan.search)}});
        return;
    }
    print(printable(loaded.name) + ": " + counted(loaded.profile.points.size(), "point") + ", " +
          counted(segments.size(), "segment") + '\n' + segmentTable(segments) + searchText(plan.search) +
          "\nChoose with --lines or --longest, and name the template with --out.\n");
}

/// A good part out of its own tolerance: one of the two is wrong, mostly the tolerance.
void warnOfBadPart(const Evaluation& taught) {
    for (const Value& value : taught.values) {
        if (!value.hasTolerance || value.isGood())
            continue;
        const QString is = value.isValid ? (mm(value.value) + ' ' + value.unit).trimmed() : "not measured";
        complain(QString("WARNING: the taught part is out of its own tolerance: ") + value.name + " is " +
                 is + ", allowed is " + value.tolerance.limits());
    }
}

/// Values, and what they may be where they have tolerances.
QString valueTable(const Evaluation& taught) {
    bool isJudged = false;
    for (const Value& value : taught.values)
        isJudged = isJudged || value.hasTolerance;
    QStringList head{"measurement", "value", "unit"};
    if (isJudged)
        head << "from"
             << "to"
             << "verdict";
    Table values(head << "note");
    for (const Value& value : taught.values) {
        QStringList row{value.name, value.isValid ? mm(value.value) : "-", value.unit};
        if (value.hasTolerance) {
            for (const double limit : {value.tolerance.least(), value.tolerance.greatest()})
                row << (std::isfinite(limit) ? mm(limit) : "-");
            row << (value.isGood() ? "good" : "OUT");
        } else if (isJudged) {
            row << ""
                << ""
                << "";
        }
        QStringList notes{value.reason, value.notes()};
        notes.removeAll(QString());
        values.add(row << notes.join("; "));
    }
    return values.text();
}

QList<PlacedLine> placedLines(const Segments& segments, const ChosenLines& chosen) {
    QList<PlacedLine> lines;
    for (int i = 0; i < chosen.segments.size(); ++i)
        lines.append({segments[chosen.segments[i]], chosen.names[i]});
    return lines;
}

/// Lines that the edge of the view cuts, unless the user has thought of their lengths.
void warnOfCutLines(const Arguments& arguments, const KvMath::KvProfile& profile, const Segments& segments,
                    const ChosenLines& chosen) {
    QStringList names;
    for (const int line : linesCutByView(profile, segments, chosen))
        names.append(chosen.names[line]);
    if (!names.isEmpty() && !arguments.has("--length-tolerance"))
        complain(
            "line " + names.join(", ") +
            ": ends at the edge of the view, so that its length depends on where the part lies, and parts "
            "with more than 20% more or less of it are not found; give --length-tolerance, e.g. 40%");
}

/// What was taught, and on what.
struct Taught {
    LoadedProfile part;               ///< behind the filter steps
    ProfilePieces found;              ///< its pieces; none where the plan has no template
    ChosenLines chosen;               ///< segments and names of the template lines
    KvMath::TSLinesIndecies indices;  ///< the same as an assignment
    Evaluation values;                ///< of the part
};

QString summaryOf(const InspectionPlan& plan) {
    QStringList parts;
    if (plan.hasTemplate())
        parts << "template of " + counted(plan.lines.getTemplateLinesNumber(), "line")
              << counted(plan.lines.getAllConstraints().size(), "constraint");
    if (!plan.regions.isEmpty())
        parts << counted(plan.regions.size(), "region");
    if (!plan.tools.isEmpty())
        parts << counted(plan.tools.size(), "tool");
    if (plan.master)
        parts << "master " + plan.master->text();
    return parts.isEmpty() ? QString("empty plan") : parts.join(", ");
}

QJsonArray linesJson(const Taught& taught) {
    QJsonArray lines;
    const QList<int> cut = linesCutByView(taught.part.profile, taught.found.segments, taught.chosen);
    for (int i = 0; i < taught.chosen.segments.size(); ++i)
        lines.append(QJsonObject{{"line", i},
                                 {"name", taught.chosen.names[i]},
                                 {"segment", taught.chosen.segments[i]},
                                 {"cutByView", cut.contains(i)}});
    return lines;
}

void drawTaught(const Arguments& arguments, const Taught& taught, const InspectionPlan& plan) {
    Picture picture;
    picture.title = filledIn("%1 \"%2\"", plan.hasTemplate() ? "Template" : "Plan", plan.name);
    picture.subtitle = "taught on " + taught.part.stem;
    picture.profile = taught.part.profile;
    picture.segments = taught.found.segments;
    picture.lines = placedLines(measuredLines(taught.found, plan.fitting), taught.chosen);
    picture.evaluation = taught.values;
    writePicture(arguments.text("--svg"), [&] { return drawPicture(picture); });
}

void showTaught(const Arguments& arguments, const Taught& taught, const InspectionPlan& plan) {
    if (arguments.has("--svg"))
        drawTaught(arguments, taught, plan);
    if (arguments.isJson()) {
        printJson({{"template", arguments.text("--out")},
                   {"file", taught.part.name},
                   {"lines", linesJson(taught)},
                   {"segments", jsonSegments(taught.found.segments)},
                   {"search", jsonSearch(plan.search)},
                   {"measurements", jsonValues(taught.values.values)},
                   {"good", taught.values.isGood()}});
        return;
    }
    QString text = printable(arguments.text("--out")) + ": " + summaryOf(plan) + ", taught on " +
                   printable(taught.part.name) + '\n';
    Table lines({"line", "name", "segment", "length mm"});
    for (int i = 0; i < taught.chosen.segments.size(); ++i) {
        const KvMath::LinePP& segment = taught.found.segments[taught.chosen.segments[i]];
        lines.add({QString::number(i), taught.chosen.names[i], QString::number(taught.chosen.segments[i]),
                   mm(length(segment.p1, segment.p2))});
    }
    if (plan.hasTemplate())
        text += lines.text();
    print(taught.values.values.isEmpty() ? text : text + '\n' + valueTable(taught.values));
}

/// What has no effect, or is missing, without a template to make.
void requireNoTemplate(const Arguments& arguments) {
    if (arguments.has("--out"))
        throw Error(
            "teach: which segments make the template? Add --lines or --longest; without --out they are "
            "shown with their numbers");
    for (const char* option :
         {"--measure", "--name", "--length-tolerance", "--angle-tolerance", "--distance-tolerance",
          "--any-inclination", "--reversed", "--raw", "--edge-compensation"}) {
        if (arguments.has(option))
            throw Error(
                QString("teach: %1 is of a template; add --lines or --longest, and --out").arg(option));
    }
}

/// What makes a template, where there is none to make.
void refuseMaking(const Arguments& arguments, const char* why) {
    for (const char* option :
         {"--lines", "--longest", "--length-tolerance", "--angle-tolerance", "--distance-tolerance",
          "--any-inclination", "--reversed", "--gap", "--split", "--passes", "--min-length", "--corner"}) {
        if (arguments.has(option))
            throw Error(QString("teach: %1 makes a template; %2").arg(option, why));
    }
}

bool choosesLines(const Arguments& arguments) {
    return arguments.has("--lines") || arguments.has("--longest");
}

ChosenLines chooseLines(const Arguments& arguments, const Segments& segments) {
    if (arguments.has("--lines") && arguments.has("--longest"))
        throw Error("teach: --lines and --longest exclude each other; give one");
    return arguments.has("--lines")
               ? parseLines(arguments.text("--lines"), static_cast<int>(segments.size()))
               : longestLines(segments, arguments.integer("--longest", 1, 1, kMostTemplateLines));
}

/// Makes the template of the plan from the chosen segments.
void makeTemplate(const Arguments& arguments, Taught& taught, InspectionPlan& plan) {
    taught.chosen = chooseLines(arguments, taught.found.segments);
    buildConstraints(taught.found.segments, taught.chosen, readTolerances(arguments), plan);
    std::vector<int> codes;
    for (const int segment : taught.chosen.segments)
        codes.push_back(2 * segment);
    taught.indices = KvMath::TSLinesIndecies(codes.data(), static_cast<int>(codes.size()));
    plan.ends = lineEnds(taught.found, taught.indices, plan.lineNames);
}

/// Finds the template of the plan that is extended.
void findTemplate(Taught& taught, const InspectionPlan& plan) {
    PartMeasurement measurement(plan);
    const MeasuredPart measured = measurement.measurePrepared(taught.part.profile);
    if (!measured.isFound())
        throw Error("teach: the template of the plan is not in the taught part: " + measured.reason);
    taught.found =
        findPieces(taught.part.profile, measurement.search(taught.part.profile), plan.fitting.pieces());
    taught.indices = measured.bestIndices;
    taught.chosen.names = plan.lineNames;
    for (int i = 0; i < taught.indices.count(); ++i) {
        int segment = 0;
        taught.indices.getLineIndex(i, segment);
        taught.chosen.segments.append(segment);
    }
}

/// Adds what the options say, measures the part with it and writes the plan.
void finish(const Arguments& arguments, Taught& taught, InspectionPlan& plan) {
    const QString out = arguments.required("--out", "it names the plan to write");
    if (arguments.has("--name") || plan.name.isEmpty())
        plan.name = arguments.has("--name") ? arguments.text("--name") : QFileInfo(out).completeBaseName();
    const auto written = addMeasurements(measureText(arguments), plan);
    requireSound("teach", plan);
    PartSettings settings;
    settings.givesMarks = arguments.has("--svg");
    const auto measure = [&] {
        PartMeasurement measurement(plan, settings);
        return measurement.measureAssigned(taught.part.profile, taught.found, taught.indices);
    };
    settleTolerances(written, measure().values, plan);
    taught.values = measure();
    if (plan.master)
        refuseOverwriting({out}, {plan.master->file});
    writeOutputFile(out, planText(plan, out));
    showTaught(arguments, taught, plan);
    if (choosesLines(arguments))
        warnOfCutLines(arguments, taught.part.profile, taught.found.segments, taught.chosen);
    warnOfBadPart(taught.values);
}

}  // namespace

int runTeach(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 1, 1);
    // The plan may be written over by its longer self.
    refuseOverwriting({arguments.text("--svg")},
                      arguments.operands() + QStringList{arguments.text("--plan")});
    refuseOverwriting({arguments.text("--out"), arguments.text("--svg")},
                      arguments.operands() + QStringList{arguments.text("--master")});
    Taught taught;
    taught.part = takeProfile(arguments);
    InspectionPlan plan = arguments.has("--plan") ? readPlan(arguments.text("--plan")) : InspectionPlan();
    addPlaces(arguments, plan);
    for (int i = 0; i < static_cast<int>(plan.filter.size()); ++i)
        applyStep(plan.filter[i], i + 1, taught.part.profile);
    applyFittingOptions(arguments, plan.fitting);
    if (plan.hasTemplate()) {
        refuseMaking(arguments, "the plan has one, which cannot be replaced");
        findTemplate(taught, plan);
        finish(arguments, taught, plan);
        return Done;
    }
    const bool isOfTools = arguments.has("--plan") || !plan.regions.isEmpty() || !plan.anchors.isEmpty() ||
                           plan.master.has_value();
    if (isOfTools && !choosesLines(arguments)) {
        refuseMaking(arguments, "add --lines or --longest");
        finish(arguments, taught, plan);
        return Done;
    }
    plan.search = estimateSearch(taught.part.profile);
    plan.search.allowReversed = arguments.has("--reversed");
    applySearchOptions(arguments, plan.search);
    taught.found = findPieces(taught.part.profile, plan.search, plan.fitting.pieces());
    if (!choosesLines(arguments)) {
        requireNoTemplate(arguments);
        showSegments(arguments, taught.part, taught.found.segments, plan);
        return Done;
    }
    arguments.required("--out", "it names the template to write");
    makeTemplate(arguments, taught, plan);
    finish(arguments, taught, plan);
    return Done;
}

}  // namespace KvMeasure
