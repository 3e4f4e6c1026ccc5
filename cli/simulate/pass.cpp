#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

#include "simulator/train_pass.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <limits>

namespace KvMeasure {

namespace {

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
     {"--records", "KIND", "z, plane or mixed (z)", {"z", "plane", "mixed"}},
     {"--seed", "N", "of the random draws; the same seed makes the same pass (1)"}},
    "Examples\n"
    "  kvmeasure simulate pass --wheelsets 40 --breakouts 3 --lost 0.002 --out train\n"
    "  kvmeasure simulate pass --speed 15 --rate 1000 --noise 0.05 --out fast\n"};

double readSpacing(const Arguments& arguments, double absent) {
    constexpr double any = 1e9, mmPerMetre = 1000;
    if (arguments.has("--speed") != arguments.has("--rate"))
        throw Failure{"simulate pass: --speed and --rate belong together"};
    if (!arguments.has("--speed"))
        return arguments.number("--spacing", absent, -any, any);
    if (arguments.has("--spacing"))
        throw Failure{"simulate pass: give --spacing, or --speed and --rate"};
    return arguments.number("--speed", 0, 0, any) / arguments.number("--rate", 0, 1, any) * mmPerMetre;
}

Simulator::PassRecipe readRecipe(const Arguments& arguments) {
    constexpr double any = std::numeric_limits<double>::max();
    constexpr int anyCount = std::numeric_limits<int>::max();
    Simulator::PassRecipe recipe;
    const auto number = [&](const char* name, double& value) {
        value = arguments.number(name, value, -any, any);
    };
    const auto count = [&](const char* name, int& value) {
        value = arguments.integer(name, value, 0, anyCount);
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
    using Simulator::RecordKind;
    const RecordKind kinds[] = {RecordKind::WithZ, RecordKind::Plane, RecordKind::Mixed};
    recipe.records = kinds[arguments.choice("--records")];
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, anyCount));
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
        throw Failure{"simulate pass: " + problem};
    if (QFileInfo::exists(folder + "/settings.ini"))
        complain(folder + ": holds an earlier pass, which is overwritten");
    if (!QDir().mkpath(folder))
        throw Failure{QString("%1: cannot be made or is no directory; name another one").arg(folder)};
    QString error;
    if (!Simulator::simulatePass(recipe, folder, &error))
        throw Failure{"simulate pass: " + error};
    const auto scanners = Simulator::measuringPost();
    if (arguments.isJson()) {
        QJsonArray files;
        for (const Simulator::Scanner& scanner : scanners)
            files.append(QString("%1/pass_%2.bin").arg(folder).arg(scanner.serial));
        printJson({{"recordings", files},
                   {"settings", folder + "/settings.ini"},
                   {"truth", folder + "/truth.csv"},
                   {"wheelsets", recipe.wheelsets}});
    } else {
        print(QString("%1: %2 recordings of %3 wheelsets, settings.ini, truth.csv\n")
                  .arg(folder)
                  .arg(scanners.size())
                  .arg(recipe.wheelsets));
    }
    return Done;
}

}  // namespace KvMeasure
