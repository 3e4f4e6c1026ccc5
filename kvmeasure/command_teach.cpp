#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/measure_expression.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_sequence.h"
#include "kvmeasure/search_defaults.h"
#include "kvmeasure/teaching.h"

#include <QtCore/QFileInfo>

namespace KvMeasure {

namespace {

Usage makeUsage() {
    return with(
        {"teach",
         "PROFILE",
         "Makes a template from the segments of a good part. Without --lines or --longest it shows the "
         "segments "
         "and their numbers.",
         {{"--out", "FILE", "template to write (JSON)"},
          {"--lines", "LIST", "segments that become the template lines, e.g. \"1,3\" or \"left=1, right=3\""},
          {"--longest", "N", "take the N longest segments, in scan order"},
          {"--measure", "TEXT", "measurements, see below"},
          {"--name", "TEXT", "name of the template (that of the file)"},
          {"--length-tolerance", "T", "of each line, \"20%\" or mm (20%)"},
          {"--angle-tolerance", "DEG", "of the first line's inclination and of the turns between lines (5)"},
          {"--distance-tolerance", "T",
           "from line end to next line start, \"20%\" or mm (20%, at least 1 mm)"},
          {"--any-inclination", "", "the part may lie at any angle"},
          {"--reversed", "", "segments may also match from their end to their start"},
          {"--record", "N", "which profile of a file with several, from 0 (0)"},
          {"--columns", "X,Y", "columns of a CSV file, from 1 (1,2)"},
          {"--svg", "FILE", "draw segments, or the template with its measurements"}},
         QString(measureHelp()) +
             "\nExamples\n"
             "  kvmeasure teach good.csv --svg segments.svg\n"
             "  kvmeasure teach good.csv --lines \"left=0, floor=1, right=2\" --out groove.json \\\n"
             "      --measure \"depth = distance floor right : 12.1 +- 0.05; width = length floor\"\n"
             "  kvmeasure teach good.csv --longest 3 --measure \"angle 0 2; shift 0 1 90\" --out t.json\n"},
        searchOptions());
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
    if (!parseNumber(text, value) || value < 0)
        throw Failure{QString("teach: %1 needs a share such as \"20%\" or mm such as \"2.5\", not \"%2\"")
                          .arg(name, arguments.text(name))};
    constexpr double percent = 0.01;
    share = isShare ? value * percent : 0;
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
                  const TemplateFile& file) {
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = loaded.stem + ": segments found";
        picture.profile = loaded.profile;
        picture.segments = segments;
        picture.numberSegments = true;
        writeOutputFile(arguments.text("--svg"), drawPicture(picture));
    }
    if (arguments.isJson()) {
        printJson({{"file", loaded.name},
                   {"segments", jsonSegments(segments)},
                   {"search", jsonSearch(file.search)}});
        return;
    }
    print(QString("%1: %2 points, %3 segments\n")
              .arg(loaded.name)
              .arg(loaded.profile.points.size())
              .arg(segments.size()) +
          segmentTable(segments) + "\nChoose with --lines or --longest, and name the template with --out.\n");
}

/// Tolerances as written, with the taught part's values where no nominal value was given.
void settleTolerances(const QMap<QString, WrittenTolerance>& written, const Evaluation& taught,
                      TemplateFile& file) {
    for (auto it = written.begin(); it != written.end(); ++it) {
        Tolerance tolerance = it->tolerance;
        for (const Value& value : taught.values) {
            if (value.name == it.key() && value.isValid && !it->hasNominal)
                tolerance.nominal = value.value;
        }
        file.tolerances[it.key()] = tolerance;
    }
}

QList<PlacedLine> placedLines(const Segments& segments, const ChosenLines& chosen) {
    QList<PlacedLine> lines;
    for (int i = 0; i < chosen.segments.size(); ++i)
        lines.append({segments[chosen.segments[i]], chosen.names[i]});
    return lines;
}

void showTemplate(const Arguments& arguments, const LoadedProfile& loaded, const Segments& segments,
                  const ChosenLines& chosen, const Evaluation& taught, const TemplateFile& file) {
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = QString("Template \"%1\"").arg(file.name);
        picture.subtitle = "taught on " + loaded.stem;
        picture.profile = loaded.profile;
        picture.segments = segments;
        picture.lines = placedLines(segments, chosen);
        picture.evaluation = taught;
        writeOutputFile(arguments.text("--svg"), drawPicture(picture));
    }
    if (arguments.isJson()) {
        QJsonArray lines;
        for (int i = 0; i < chosen.segments.size(); ++i)
            lines.append(
                QJsonObject{{"line", i}, {"name", chosen.names[i]}, {"segment", chosen.segments[i]}});
        printJson({{"template", arguments.text("--out")},
                   {"file", loaded.name},
                   {"lines", lines},
                   {"segments", jsonSegments(segments)},
                   {"search", jsonSearch(file.search)},
                   {"measurements", jsonValues(taught.values)}});
        return;
    }
    QString text = QString("%1: template of %2 lines, %3 constraints, taught on %4\n")
                       .arg(arguments.text("--out"))
                       .arg(chosen.segments.size())
                       .arg(file.lines.getAllConstraints().size())
                       .arg(loaded.name);
    Table lines({"line", "name", "segment", "length mm"});
    for (int i = 0; i < chosen.segments.size(); ++i) {
        const KvMath::LinePP& segment = segments[chosen.segments[i]];
        lines.add({QString::number(i), chosen.names[i], QString::number(chosen.segments[i]),
                   mm(length(segment.p1, segment.p2))});
    }
    text += lines.text();
    Table values({"measurement", "value", "unit"});
    for (const Value& value : taught.values)
        values.add({value.name, value.isValid ? mm(value.value) : "-", value.unit});
    print(taught.values.isEmpty() ? text : text + '\n' + values.text());
}

}  // namespace

int runTeach(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 1, 1);
    refuseOverwriting({arguments.text("--out"), arguments.text("--svg")}, arguments.operands());
    const LoadedProfile loaded = takeProfile(arguments);
    TemplateFile file;
    file.search = estimateSearch(loaded.profile);
    file.search.allowReversed = arguments.has("--reversed");
    applySearchOptions(arguments, file.search);
    const TeachTolerances tolerances = readTolerances(arguments);
    Segments segments = extractSegments(loaded.profile, file.search);
    if (!arguments.has("--lines") && !arguments.has("--longest")) {
        if (arguments.has("--out"))
            throw Failure{
                "teach: which segments make the template? Add --lines or --longest; without --out they are "
                "shown with their numbers"};
        for (const char* option : {"--measure", "--name", "--length-tolerance", "--angle-tolerance",
                                   "--distance-tolerance", "--any-inclination"}) {
            if (arguments.has(option))
                throw Failure{
                    QString("teach: %1 is of a template; add --lines or --longest, and --out").arg(option)};
        }
        showSegments(arguments, loaded, segments, file);
        return Done;
    }
    if (arguments.has("--lines") && arguments.has("--longest"))
        throw Failure{"teach: --lines and --longest exclude each other; give one"};
    const QString out = arguments.required("--out", "it names the template to write");
    const ChosenLines chosen =
        arguments.has("--lines")
            ? parseLines(arguments.text("--lines"), static_cast<int>(segments.size()))
            : longestLines(segments, arguments.integer("--longest", 1, 1, mostTemplateLines));
    file.name = arguments.has("--name") ? arguments.text("--name") : QFileInfo(out).completeBaseName();
    buildConstraints(segments, chosen, tolerances, file);
    const auto written = addMeasurements(arguments.text("--measure"), file);

    std::vector<int> codes;
    for (const int segment : chosen.segments)
        codes.push_back(2 * segment);
    const KvMath::TSLinesIndecies indices(codes.data(), static_cast<int>(codes.size()));
    settleTolerances(written, evaluate(segments, indices, file), file);
    const Evaluation taught = evaluate(segments, indices, file);
    writeOutputFile(out, templateFileText(file));
    showTemplate(arguments, loaded, segments, chosen, taught, file);
    return Done;
}

}  // namespace KvMeasure
