#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/match_report.h"
#include "kvmeasure/near_miss.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_sequence.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_options.h"
#include "kvmeasure/search_defaults.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage = withScanOptions(
    {"match",
     "PROFILE...",
     "Finds a template in profiles, or in each profile of a scan, and evaluates its measurements.",
     {{"--template", "FILE", "template made by \"kvmeasure teach\" (required)"},
      {"--all", "", "every assignment that meets the constraints, not only the best"},
      {"--trend", "FILE", "draw each measurement along the scan"},
      {"--svg", "FILE", "draw; with several profiles one picture each, the profile's name put into FILE"},
      {"--columns", "X,Y", "columns of CSV files, from 1 (1,2)"},
      {"--csv", "", "print CSV, one row per profile; statistics are comments below it"}},
     "The best assignment is the one with the greatest total length of its lines. A single profile is "
     "printed "
     "with a\n"
     "row per result. Several, from several files or from a file with several, have a row each, followed "
     "by "
     "the\n"
     "statistics of each measurement over its best assignments. Exit code 1: not found, a result that "
     "cannot "
     "be had\n"
     "or is out of tolerance. Where a single profile does not hold the template, the nearest assignment and "
     "the\n"
     "constraints that refuse it are named; where four or more would, how far the search got.\n\n"
     "Examples\n"
     "  kvmeasure match part.csv --template groove.json --svg part.svg\n"
     "  kvmeasure match rows/*.csv --template groove.json --json > results.json\n"
     "  kvmeasure match stack.bin --template groove.json --trend trend.svg --csv > depth.csv\n"});

MatchReport::Form formOf(const Arguments& arguments) {
    if (arguments.isJson() && arguments.has("--csv"))
        throw Failure{"match: --json and --csv are two forms of one output; give one of them"};
    if (arguments.isJson())
        return MatchReport::Json;
    return arguments.has("--csv") ? MatchReport::Csv : MatchReport::Text;
}

/// The run over all profiles.
class Matcher {
public:
    explicit Matcher(const Arguments& arguments)
        : arguments_(arguments), scan_(readScanOptions(arguments)),
          file_(readTemplateFile(arguments.text("--template"))),
          report_(formOf(arguments), file_, arguments.has("--all"), arguments.has("--trend")) {}

    void matchFile(const QString& path, Progress* files);
    void finish();
    int code() const { return code_; }

private:
    MatchedProfile matchProfile(const LoadedProfile& loaded);
    void draw(const LoadedProfile& loaded, const MatchedProfile& matched,
              const KvMath::TSLinesIndecies* best);
    QString picturePath(const QString& stem);

    const Arguments& arguments_;
    ScanOptions scan_;
    TemplateFile file_;
    MatchReport report_;
    int code_ = Done;
    int profiles_ = 0;
    QSet<QString> pictures_;
};

QString Matcher::picturePath(const QString& stem) {
    QString path = arguments_.text("--svg");
    const bool isSingle = arguments_.operands().size() == 1 &&
                          stem == QFileInfo(arguments_.operands().first()).completeBaseName();
    if (isSingle)
        return path;
    QString named = partPath(path, stem);
    for (int i = 2; pictures_.contains(named); ++i)
        named = partPath(path, stem + '-' + QString::number(i));
    pictures_.insert(named);
    return named;
}

void Matcher::draw(const LoadedProfile& loaded, const MatchedProfile& matched,
                   const KvMath::TSLinesIndecies* best) {
    Picture picture;
    picture.title = loaded.stem;
    picture.subtitle = QString("template \"%1\"%2%3")
                           .arg(file_.name, best == nullptr ? " not found" : "",
                                std::isnan(matched.z) ? QString() : QString(" at z = %1 mm").arg(matched.z));
    picture.profile = loaded.profile;
    picture.segments = matched.segments;
    picture.evaluation = matched.best;
    for (int i = 0; best != nullptr && i < best->count(); ++i)
        picture.lines.append({assignedLine(matched.segments, *best, i), file_.lineNames.value(i)});
    writeOutputFile(picturePath(loaded.stem), drawPicture(picture));
}

MatchedProfile Matcher::matchProfile(const LoadedProfile& loaded) {
    KvMath::TSFindTemplateParams search = file_.search;
    if (!file_.hasSearch)
        search = estimateSearch(loaded.profile);
    MatchedProfile matched;
    matched.name = loaded.name;
    matched.z = loaded.hasZ() ? double(loaded.z) : std::nan("");
    if (!std::isnan(scan_.step))  // over all files
        matched.z = scan_.start + profiles_ * scan_.step;
    ++profiles_;
    matched.points = static_cast<int>(loaded.profile.points.size());
    matched.unset = loaded.unset;
    matched.segments = extractSegments(loaded.profile, search);
    const QList<KvMath::TSLinesIndecies> found =
        findAssignments(matched.segments, file_.lines, search.allowReversed);
    matched.found = static_cast<int>(found.size());
    if (found.isEmpty() && report_.showsReason())
        matched.reason = nearMiss(matched.segments, file_, search.allowReversed);
    int best = 0;
    for (int i = 1; i < found.size(); ++i) {
        if (totalLength(matched.segments, found[i]) > totalLength(matched.segments, found[best]))
            best = i;
    }
    for (int i = 0; i < found.size(); ++i) {
        if (i != best && !arguments_.has("--all"))
            continue;
        const Evaluation evaluation = evaluate(matched.segments, found[i], file_);
        if (i == best)
            matched.best = evaluation;
        matched.assignments.append({i == best ? QString("best") : QString::number(i), found[i], evaluation});
    }
    if (arguments_.has("--svg"))
        draw(loaded, matched, found.isEmpty() ? nullptr : &found[best]);
    return matched;
}

/// `files`: progress over several files, null for a single one, whose bytes are then shown.
void Matcher::matchFile(const QString& path, Progress* files) {
    ProfileSequence source(path, arguments_.text("--columns"), scan_);
    Progress progress(path, source.size());
    LoadedProfile loaded;
    while (source.next(loaded)) {
        MatchedProfile matched;
        try {
            matched = matchProfile(loaded);
        } catch (const Failure& failure) {
            throw Failure{failure.text.startsWith(loaded.name) ? failure.text
                                                               : loaded.name + ": " + failure.text};
        }
        if (!matched.isGood())
            code_ = NotMet;
        if (report_.isAboutToPrint())
            (files != nullptr ? *files : progress).clear();
        report_.add(matched);
        if (files == nullptr)
            progress.show(source.position());
    }
}

void Matcher::finish() {
    report_.finish();
    if (arguments_.has("--trend"))
        writeOutputFile(arguments_.text("--trend"), drawTrend(report_.trend()));
}

}  // namespace

int runMatch(const QStringList& words) {
    const Arguments arguments(usage, words, 1, anyNumber);
    arguments.required("--template", "make one with \"kvmeasure teach\"");
    refuseOverwriting({arguments.text("--svg"), arguments.text("--trend")},
                      scanInputs(arguments) + QStringList{arguments.text("--template")});
    Matcher matcher(arguments);
    const QStringList& paths = arguments.operands();
    Progress files("files", paths.size());
    int done = 0;
    const int code = forEachFile(paths, [&](const QString& path) {
        files.show(done);
        ++done;
        try {
            matcher.matchFile(path, paths.size() > 1 ? &files : nullptr);
        } catch (const Failure&) {
            files.clear();
            throw;
        }
    });
    files.clear();
    matcher.finish();
    return code == Done ? matcher.code() : code;
}

}  // namespace KvMeasure
