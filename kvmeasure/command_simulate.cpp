#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"

#include "simulator/profile_simulator.h"

#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

const Usage usage{
    "simulate",
    "profile",
    "Makes the scanner line of a part with known dimensions, and writes the true values beside it.",
    {{"--out", "FILE", "CSV file to write; the truth goes to FILE.truth.csv (required)"},
     {"--shape", "NAME", "see below (v-groove)"},
     {"--dimensions", "\"N=V, ...\"", "dimensions of the shape, e.g. \"width=7, depth=12\""},
     {"--points", "N", "columns of the scanner (640)"},
     {"--from", "MM", "first column (-30)"},
     {"--to", "MM", "last column (30)"},
     {"--noise", "MM", "standard deviation of the heights (0)"},
     {"--dropouts", "N", "gaps without points (0)"},
     {"--spikes", "N", "points that are far off (0)"},
     {"--rotate", "DEG", "turns the part (0)"},
     {"--dx", "MM", "moves the part (0)"},
     {"--dy", "MM", "moves the part (0)"},
     {"--seed", "N", "of the random draws; the same seed makes the same profile (1)"},
     {"--svg", "FILE", "draw the profile"},
     {"--json", "", "print the true values as JSON"}},
    "Examples\n"
    "  kvmeasure simulate profile --shape v-groove --noise 0.02 --dropouts 2 --seed 7 --out part.csv\n"
    "  kvmeasure simulate profile --shape square-groove --dimensions \"depth=12\" --rotate 2 --out "
    "part.csv\n"};

QString shapesText() {
    QString text = "Shapes and their dimensions\n";
    for (const QString& shape : Simulator::shapeNames()) {
        text += "  " + shape + '\n';
        for (const Simulator::Dimension& d : Simulator::shapeDimensions(shape))
            text += QString("    %1  %2 %3, %4 to %5: %6\n")
                        .arg(d.name, -14)
                        .arg(d.standard)
                        .arg(d.unit)
                        .arg(d.minimum)
                        .arg(d.maximum)
                        .arg(d.meaning);
    }
    return text + '\n';
}

void readDimensions(const QString& text, Simulator::ProfileRecipe& recipe) {
    QStringList known;
    for (const Simulator::Dimension& dimension : Simulator::shapeDimensions(recipe.shape))
        known.append(dimension.name);
    for (const QString& part : text.split(',')) {
        if (part.trimmed().isEmpty())
            continue;
        const QString name = part.section('=', 0, 0).trimmed();
        double value = 0;
        if (!parseNumber(part.section('=', 1), value))
            throw Failure{
                QString("simulate: --dimensions: expected NAME=NUMBER, found \"%1\"").arg(part.trimmed())};
        if (!known.contains(name))
            throw Failure{QString("simulate: --dimensions: %1 has no \"%2\"%3; it has %4")
                              .arg(recipe.shape, name, suggestion(name, known), known.join(", "))};
        recipe.dimensions[name] = value;
    }
}

Simulator::ProfileRecipe readRecipe(const Arguments& arguments) {
    constexpr double any = std::numeric_limits<double>::max();
    constexpr int anyCount = std::numeric_limits<int>::max();
    Simulator::ProfileRecipe recipe;
    if (arguments.has("--shape"))
        recipe.shape = arguments.text("--shape");
    QStringList shapes;
    for (const QString& shape : Simulator::shapeNames())
        shapes.append(shape);
    if (!shapes.contains(recipe.shape))
        throw Failure{QString("simulate: unknown shape \"%1\"%2; there are %3")
                          .arg(recipe.shape, suggestion(recipe.shape, shapes), shapes.join(", "))};
    readDimensions(arguments.text("--dimensions"), recipe);
    recipe.points = arguments.integer("--points", recipe.points, 2, 1'000'000);
    recipe.xFrom = arguments.number("--from", recipe.xFrom, -any, any);
    recipe.xTo = arguments.number("--to", recipe.xTo, -any, any);
    recipe.noise = arguments.number("--noise", recipe.noise, 0, any);
    recipe.dropouts = arguments.integer("--dropouts", recipe.dropouts, 0, anyCount);
    recipe.spikes = arguments.integer("--spikes", recipe.spikes, 0, anyCount);
    recipe.rotation = arguments.number("--rotate", recipe.rotation, -any, any);
    recipe.shiftX = arguments.number("--dx", recipe.shiftX, -any, any);
    recipe.shiftY = arguments.number("--dy", recipe.shiftY, -any, any);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, anyCount));
    return recipe;
}

/// Rows "x;y" with decimal commas, as the library writes them, with the digits a float needs.
QByteArray profileCsv(const KvMath::KvProfile& profile) {
    constexpr int digits = 9;
    QByteArray text;
    for (const KvMath::KvPointXY& point : profile.points) {
        QByteArray row = QByteArray::number(double(point.x), 'g', digits) + ';' +
                         QByteArray::number(double(point.y), 'g', digits) + '\n';
        text += row.replace('.', ',');
    }
    return text;
}

}  // namespace

int runSimulate(const QStringList& words) {
    if (words.contains("--help")) {
        QString text = helpText(usage);
        print(text.insert(text.lastIndexOf("Examples\n"), shapesText()));
        return Done;
    }
    const Arguments arguments(usage, words);
    arguments.requireOperands(1);
    if (arguments.operands().first() != "profile")
        throw Failure{QString("simulate: cannot simulate \"%1\"; expected \"profile\"")
                          .arg(arguments.operands().first())};
    if (!arguments.has("--out"))
        throw Failure{"simulate: --out FILE is missing; it names the profile to write"};
    const Simulator::ProfileRecipe recipe = readRecipe(arguments);
    QString error;
    const auto simulated = Simulator::simulateProfile(recipe, &error);
    if (!simulated)
        throw Failure{"simulate: " + error};
    const QString path = arguments.text("--out");
    writeOutputFile(path, profileCsv(simulated->profile));
    writeOutputFile(path + ".truth.csv", Simulator::truthCsv(*simulated));
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = "Simulated " + recipe.shape;
        picture.profile = simulated->profile;
        writeOutputFile(arguments.text("--svg"), drawPicture(picture));
    }
    if (arguments.has("--json")) {
        QJsonArray values;
        for (const Simulator::TrueValue& value : simulated->values)
            values.append(
                QJsonObject{{"name", value.name}, {"value", jsonNumber(value.value)}, {"unit", value.unit}});
        printJson({{"file", path},
                   {"shape", recipe.shape},
                   {"points", simulated->profile.points.size()},
                   {"truth", values}});
        return Done;
    }
    Table table({"true value", "", "unit"});
    for (const Simulator::TrueValue& value : simulated->values)
        table.add({value.name, mm(value.value), value.unit});
    print(QString("%1: %2, %3 points\n").arg(path, recipe.shape).arg(simulated->profile.points.size()) +
          table.text());
    return Done;
}

}  // namespace KvMeasure
