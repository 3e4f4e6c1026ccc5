#include "kvmeasure/calibration_truth.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <limits>

namespace KvMeasure {

namespace {

constexpr auto truthKind = "kvmeasure calibration truth";
constexpr double any = std::numeric_limits<double>::max();

/// A number of a recipe. Its name in a truth file is that of the option without the dashes.
struct Field {
    const char* option;
    const char* value;
    const char* help;
    double& (*of)(CalibrationRecipe& recipe);
};

constexpr Field fields[] = {
    {"--z-range", "MM", "measuring range in z (100)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.zRange; }},
    {"--x-range", "MM", "measuring range in x (140)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.xRange; }},
    {"--distance", "MM", "from the lens to the middle of the range (400)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.distance; }},
    {"--angle", "DEG", "between optical axis and laser plane (45)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.angle; }},
    {"--focal-length", "MM", "of the lens (16)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.focalLength; }},
    {"--pixel", "MM", "size of a sensor pixel (0.0074)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.pixel; }},
    {"--radial1", "K", "distortion: slope r is seen at r (1 + K r^2 + ...) (-0.2)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.radial1; }},
    {"--radial2", "K", "the same, of r^4 (0.05)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.radial2; }},
    {"--tilt", "DEG", "of the sensor, after Scheimpflug (0)",
     [](CalibrationRecipe& r) -> double& { return r.scanner.tilt; }},
    {"--target-width", "MM", "of the target (118)",
     [](CalibrationRecipe& r) -> double& { return r.targetWidth; }},
    {"--z-first", "MM", "z of step 0 (0)", [](CalibrationRecipe& r) -> double& { return r.zFirst; }},
    {"--z-step", "MM", "from step to step (0.1); 100 for \"build\", which takes thousandths",
     [](CalibrationRecipe& r) -> double& { return r.zStep; }},
    {"--tooth-pitch", "MM", "of the toothed target (10)",
     [](CalibrationRecipe& r) -> double& { return r.toothPitch; }},
    {"--tooth-height", "MM", "of the toothed target (5)",
     [](CalibrationRecipe& r) -> double& { return r.toothHeight; }},
    {"--noise", "PX", "standard deviation of the positions (0)",
     [](CalibrationRecipe& r) -> double& { return r.noise; }},
    {"--missing", "SHARE", "of positions that are not found, 0 to 1 (0)",
     [](CalibrationRecipe& r) -> double& { return r.missing; }},
};

QString nameOf(const Field& field) { return QString(field.option).mid(2); }

QString targetName(const CalibrationRecipe& recipe) {
    return recipe.target == Simulator::CalibrationTarget::Flat ? "flat" : "toothed";
}

}  // namespace

std::vector<Option> recipeOptions() {
    std::vector<Option> options{{"--target", "NAME", "flat or toothed (flat)", {"flat", "toothed"}}};
    for (const Field& field : fields)
        options.push_back({field.option, field.value, field.help});
    options.push_back({"--missing-columns", "N", "columns without any position (0)"});
    options.push_back({"--seed", "N", "of the random draws; the same seed makes the same record (1)"});
    return options;
}

CalibrationRecipe readRecipe(const Arguments& arguments) {
    constexpr int anyCount = std::numeric_limits<int>::max();
    CalibrationRecipe recipe;
    if (arguments.choice("--target") == 1)
        recipe.target = Simulator::CalibrationTarget::Toothed;
    for (const Field& field : fields)
        field.of(recipe) = arguments.number(field.option, field.of(recipe), -any, any);
    recipe.missingColumns = arguments.integer("--missing-columns", 0, 0, Simulator::kSensorColumns);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, anyCount));
    return recipe;
}

QByteArray truthText(const CalibrationRecipe& recipe) {
    CalibrationRecipe copy = recipe;
    QJsonObject object{{"kind", truthKind},
                       {"target", targetName(recipe)},
                       {"missing-columns", recipe.missingColumns},
                       {"seed", static_cast<double>(recipe.seed)}};
    for (const Field& field : fields)
        object[nameOf(field)] = field.of(copy);
    return QJsonDocument(object).toJson();
}

CalibrationRecipe loadTruth(const QString& path) {
    constexpr qint64 longest = 100'000;
    QFile file(path);
    openRegularFile(file);
    const QJsonObject object = QJsonDocument::fromJson(file.read(longest)).object();
    if (object["kind"].toString() != truthKind)
        throw Failure{
            QString("%1: is no truth file; name the .truth.json beside a simulated record").arg(path)};
    CalibrationRecipe recipe;
    if (object["target"].toString() == "toothed")
        recipe.target = Simulator::CalibrationTarget::Toothed;
    for (const Field& field : fields) {
        const QJsonValue value = object[nameOf(field)];
        if (!value.isDouble())
            throw Failure{QString("%1: \"%2\" is missing or no number").arg(path, nameOf(field))};
        field.of(recipe) = value.toDouble();
    }
    const QString problem = Simulator::problemOf(recipe.scanner);
    if (!problem.isEmpty())
        throw Failure{path + ": " + problem};
    return recipe;
}

std::vector<Option> unitOptions(bool hasSteps) {
    std::vector<Option> options{{"--z-range", "MM", "measuring range in z, of 16384 table units"},
                                {"--x-range", "MM", "the same in x"}};
    if (hasSteps) {
        options.push_back(
            {"--z-step", "UM", "between steps of a record without z, thousandths of a mm: 100 is 0.1 mm"});
        options.push_back({"--x-step", "UM", "between columns, thousandths of a mm (x range / 648)"});
    }
    options.push_back({"--truth", "FILE", "of a simulated record; ranges and steps are taken from it"});
    return options;
}

TableUnits readUnits(const Arguments& arguments) {
    constexpr double thousand = 1000;
    constexpr double smallest = 1e-6;  // mm
    TableUnits units;
    if (arguments.has("--truth")) {
        const CalibrationRecipe recipe = loadTruth(arguments.text("--truth"));
        const Simulator::TriangulationScanner scanner(recipe.scanner);
        constexpr double last = Simulator::kSensorColumns - 1;
        constexpr double middle = (Simulator::kSensorRows - 1) / 2.0;
        const double width = scanner.toPlane({last, middle}).x - scanner.toPlane({0, middle}).x;
        units = {recipe.scanner.zRange, recipe.scanner.xRange, recipe.zStep * thousand,
                 width / last * thousand};
    }
    units.zRange = arguments.number("--z-range", units.zRange, smallest, any);
    units.xRange = arguments.number("--x-range", units.xRange, smallest, any);
    if (!(units.zRange > 0))
        arguments.required("--z-range", "it is not stored in the file");
    if (!(units.xRange > 0))
        arguments.required("--x-range", "it is not stored in the file");
    if (units.xStep == 0)
        units.xStep = units.xRange * thousand / Simulator::kSensorColumns;
    units.zStep = arguments.number("--z-step", units.zStep, 0, any);
    units.xStep = arguments.number("--x-step", units.xStep, 0, any);
    return units;
}

}  // namespace KvMeasure
