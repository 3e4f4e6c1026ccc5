// The recipe of a simulated record, as options and as a truth file. Both follow from one table of its
// numbers: a new number is a row, marked as newer where older files lack it.
#include "cli/calibrate/truth.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/regular_file.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <limits>

namespace KvMeasure {

namespace {

constexpr auto kTruthKind = "kvmeasure calibration truth";
constexpr double kAny = std::numeric_limits<double>::max();

/// A number of a recipe. Its name in a truth file is that of the option without the dashes.
struct Field {
    const char* option;
    const char* value;
    const char* help;
    double& (*of)(CalibrationRecipe& recipe);
    bool isNewer = false;  ///< older truth files do not have it
};

constexpr Field kFields[] = {
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
    {"--z-origin", "MM", "recorded z of the bottom of the range; -50: zero in the middle of 100 mm (0)",
     [](CalibrationRecipe& r) -> double& { return r.zOrigin; }, /*isNewer=*/true},
    {"--tooth-pitch", "MM", "of the toothed target (10)",
     [](CalibrationRecipe& r) -> double& { return r.toothPitch; }},
    {"--tooth-height", "MM", "of the toothed target (5)",
     [](CalibrationRecipe& r) -> double& { return r.toothHeight; }},
    {"--noise", "PX", "standard deviation of the positions (0)",
     [](CalibrationRecipe& r) -> double& { return r.noise; }},
    {"--missing", "SHARE", "of positions that are not found, 0 to 1 (0)",
     [](CalibrationRecipe& r) -> double& { return r.missing; }},
    {"--reflections", "SHARE", "of positions, also beside the target, that are anywhere, 0 to 1 (0)",
     [](CalibrationRecipe& r) -> double& { return r.reflections; }, /*isNewer=*/true},
};

QString nameOf(const Field& field) { return QString(field.option).mid(2); }

QString targetName(const CalibrationRecipe& recipe) {
    return recipe.target == Simulator::CalibrationTarget::Flat ? "flat" : "toothed";
}

CalibrationRecipe loadTruth(const QString& path) {
    constexpr qint64 kLongest = 100'000;
    QFile file(path);
    openRegularFile(file);
    const QJsonObject object = QJsonDocument::fromJson(file.read(kLongest)).object();
    if (object["kind"].toString() != kTruthKind)
        throw Error(
            QString("%1: is no truth file; name the .truth.json beside a simulated record").arg(path));
    CalibrationRecipe recipe;
    if (object["target"].toString() == "toothed")
        recipe.target = Simulator::CalibrationTarget::Toothed;
    for (const Field& field : kFields) {
        const QJsonValue value = object[nameOf(field)];
        if (value.isUndefined() && field.isNewer)
            continue;
        if (!value.isDouble())
            throw Error(QString("%1: \"%2\" is missing or no number").arg(path, nameOf(field)));
        field.of(recipe) = value.toDouble();
    }
    const QString problem = Simulator::problemOf(recipe.scanner);
    if (!problem.isEmpty())
        throw Error(path + ": " + problem);
    return recipe;
}

}  // namespace

std::vector<Option> recipeOptions() {
    std::vector<Option> options{{"--target", "NAME", "flat or toothed (flat)", {"flat", "toothed"}}};
    for (const Field& field : kFields)
        options.push_back({field.option, field.value, field.help});
    options.push_back({"--missing-columns", "N", "columns without any position (0)"});
    options.push_back({"--glints", "N", "bright spots that up to 24 columns see for up to 8 steps (0)"});
    options.push_back({"--seed", "N", "of the random draws; the same seed makes the same record (1)"});
    return options;
}

CalibrationRecipe readRecipe(const Arguments& arguments) {
    constexpr int kAnyCount = std::numeric_limits<int>::max();
    CalibrationRecipe recipe;
    if (arguments.choice("--target") == 1)
        recipe.target = Simulator::CalibrationTarget::Toothed;
    for (const char* option : {"--tooth-pitch", "--tooth-height"}) {
        if (arguments.has(option) && recipe.target == Simulator::CalibrationTarget::Flat)
            throw Error(QString("calibrate simulate: %1 goes with --target toothed").arg(option));
    }
    for (const Field& field : kFields)
        field.of(recipe) = arguments.number(field.option, field.of(recipe), -kAny, kAny);
    recipe.missingColumns = arguments.integer("--missing-columns", 0, 0, Simulator::kSensorColumns);
    recipe.glints = arguments.integer("--glints", 0, 0, kAnyCount);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, kAnyCount));
    return recipe;
}

QByteArray truthText(const CalibrationRecipe& recipe) {
    CalibrationRecipe copy = recipe;
    QJsonObject object{{"kind", kTruthKind},
                       {"target", targetName(recipe)},
                       {"missing-columns", recipe.missingColumns},
                       {"glints", recipe.glints},
                       {"seed", static_cast<double>(recipe.seed)}};
    for (const Field& field : kFields)
        object[nameOf(field)] = field.of(copy);
    return QJsonDocument(object).toJson();
}

CalibrationTruth truthOf(const CalibrationRecipe& recipe) {
    CalibrationTruth truth;
    const Simulator::TriangulationScanner scanner(recipe.scanner);
    truth.toPlane = [scanner](const Vector& place) { return scanner.toPlane(place); };
    truth.targetSurface = [recipe](double x) { return Simulator::targetSurface(recipe, x); };
    truth.xRange = recipe.scanner.xRange;
    truth.targetWidth = recipe.targetWidth;
    truth.zFirst = recipe.zFirst;
    truth.zStep = recipe.zStep;
    truth.zOrigin = recipe.zOrigin;
    truth.noise = recipe.noise;
    return truth;
}

std::vector<Option> unitOptions(bool hasSteps) {
    std::vector<Option> options{{"--z-range", "MM", "measuring range in z, of 16384 table units"},
                                {"--x-range", "MM", "the same in x"}};
    if (hasSteps) {
        options.push_back(
            {"--z-step", "UM", "between steps of a record without z, thousandths of a mm: 100 is 0.1 mm"});
        options.push_back({"--x-step", "UM", "between columns, thousandths of a mm (x range / 648)"});
    }
    options.push_back(
        {"--z-offset", "MM", "added to the z of records in the table, which holds 0 to twice the range (0)"});
    options.push_back({"--truth", "FILE", "of a simulated record; ranges and steps are taken from it"});
    return options;
}

std::optional<CalibrationRecipe> readTruth(const Arguments& arguments) {
    return arguments.has("--truth") ? std::optional(loadTruth(arguments.text("--truth"))) : std::nullopt;
}

TableUnits readUnits(const Arguments& arguments, const std::optional<CalibrationRecipe>& truth) {
    constexpr double kThousand = 1000;
    constexpr double kSmallest = 1e-6;  // mm
    constexpr double kFarOff = 1e9;     // mm
    TableUnits units;
    if (truth) {
        const CalibrationRecipe& recipe = *truth;
        const Simulator::TriangulationScanner scanner(recipe.scanner);
        constexpr double kLast = Simulator::kSensorColumns - 1;
        constexpr double kMiddle = (Simulator::kSensorRows - 1) / 2.0;
        const double width = scanner.toPlane({kLast, kMiddle}).x - scanner.toPlane({0, kMiddle}).x;
        units = {recipe.scanner.zRange, recipe.scanner.xRange, recipe.zStep * kThousand,
                 width / kLast * kThousand, 0};
    }
    units.zRange = arguments.number("--z-range", units.zRange, kSmallest, kAny);
    units.xRange = arguments.number("--x-range", units.xRange, kSmallest, kAny);
    if (!(units.zRange > 0))
        arguments.required("--z-range", "it is not stored in the file");
    if (!(units.xRange > 0))
        arguments.required("--x-range", "it is not stored in the file");
    if (units.xStep == 0)
        units.xStep = units.xRange * kThousand / Simulator::kSensorColumns;
    units.zStep = arguments.number("--z-step", units.zStep, 0, kAny);
    units.xStep = arguments.number("--x-step", units.xStep, 0, kAny);
    units.zOffset = arguments.number("--z-offset", 0, -kFarOff, kFarOff);
    return units;
}

}  // namespace KvMeasure
