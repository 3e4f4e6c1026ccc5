#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/range_words.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>

#include "simulator/circumference.h"

#include <QtCore/QJsonArray>

#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

const Usage& usage() {
    static const Usage all{
        "simulate circumference",
        "",
        "Makes a table of radii round a wheel with known waves and flats.",
        {{"--out", "FILE", "table of angle_deg, radius_mm (required)"},
         {"--diameter", "MM", "of the wheel (920)"},
         {"--wave", "ORDER:MM:DEG", "waves per turn, amplitude, angle of a crest", {}, true},
         {"--flat", "DEG:MM", "angle of its middle and length of its chord", {}, true},
         {"--points", "N", "of a turn (2880)"},
         {"--seen", "A..B", "degrees (0..360)"},
         {"--noise", "MM", "standard deviation of a radius (0.01)"},
         {"--dropouts", "SHARE", "of the points, missing (0)"},
         {"--seed", "N", "of the random draws (1)"}},
        "Examples\n"
        "  kvmeasure simulate circumference --wave 1:0.2:30 --wave 3:0.05:0 --flat 120:60 --out "
        "wheel.csv\n"};
    return all;
}

/// Numbers between colons.
QList<double> numbersOf(const QString& text, const char* option, int count) {
    const QStringList words = text.split(':');
    QList<double> numbers;
    for (const QString& word : words) {
        double number = 0;
        if (words.size() != count || !parseNumber(word, number))
            throw Error(filledIn("simulate circumference: %1 \"%2\": expected %3 numbers between colons",
                                 option, text, count));
        numbers.append(number);
    }
    return numbers;
}

Simulator::CircumferenceRecipe readRecipe(const Arguments& arguments) {
    constexpr double kAny = 1e9;
    constexpr int kAnyCount = std::numeric_limits<int>::max();
    Simulator::CircumferenceRecipe recipe;
    recipe.diameter = arguments.number("--diameter", recipe.diameter, -kAny, kAny);
    for (const QString& text : arguments.texts("--wave")) {
        const QList<double> wave = numbersOf(text, "--wave", 3);
        const double order = wave[0];
        if (!(order >= 1 && order <= 500) || order != std::floor(order))
            throw Error(filledIn(
                "simulate circumference: --wave \"%1\": the order is a whole number from 1 to 500", text));
        recipe.waves.push_back({static_cast<int>(order), wave[1], wave[2]});
    }
    for (const QString& text : arguments.texts("--flat")) {
        const QList<double> flat = numbersOf(text, "--flat", 2);
        recipe.flats.push_back({flat[0], flat[1]});
    }
    recipe.points = arguments.integer("--points", recipe.points, 1, kAnyCount);
    if (arguments.has("--seen")) {
        const NumberRange seen = parseRange(arguments.text("--seen"), "--seen", false);
        recipe.from = seen.from;
        recipe.to = seen.to;
    }
    recipe.noise = arguments.number("--noise", recipe.noise, -kAny, kAny);
    recipe.dropouts = arguments.number("--dropouts", recipe.dropouts, -kAny, kAny);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, kAnyCount));
    return recipe;
}

}  // namespace

int runSimulateCircumference(const QStringList& words) {
    constexpr int kAngleDigits = 5, kRadiusDigits = 5;
    const Arguments arguments(usage(), words, 0, 0);
    const QString path = arguments.required("--out", "it names the table");
    const Simulator::CircumferenceRecipe recipe = readRecipe(arguments);
    const QString problem = Simulator::problemOf(recipe);
    if (!problem.isEmpty())
        throw Error("simulate circumference: " + problem);
    const std::vector<Simulator::RadiusPoint> points = Simulator::circumferenceOf(recipe);
    QByteArray text = "angle_deg,radius_mm\n";
    for (const Simulator::RadiusPoint& point : points)
        text += QByteArray::number(point.angle, 'f', kAngleDigits) + ',' +
                QByteArray::number(point.radius, 'f', kRadiusDigits) + '\n';
    writeOutputFile(path, text);
    QJsonArray flats;
    for (const Simulator::ChordFlat& flat : recipe.flats)
        flats.append(QJsonObject{{"angle", flat.angle},
                                 {"length", flat.length},
                                 {"depth", Simulator::chordDepth(recipe.diameter, flat.length)}});
    if (arguments.isJson())
        printJson({{"file", path}, {"points", static_cast<int>(points.size())}, {"flats", flats}});
    else
        print(filledIn("%1: %2, %3, %4\n", printable(path),
                       counted(static_cast<qint64>(points.size()), "point"),
                       counted(static_cast<qint64>(recipe.waves.size()), "wave"),
                       counted(static_cast<qint64>(recipe.flats.size()), "flat")));
    return Done;
}

}  // namespace KvMeasure
