// kvmeasure: measures scanner profiles with templates of straight lines.

#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

#include <kvmath/core/version.h>

#include <QtCore/QTextCodec>

#include <cstdio>
#include <exception>

namespace KvMeasure {

namespace {

struct Command {
    const char* name;
    const char* summary;
    int (*run)(const QStringList& words);
};

constexpr Command commands[] = {
    {"info", "what a file holds: records, counts, ranges", runInfo},
    {"filter", "smooths, cleans and trims profiles", runFilter},
    {"lines", "contours and straight segments of a profile", runLines},
    {"teach", "makes a template from a good part", runTeach},
    {"match", "finds a template in profiles and measures them", runMatch},
    {"fit", "fits a line, parabola, circle or plane, with residuals", runFit},
    {"scan", "3D scans: outlines, planes, grids, sections, conversion", runScan},
    {"simulate", "makes profiles, scans and train passes with known dimensions", runSimulate},
    {"wheels", "wheels of a train that passed a measuring post", runWheels},
    {"calibrate", "builds, applies and checks tables of a triangulation scanner", runCalibrate},
};

QString overview() {
    QString text =
        "kvmeasure: finds templates of straight lines in laser scanner profiles and measures them\n\n"
        "  kvmeasure COMMAND ... [options]\n\nCommands\n";
    for (const Command& command : commands)
        text += QString("  %1  %2\n").arg(command.name, -10).arg(command.summary);
    text +=
        "\nExamples\n"
        "  kvmeasure simulate profile --shape square-groove --noise 0.02 --out part.csv\n"
        "  kvmeasure teach part.csv --longest 3 --measure \"depth = distance 1 2\" --out part.json\n"
        "  kvmeasure match part.csv --template part.json --svg part.svg\n\n"
        "Every command has --help with its options and examples, and --json for machine-readable results.\n"
        "Exit codes: 0 done, 1 measured but out of tolerance or not found, 2 wrong use or unreadable "
        "input.\n";
    return text;
}

int dispatch(QStringList words) {
    if (words.isEmpty())
        throw Failure{"which command? See \"kvmeasure --help\""};
    const QString name = words.takeFirst();
    if (name == "--help" || name == "-h" || (name == "help" && words.isEmpty())) {
        print(overview());
        return Done;
    }
    if (name == "--version") {
        char* library = nullptr;
        char* version = nullptr;
        KvMath::GetVersion(library, version);
        print(QString("kvmeasure with %1 %2\n").arg(library, version));
        return Done;
    }
    if (name == "help")
        return dispatch({words.first(), "--help"});
    QStringList names{"--help", "--version"};
    for (const Command& command : commands) {
        names.append(command.name);
        if (name == command.name)
            return command.run(words);
    }
    throw Failure{
        QString("unknown command \"%1\"%2 (see \"kvmeasure --help\")").arg(name, suggestion(name, names))};
}

}  // namespace

}  // namespace KvMeasure

int main(int argc, char** argv) {
    // File names and arguments are UTF-8 whatever the locale says.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    try {
        QStringList words;
        for (int i = 1; i < argc; ++i)
            words.append(QString::fromUtf8(argv[i]));
        return KvMeasure::dispatch(words);
    } catch (const KvMeasure::Failure& failure) {
        std::fprintf(stderr, "kvmeasure: %s\n", failure.text.toUtf8().constData());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kvmeasure: gave up: %s\n", error.what());
    }
    return KvMeasure::Refused;
}
