#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/filter_steps.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_sequence.h"
#include "kvmeasure/profile_writer.h"
#include "kvmeasure/progress.h"

#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage{
    "filter",
    "IN OUT",
    "Applies filters to every profile of a file, one step after another.",
    {{"--steps", "TEXT", "the steps, see below (required)"},
     {"--format", "FORM", "csv, kv-csv (semicolons, decimal commas) or record (that of the input)",
      formNames()},
     {"--record", "N", "only this profile of a file with several, from 0"},
     {"--columns", "X,Y", "columns of a CSV file, from 1 (1,2)"},
     {"--svg", "FILE", "draw before and after; one picture per profile, its name put into FILE"}},
    "Unset points are left out. OUT is written under a temporary name first and may be IN itself.\n\n" +
        stepsHelp() +
        "\nExamples\n"
        "  kvmeasure filter raw.csv smooth.csv --steps \"median 5; trim-y 0 120\"\n"
        "  kvmeasure filter raw.csv clean.csv --steps \"spikes 2 1; isolated 0.5 2\" --svg clean.svg\n"
        "  kvmeasure filter recording.bin even.bin --steps \"sort-x; resample 0.05\" --json\n"};

/// Points before and after one step.
struct StepCount {
    QString step;
    int before = 0, after = 0;
};

int countUnset(const KvMath::KvProfile& profile) {
    int count = 0;
    for (const KvMath::KvPointXY& point : profile.points)
        count += std::isfinite(point.x) && std::isfinite(point.y) ? 0 : 1;
    return count;
}

QString countTable(const LoadedProfile& loaded, const QList<StepCount>& counts) {
    Table table({"step", "filter", "before", "after", "removed"});
    for (int i = 0; i < counts.size(); ++i)
        table.add({QString::number(i + 1), counts[i].step, QString::number(counts[i].before),
                   QString::number(counts[i].after), QString::number(counts[i].before - counts[i].after)});
    const int unset = countUnset(loaded.profile);
    QString text = loaded.name;
    if (loaded.unset > 0)
        text += QString(", %1 unset points left out").arg(loaded.unset);
    if (unset > 0)
        text += QString(", %1 unset points made by the steps").arg(unset);
    return text + '\n' + table.text() + '\n';
}

QJsonObject countJson(const LoadedProfile& loaded, const QList<StepCount>& counts) {
    QJsonArray steps;
    for (const StepCount& count : counts)
        steps.append(QJsonObject{{"filter", count.step}, {"before", count.before}, {"after", count.after}});
    return {{"file", loaded.name},
            {"unset", loaded.unset},
            {"unsetAfter", countUnset(loaded.profile)},
            {"points", loaded.profile.points.size()},
            {"steps", steps}};
}

/// The run over the profiles of a file.
class Filterer {
public:
    explicit Filterer(const Arguments& arguments)
        : arguments_(arguments), steps_(parseSteps(arguments.text("--steps"))) {}

    void filterFile(const QString& from, const QString& to);

private:
    void filter(LoadedProfile& loaded, bool isOnly, ProfileWriter& writer);

    const Arguments& arguments_;
    QList<FilterStep> steps_;
    QString text_;
    QJsonArray json_;
};

void Filterer::filter(LoadedProfile& loaded, bool isOnly, ProfileWriter& writer) {
    const KvMath::KvProfile before = loaded.profile;
    QList<StepCount> counts;
    for (int i = 0; i < steps_.size(); ++i) {
        StepCount count{steps_[i].text, static_cast<int>(loaded.profile.points.size()), 0};
        applyStep(steps_[i], i + 1, loaded.profile);
        count.after = static_cast<int>(loaded.profile.points.size());
        counts.append(count);
    }
    writer.add(loaded);
    if (arguments_.has("--svg")) {
        Picture picture;
        picture.title = loaded.stem + ": before and after";
        picture.subtitle = arguments_.text("--steps").simplified();
        picture.profile = loaded.profile;
        picture.before = before.points;
        const QString path = arguments_.text("--svg");
        writeOutputFile(isOnly ? path : partPath(path, loaded.stem), drawPicture(picture));
    }
    if (arguments_.isJson())
        json_.append(countJson(loaded, counts));
    else
        text_ += countTable(loaded, counts);
}

void Filterer::filterFile(const QString& from, const QString& to) {
    const QString columns = arguments_.text("--columns");
    if (isWholeScan(from))
        throw Failure{
            QString("%1: is a scan whose profiles do not stand in it one by one; make profile records "
                    "of it first: \"kvmeasure scan convert\"")
                .arg(from)};
    ProfileSource source(from, columns);
    ProfileWriter writer(to, parseForm(arguments_.text("--format"), source.form()));
    Progress progress(from, source.size());
    if (arguments_.has("--record")) {
        LoadedProfile loaded = takeProfile(arguments_);
        filter(loaded, true, writer);
    } else {
        LoadedProfile loaded;
        for (bool isFirst = true; source.next(loaded); isFirst = false) {
            const bool isLast = source.form() != FileForm::Records || source.position() == source.size();
            filter(loaded, isFirst && isLast, writer);
            progress.show(source.position());
        }
    }
    writer.commit();
    progress.clear();
    if (arguments_.isJson())
        printJson({{"out", to}, {"profiles", json_}});
    else
        print(text_);
}

}  // namespace

int runFilter(const QStringList& words) {
    const Arguments arguments(usage, words, 2, 2);
    arguments.required("--steps", "e.g. --steps \"median 5; trim-y 0 120\"");
    refuseOverwriting({arguments.text("--svg")}, arguments.operands());
    Filterer(arguments).filterFile(arguments.operand(0), arguments.operand(1));
    return Done;
}

}  // namespace KvMeasure
