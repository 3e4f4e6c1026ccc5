// simulate pass: options to a recipe, and problems of a recipe back to options. The folder is locked and the
// files of an earlier pass are replaced; a pass that fails leaves none of its files.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/base/text.h>

#include "simulator/train_pass.h"

#include <limits>

#include <QtCore/QJsonArray>

namespace KvMeasure {

namespace {

const QStringList mirroredSides{"none", "left", "right", "both"};

const Usage usage{
    "simulate pass",
    "",
    "Makes the recordings of a train that passes a measuring post, its settings, and the true values.",
    {{"--out", "DIR", "directory of pass_SERIAL.bin, settings.ini and truth.csv (required)"},
     {"--wheelsets", "N", "of the train (8)"},
     {"--diameter", "MM", "tread diameter of new wheels (920)"},
     {"--turned", "MM", "largest loss of diameter (20)"},
     {"--wear", "MM", "largest wear of the flange (3)"},
     {"--hollow", "MM", "largest hollowing of the tread (2)"},
     {"--breakouts", "N", "wheels with a breakout of the tread (0)"},
     {"--flats", "N", "other wheels with a flat of 60 mm (0)"},
     {"--spacing", "MM", "travel between profiles (20)"},
     {"--speed", "M/S", "of the train, with --rate in place of --spacing"},
     {"--rate", "HZ", "profiles per second"},
     {"--noise", "MM", "standard deviation of the ranges (0.02)"},
     {"--dropouts", "SHARE", "of the points, missing (0.01)"},
     {"--lost", "SHARE", "of the profiles, left empty (0)"},
     {"--false-targets", "N", "short sights of other things, for each scanner (0)"},
     {"--reference", "", "one wheelset of new wheels, with its section reference.csv"},
     {"--plane-backs", "", "flange backs end in an edge; they are rounded"},
     {"--fan", "", "the rays of a laser leave one point; they are parallel"},
     {"--camera", "MM", "sideways place of the section cameras: what the flange hides is missing (0)"},
     {"--zero-in-middle", "", "profiles count ranges from the middle of the measuring range"},
     {"--glints", "SHARE", "of the points that begin a reflection: one to three wrong ranges (0)"},
     {"--uneven", "SHARE", "by which the travel between profiles changes over 7 m (0)"},
     {"--backwards", "", "the train comes from the other end: its last wheelset first, travel falls"},
     {"--mirrored", "SIDE",
      "x of the scanners of this side runs the other way: none, left, right or both (none)", mirroredSides},
     {"--records", "KIND", "z, plane or mixed (z)", {"z", "plane", "mixed"}},
     {"--seed", "N", "of the random draws; the same seed makes the same pass (1)"}},
    "Examples\n"
    "  kvmeasure simulate pass --wheelsets 40 --breakouts 3 --lost 0.002 --out train\n"
    "  kvmeasure simulate pass --speed 15 --rate 1000 --noise 0.05 --out fast\n"};

double readSpacing(const Arguments& arguments, double absent) {
    constexpr double kAny = 1e9, kMmPerMetre = 1000;
    if (arguments.has("--speed") != arguments.has("--rate"))
        throw Error("simulate pass: --speed and --rate belong together");
    if (!arguments.has("--speed"))
        return arguments.number("--spacing", absent, -kAny, kAny);
    if (arguments.has("--spacing"))
        throw Error("simulate pass: give --spacing, or --speed and --rate");
    return arguments.number("--speed", 0, 0, kAny) / arguments.number("--rate", 0, 1, kAny) * kMmPerMetre;
}

Simulator::PassRecipe readRecipe(const Arguments& arguments) {
    constexpr double kAny = std::numeric_limits<double>::max();
    constexpr int kAnyCount = std::numeric_limits<int>::max();
    Simulator::PassRecipe recipe;
    const auto number = [&](const char* name, double& value) {
        value = arguments.number(name, value, -kAny, kAny);
    };
    const auto count = [&](const char* name, int& value) {
        value = arguments.integer(name, value, 0, kAnyCount);
    };
    count("--wheelsets", recipe.wheelsets);
    number("--diameter", recipe.diameter);
    number("--turned", recipe.turned);
    number("--wear", recipe.flangeWear);
    number("--hollow", recipe.hollow);
    count("--breakouts", recipe.breakouts);
    count("--flats", recipe.flats);
    recipe.spacing = readSpacing(arguments, recipe.spacing);
    number("--noise", recipe.noise);
    number("--dropouts", recipe.dropouts);
    number("--lost", recipe.lost);
    count("--false-targets", recipe.falseTargets);
    recipe.isReference = arguments.has("--reference");
    if (recipe.isReference)
        recipe.wheelsets = 1;
    for (const char* name : {"--wheelsets", "--turned", "--wear", "--hollow", "--breakouts", "--flats"}) {
        if (recipe.isReference && arguments.has(name))
            throw Error(QString("simulate pass: --reference is one wheelset of new wheels; %1 has no effect")
                            .arg(name));
    }
    recipe.isBackwards = arguments.has("--backwards");
    const int mirrored = arguments.choice("--mirrored");
    recipe.view.isMirrored[0] = (mirrored & 1) != 0;
    recipe.view.isMirrored[1] = (mirrored & 2) != 0;
    recipe.hasPlaneBacks = arguments.has("--plane-backs");
    recipe.view.isFan = arguments.has("--fan");
    recipe.view.isZeroInMiddle = arguments.has("--zero-in-middle");
    number("--camera", recipe.view.camera);
    number("--glints", recipe.glints);
    number("--uneven", recipe.uneven);
    using Simulator::RecordKind;
    const RecordKind kinds[] = {RecordKind::WithZ, RecordKind::Plane, RecordKind::Mixed};
    recipe.records = kinds[arguments.choice("--records")];
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, kAnyCount));
    return recipe;
}

/// The recipe's problem with options in place of its fields.
QString problemOf(const Simulator::PassRecipe& recipe, bool hasSpeed) {
    QString problem = Simulator::problemOf(recipe);
    const int colon = static_cast<int>(problem.indexOf(':'));
    if (colon < 0)
        return problem;
    const QString field = problem.left(colon);
    QString option = "--" + field;
    if (field == "flangeWear")
        option = "--wear";
    else if (field == "falseTargets")
        option = "--false-targets";
    else if (field == "flats" && recipe.breakouts > 0)
        option = QString("--flats beside %1 breakouts").arg(recipe.breakouts);
    else if (field == "spacing" && hasSpeed)
        option = "spacing, which is --speed in mm/s over --rate";
    return option + problem.mid(colon);
}

}  // namespace

int runSimulatePass(const QStringList& words) {
    const Arguments arguments(usage, words, 0, 0);
    const QString folder = arguments.required("--out", "it names the directory of the recordings");
    const Simulator::PassRecipe recipe = readRecipe(arguments);
    const QString problem = problemOf(recipe, arguments.has("--speed"));
    if (!problem.isEmpty())
        throw Error("simulate pass: " + problem);
    FolderLock lock;
    lock.take(folder);
    OwnFiles own(folder);
    if (own.holds("settings.ini"))
        complain(folder + ": holds an earlier pass, which is overwritten");
    own.replace(Simulator::passFiles());
    QString error;
    if (!Simulator::simulatePass(recipe, folder, &error)) {
        own.removeAll();
        throw Error("simulate pass: " + error);
    }
    const auto scanners = Simulator::measuringPost();
    if (arguments.isJson()) {
        QJsonArray files;
        for (const Simulator::Scanner& scanner : scanners)
            files.append(filledIn("%1/pass_%2.bin", folder, scanner.serial));
        printJson({{"recordings", files},
                   {"settings", folder + "/settings.ini"},
                   {"truth", folder + "/truth.csv"},
                   {"wheelsets", recipe.wheelsets}});
    } else {
        print(filledIn("%1: %2 recordings of %3, settings.ini, truth.csv\n", printable(folder),
                       scanners.size(), counted(recipe.wheelsets, "wheelset")));
    }
    return Done;
}

}  // namespace KvMeasure
