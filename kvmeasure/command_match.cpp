#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/search_defaults.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <cmath>
#include <cstdio>
#include <limits>

namespace KvMeasure {

namespace {

const Usage usage{
    "match",
    "PROFILE...",
    "Finds a template in profiles and evaluates its measurements, one row per profile and result.",
    {{"--template", "FILE", "template made by \"kvmeasure teach\" (required)"},
     {"--all", "", "every assignment that meets the constraints, not only the best"},
     {"--svg", "FILE", "draw; with several profiles one picture each, the profile's name put into FILE"},
     {"--columns", "X,Y", "columns of CSV files, from 1 (1,2)"},
     {"--json", "", "print JSON"}},
    "The best assignment is the one with the greatest total length of its lines. Several profiles are "
    "followed by\n"
    "a summary of each result. Exit code 1: not found, a result that cannot be had or is out of "
    "tolerance.\n\n"
    "Examples\n"
    "  kvmeasure match part.csv --template groove.json --svg part.svg\n"
    "  kvmeasure match rows/*.csv --template groove.json --json > results.json\n"
    "  kvmeasure match recording.bin --template groove.json --all\n"};

/// Mean and deviation of one result over the profiles, by the recurrence of Welford.
struct Summary {
    QString name, unit;
    int count = 0;
    double mean = 0, squares = 0;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();

    void add(double value) {
        ++count;
        const double step = value - mean;
        mean += step / count;
        squares += step * (value - mean);
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
    double deviation() const { return count > 1 ? std::sqrt(squares / (count - 1)) : 0.0; }
};

/// The run over all profiles: what to do with each, and what is gathered.
class Matcher {
public:
    explicit Matcher(const Arguments& arguments)
        : arguments_(arguments), file_(readTemplateFile(arguments.text("--template"))) {}

    void matchFile(const QString& path, Progress* files);
    void finish();
    int code() const { return code_; }

private:
    void matchProfile(const LoadedProfile& loaded);
    void addRows(const LoadedProfile& loaded, const Evaluation& evaluation, const QString& assignment);
    void summarise(const Evaluation& evaluation);
    QJsonObject assignmentJson(const Segments& segments, const KvMath::TSLinesIndecies& indices,
                               const Evaluation& evaluation) const;
    void draw(const LoadedProfile& loaded, const Segments& segments, const KvMath::TSLinesIndecies* indices,
              const Evaluation& evaluation);
    QString picturePath(const QString& stem);
    QString summaryText() const;

    const Arguments& arguments_;
    TemplateFile file_;
    int code_ = Done;
    int profiles_ = 0, found_ = 0;
    Table table_{
        {"file", "assignment", "name", "value", "unit", "valid", "nominal", "deviation", "verdict", "note"}};
    QJsonArray json_;
    QList<Summary> summaries_;
    QSet<QString> pictures_;
};

void Matcher::addRows(const LoadedProfile& loaded, const Evaluation& evaluation, const QString& assignment) {
    if (evaluation.values.isEmpty())
        table_.add({loaded.name, assignment, "(no measurements)", "", "", "", "", "", "found", ""});
    for (const Value& value : evaluation.values) {
        QString verdict;
        if (value.hasTolerance)
            verdict = value.isGood() ? "good" : "OUT";
        table_.add({loaded.name, assignment, value.name, value.isValid ? mm(value.value) : "-", value.unit,
                    value.isValid ? "yes" : "no", value.hasTolerance ? mm(value.tolerance.nominal) : "",
                    value.hasTolerance && value.isValid ? mm(value.deviation()) : "", verdict, value.note});
    }
}

void Matcher::summarise(const Evaluation& evaluation) {
    for (int i = 0; i < evaluation.values.size(); ++i) {
        const Value& value = evaluation.values[i];
        if (summaries_.size() <= i) {
            summaries_.append(Summary());
            summaries_.last().name = value.name;
            summaries_.last().unit = value.unit;
        }
        if (value.isValid)
            summaries_[i].add(value.value);
    }
}

QJsonObject Matcher::assignmentJson(const Segments& segments, const KvMath::TSLinesIndecies& indices,
                                    const Evaluation& evaluation) const {
    QJsonArray lines;
    for (int i = 0; i < indices.count(); ++i) {
        int segment = 0;
        bool isReversed = false;
        indices.getLineIndex(i, segment);
        indices.getLineOrientation(i, isReversed);
        const KvMath::LinePP line = assignedLine(segments, indices, i);
        lines.append(QJsonObject{{"line", i},
                                 {"name", file_.lineNames.value(i)},
                                 {"segment", segment},
                                 {"reversed", isReversed},
                                 {"start", jsonPoint(line.p1)},
                                 {"end", jsonPoint(line.p2)}});
    }
    return {{"lines", lines},
            {"totalLength", jsonNumber(totalLength(segments, indices))},
            {"measurements", jsonValues(evaluation.values)},
            {"good", evaluation.isGood()}};
}

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

void Matcher::draw(const LoadedProfile& loaded, const Segments& segments,
                   const KvMath::TSLinesIndecies* indices, const Evaluation& evaluation) {
    if (!arguments_.has("--svg"))
        return;
    Picture picture;
    picture.title = loaded.stem;
    picture.subtitle = indices == nullptr ? QString("template \"%1\" not found").arg(file_.name)
                                          : QString("template \"%1\"").arg(file_.name);
    picture.profile = loaded.profile;
    picture.segments = segments;
    picture.evaluation = evaluation;
    for (int i = 0; indices != nullptr && i < indices->count(); ++i)
        picture.lines.append({assignedLine(segments, *indices, i), file_.lineNames.value(i)});
    writeOutputFile(picturePath(loaded.stem), drawPicture(picture));
}

void Matcher::matchProfile(const LoadedProfile& loaded) {
    TemplateFile estimated = file_;
    if (!file_.hasSearch)
        estimated.search = estimateSearch(loaded.profile);
    Segments segments = extractSegments(loaded.profile, estimated.search);
    const QList<KvMath::TSLinesIndecies> found = findAssignments(segments, estimated);
    int best = 0;
    for (int i = 1; i < found.size(); ++i) {
        if (totalLength(segments, found[i]) > totalLength(segments, found[best]))
            best = i;
    }
    ++profiles_;
    Evaluation bestEvaluation;
    QJsonArray assignments;
    for (int i = 0; i < found.size(); ++i) {
        if (i != best && !arguments_.has("--all"))
            continue;
        const Evaluation evaluation = evaluate(segments, found[i], file_);
        if (i == best)
            bestEvaluation = evaluation;
        addRows(loaded, evaluation, i == best ? QString("best") : QString::number(i));
        if (arguments_.has("--json"))
            assignments.append(assignmentJson(segments, found[i], evaluation));
    }
    if (found.isEmpty()) {
        table_.add({loaded.name, "", "(not found)", "", "", "", "", "", "NOT FOUND", ""});
        code_ = qMax<int>(code_, NotMet);
    } else {
        ++found_;
        summarise(bestEvaluation);
        if (!bestEvaluation.isGood())
            code_ = qMax<int>(code_, NotMet);
    }
    draw(loaded, segments, found.isEmpty() ? nullptr : &found[best], bestEvaluation);
    if (arguments_.has("--json"))
        json_.append(QJsonObject{{"file", loaded.name},
                                 {"points", loaded.profile.points.size()},
                                 {"unset", loaded.unset},
                                 {"found", !found.isEmpty()},
                                 {"assignmentsFound", found.size()},
                                 {"segments", jsonSegments(segments)},
                                 {"assignments", assignments}});
}

/// `files`: progress over several files, null for a single one, whose bytes are then shown.
void Matcher::matchFile(const QString& path, Progress* files) {
    ProfileSource source(path, arguments_.text("--columns"));
    Progress progress(path, source.size());
    LoadedProfile loaded;
    while (source.next(loaded)) {
        try {
            matchProfile(loaded);
        } catch (const Failure& failure) {
            throw Failure{failure.text.startsWith(loaded.name) ? failure.text
                                                               : loaded.name + ": " + failure.text};
        }
        if (files == nullptr)
            progress.show(source.position());
    }
}

QString Matcher::summaryText() const {
    QString text = QString("\nfound in %1 of %2 profiles\n").arg(found_).arg(profiles_);
    Table table({"name", "unit", "count", "mean", "deviation", "least", "greatest"});
    for (const Summary& s : summaries_) {
        if (s.count > 0)
            table.add({s.name, s.unit, QString::number(s.count), mm(s.mean), mm(s.deviation()), mm(s.least),
                       mm(s.greatest)});
    }
    return summaries_.isEmpty() ? text : text + table.text();
}

void Matcher::finish() {
    if (!arguments_.has("--json")) {
        print(table_.text() + (profiles_ > 1 ? summaryText() : QString()));
        return;
    }
    QJsonArray summary;
    for (const Summary& s : summaries_) {
        if (s.count > 0)
            summary.append(QJsonObject{{"name", s.name},
                                       {"unit", s.unit},
                                       {"count", s.count},
                                       {"mean", s.mean},
                                       {"deviation", s.deviation()},
                                       {"least", s.least},
                                       {"greatest", s.greatest}});
    }
    printJson({{"template", file_.name}, {"profiles", json_}, {"found", found_}, {"summary", summary}});
}

}  // namespace

int runMatch(const QStringList& words) {
    if (words.contains("--help")) {
        print(helpText(usage));
        return Done;
    }
    const Arguments arguments(usage, words);
    arguments.requireOperands(std::numeric_limits<int>::max());
    if (!arguments.has("--template"))
        throw Failure{"match: --template FILE is missing; make one with \"kvmeasure teach\""};
    Matcher matcher(arguments);
    bool isRefused = false;
    const QStringList& paths = arguments.operands();
    Progress files("files", paths.size());
    for (int i = 0; i < paths.size(); ++i) {
        try {
            matcher.matchFile(paths[i], paths.size() > 1 ? &files : nullptr);
            if (paths.size() > 1)
                files.show(i + 1);
        } catch (const Failure& failure) {
            files.clear();
            std::fprintf(stderr, "kvmeasure: %s\n", failure.text.toUtf8().constData());
            isRefused = true;
        }
    }
    files.clear();
    matcher.finish();
    return isRefused ? int(Refused) : matcher.code();
}

}  // namespace KvMeasure
