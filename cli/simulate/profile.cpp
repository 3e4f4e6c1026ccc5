#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/simulate/recipe.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/profile_writer.h>

#include "simulator/profile_simulator.h"

#include <limits>

namespace KvMeasure {

namespace {

Usage makeUsage() {
    return withShapes(
        {"simulate profile",
         "",
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
          {"--svg", "PICTURE", "draw the profile"}},
         "Examples\n"
         "  kvmeasure simulate profile --shape v-groove --noise 0.02 --dropouts 2 --seed 7 --out part.csv\n"
         "  kvmeasure simulate profile --shape square-groove --dimensions \"depth=12\" --rotate 2 --out "
         "part.csv\n"},
        Simulator::shapeNames(), Simulator::shapeDimensions);
}

Simulator::ProfileRecipe readRecipe(const Arguments& arguments) {
    constexpr double kAny = std::numeric_limits<double>::max();
    constexpr int kAnyCount = std::numeric_limits<int>::max();
    Simulator::ProfileRecipe recipe;
    recipe.shape = chooseShape(arguments, Simulator::shapeNames(), recipe.shape);
    recipe.dimensions = readDimensions(arguments.text("--dimensions"), recipe.shape,
                                       Simulator::shapeDimensions(recipe.shape));
    recipe.points = arguments.integer("--points", recipe.points, 2, 1'000'000);
    recipe.xFrom = arguments.number("--from", recipe.xFrom, -kAny, kAny);
    recipe.xTo = arguments.number("--to", recipe.xTo, -kAny, kAny);
    recipe.noise = arguments.number("--noise", recipe.noise, 0, kAny);
    recipe.dropouts = arguments.integer("--dropouts", recipe.dropouts, 0, kAnyCount);
    recipe.spikes = arguments.integer("--spikes", recipe.spikes, 0, kAnyCount);
    recipe.rotation = arguments.number("--rotate", recipe.rotation, -kAny, kAny);
    recipe.shiftX = arguments.number("--dx", recipe.shiftX, -kAny, kAny);
    recipe.shiftY = arguments.number("--dy", recipe.shiftY, -kAny, kAny);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, kAnyCount));
    return recipe;
}

}  // namespace

int runSimulateProfile(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 0, 0);
    const QString path = arguments.required("--out", "it names the profile to write");
    const QString truth = path + ".truth.csv";
    refuseOverwriting({path, truth, arguments.text("--svg")}, {});
    const Simulator::ProfileRecipe recipe = readRecipe(arguments);
    QString error;
    const auto simulated = Simulator::simulateProfile(recipe, &error);
    if (!simulated)
        throw Error("simulate profile: " + error);
    LoadedProfile profile;
    profile.profile = simulated->profile;
    writeProfile(path, FileForm::LibraryCsv, profile);
    writeOutputFile(truth, Simulator::truthCsv(*simulated));
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = "Simulated " + recipe.shape;
        picture.profile = simulated->profile;
        writePicture(arguments.text("--svg"), [&] { return drawPicture(picture); });
    }
    const int points = static_cast<int>(simulated->profile.points.size());
    reportTruth(arguments.isJson(), path, filledIn("%1, %2 points", recipe.shape, points), points,
                recipe.shape, simulated->values);
    return Done;
}

}  // namespace KvMeasure
