// filter: steps applied profile by profile, so that memory holds one. A step that changed nothing is said,
// since it mostly has the wrong numbers.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/filter_steps.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/report/table.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage = withTextOptions(
    {"filter",
     "IN OUT",
     "Applies filters to every profile of a file, one step after another.",
     {{"--steps", "TEXT", "the steps, see below (required)"},
      {"--format", "FORM", "csv, kv-csv (semicolons, decimal commas) or record (that of the input)",
       formNames()},
      {"--record", "N", "only this profile of a file with several, from 0"},
      {"--svg", "PICTURE", "draw before and after; one picture per profile, its name put into PICTURE"}},
     "Unset points are left out. OUT is written under a temporary name first and may be IN itself.\n\n" +
         stepsHelp() +
         "\nExamples\n"
         "  kvmeasure filter raw.csv smooth.csv --steps \"median 5; trim-y 0 120\"\n"
         "  kvmeasure filter raw.csv clean.csv --steps \"spikes 2 1; isolated 0.5 2\" --svg clean.svg\n"
         "  kvmeasure filter recording.bin even.bin --steps \"sort-x; resample 0.05\" --json\n"});

/// Points before and after one step.
struct StepCount {
    QString step;
    int before = 0, after = 0;
    bool changed = true;
};

bool isSame(const KvMath::KvProfile& a, const KvMath::KvProfile& b) {
    const auto isSamePoint = [](const KvMath::KvPointXY& p, const KvMath::KvPointXY& q) {
        return (p.x == q.x || (std::isnan(p.x) && std::isnan(q.x))) &&
               (p.y == q.y || (std::isnan(p.y) && std::isnan(q.y)));
    };
    return std::equal(a.points.begin(), a.points.end(), b.points.begin(), b.points.end(), isSamePoint);
}

/// Steps that a user may believe to have done something.
QString idleText(const QList<StepCount>& counts) {
    QString text;
    for (int i = 0; i < counts.size(); ++i) {
        if (!counts[i].changed)
            text += "step " + QString::number(i + 1) + " \"" + counts[i].step + "\" changed nothing in " +
                    counted(counts[i].before, "point") + '\n';
    }
    return text;
}

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
    QString text = printable(loaded.name);
    if (loaded.unset > 0)
        text += QString(", %1 unset points left out").arg(loaded.unset);
    if (unset > 0)
        text += QString(", %1 unset points made by the steps").arg(unset);
    return text + '\n' + table.text() + idleText(counts) + '\n';
}

QJsonObject countJson(const LoadedProfile& loaded, const QList<StepCount>& counts) {
    QJsonArray steps;
    for (const StepCount& count : counts)
        steps.append(QJsonObject{{"filter", count.step},
                                 {"before", count.before},
                                 {"after", count.after},
                                 {"changed", count.changed}});
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
        : arguments_(arguments), steps_(parseSteps(arguments.text("--steps"))),
          pictures_(arguments.text("--svg"), arguments.operands()) {}

    void filterFile(const QString& from, const QString& to);

private:
    void filter(LoadedProfile& loaded, bool isOnly, ProfileWriter& writer);

    const Arguments& arguments_;
    QList<FilterStep> steps_;
    PictureSeries pictures_;
    QString text_;
    QJsonArray json_;
};

void Filterer::filter(LoadedProfile& loaded, bool isOnly, ProfileWriter& writer) {
    const KvMath::KvProfile before = loaded.profile;
    QList<StepCount> counts;
    for (int i = 0; i < steps_.size(); ++i) {
        StepCount count{steps_[i].text, static_cast<int>(loaded.profile.points.size())};
        const KvMath::KvProfile previous = loaded.profile;
        applyStep(steps_[i], i + 1, loaded.profile);
        count.changed = !isSame(previous, loaded.profile);
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
        const auto draw = [&] { return drawPicture(picture); };
        if (isOnly)
            writePicture(arguments_.text("--svg"), draw);
        else
            pictures_.write(loaded.stem, draw);
    }
    if (arguments_.isJson())
        json_.append(countJson(loaded, counts));
    else
        text_ += countTable(loaded, counts);
}

void Filterer::filterFile(const QString& from, const QString& to) {
    const std::shared_ptr<QFile> file = openedFile(from);
    if (isWholeScan(file))
        throw Error(
            QString("%1: is a scan whose profiles do not stand in it one by one; make profile records "
                    "of it first: \"kvmeasure scan convert\"")
                .arg(from));
    ProfileSource source(file, from, readTextOptions(arguments_));
    ProfileWriter writer(to, parseForm(arguments_.text("--format"), source.form()));
    TerminalProgress progress(from, source.size());
    if (arguments_.has("--record")) {
        LoadedProfile loaded =
            takeProfile(arguments_, [&source](LoadedProfile& next) { return source.next(next); });
        filter(loaded, true, writer);
    } else {
        LoadedProfile loaded;
        for (bool isFirst = true; source.next(loaded); isFirst = false) {
            complainOf(loaded);
            filter(loaded, isFirst && source.isAtEnd(), writer);
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
    refuseOverwriting({arguments.operand(1), arguments.text("--svg")}, {arguments.operand(0)});
    Filterer(arguments).filterFile(arguments.operand(0), arguments.operand(1));
    return Done;
}

}  // namespace KvMeasure
