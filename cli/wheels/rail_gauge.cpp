// kvmeasure rails gauge: the gauge of a track from the sections of both rails.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/wheels/track_gauge.h>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage& usage() {
    static const Usage all = withTextOptions(
        {"rails gauge",
         "LEFT [RIGHT]",
         "Measures the gauge of a track from the sections of both rails.",
         {{"--rail-origin", "MM",
           "each file has its own frame: x grows to the field side from so far beside the middle of the "
           "track"},
          {"--depth", "MM", "the gauge is the least distance from the running surface down to it (14)"}},
         "LEFT and RIGHT are files of gauges, CSV or profile records in one frame, in which x grows to the "
         "right; one\nfile shows both rails, with a gap between them. Exit code 1 where there is no "
         "gauge.\n\n"
         "Examples\n"
         "  kvmeasure rails gauge track.csv\n"
         "  kvmeasure rails gauge left.ban right.ban --rail-origin 750 --json\n"});
    return all;
}

GaugeProfile readRail(const QString& path, const TextOptions& options) {
    GaugeProfile file = readGaugeProfile(path, options);
    if (!file.warning.isEmpty())
        complain(withParameters(file.warning, optionOf));
    return file;
}

struct Pair {
    RailSection left, right;
    QStringList notes;  ///< of the files
};

Pair readPair(const Arguments& arguments) {
    const TextOptions text = readTextOptions(arguments);
    const QStringList& files = arguments.operands();
    GaugeProfile left = readRail(files.first(), text), right;
    if (files.size() == 2) {
        right = readRail(files.last(), text);
    } else {
        std::tie(left, right) = partedRails(left);
        if (left.points.empty())
            throw Error(files.first() +
                        ": shows one rail at most: no part of 200 mm across is free of points; "
                        "give the file of the other rail, too")
                .inFile(files.first());
    }
    Pair pair{railSection(left), railSection(right), {}};
    const auto note = [&pair](const char* side, const QStringList& notes) {
        for (const QString& each : notes)
            pair.notes.append(QString(side) + each);
    };
    note("left rail: ", left.notes + pair.left.notes);
    note("right rail: ", right.notes + pair.right.notes);
    if (arguments.has("--rail-origin")) {
        constexpr double kLeast = 100, kMost = 2000;
        const double origin = arguments.number("--rail-origin", 0, kLeast, kMost);
        pair.left = placedRail(pair.left, origin, true);
        pair.right = placedRail(pair.right, origin, false);
    }
    return pair;
}

QJsonValue jsonOf(const Vector& place) {
    return std::isfinite(place.x) ? QJsonValue(QJsonArray{place.x, place.y}) : QJsonValue();
}

}  // namespace

int runRailsGauge(const QStringList& words) {
    const Arguments arguments(usage(), words);
    arguments.requireOperands(2);
    if (arguments.operands().size() == 1 && arguments.has("--rail-origin"))
        throw Error("rails gauge: --rail-origin is for two files, each in its own frame");
    constexpr double kLeast = 1, kDeepest = 40;
    TrackGaugeOptions options;
    options.depth = arguments.number("--depth", options.depth, kLeast, kDeepest);
    options.isLevel = arguments.has("--rail-origin");
    const Pair pair = readPair(arguments);
    TrackGauge measured = trackGauge(pair.left, pair.right, options);
    addUncertainty(pair.left, pair.right, options, measured);
    const SectionValue& gauge = measured.gauge;
    if (arguments.isJson()) {
        QJsonObject json = sectionValuesJson({gauge});
        json["depth"] = options.depth;
        json["leftFace"] = jsonOf(measured.leftFace);
        json["rightFace"] = jsonOf(measured.rightFace);
        json["slope"] = jsonNumber(measured.slope);
        json["notes"] = QJsonArray::fromStringList(pair.notes);
        printJson(json);
    } else {
        constexpr int kDecimals = 3;
        QString text =
            gauge.isKnown()
                ? filledIn("gauge %1 mm%2, within %3 mm below the running surface\n",
                           QString::number(gauge.value, 'f', kDecimals),
                           gauge.uncertainty.isKnown()
                               ? filledIn(" \u00b1 %1 (U, k = 2)",
                                          QString::number(gauge.uncertainty.expanded(), 'f', kDecimals))
                               : QString(),
                           options.depth)
                : "no gauge: " + gauge.reason + '\n';
        if (gauge.isKnown() && !gauge.uncertainty.isKnown())
            text += "no U: " + gauge.uncertainty.reason + '\n';
        for (const QString& note : pair.notes)
            text += "  " + note + '\n';
        print(text);
    }
    return gauge.isKnown() ? Done : NotMet;
}

}  // namespace KvMeasure
