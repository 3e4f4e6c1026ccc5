// kvmeasure wheels check-post: a known wheelset rolls through the post and tells the error of each scanner.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/profile/text_options.h"
#include "cli/terminal_progress.h"
#include "cli/wheels/sections.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/scratch_folder.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/wheels/pass.h>
#include <kvmeasure/wheels/reference.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kAnyLength = 100'000;

const Usage usage = withTextOptions(
    {"wheels check-post",
     "FOLDER|RECORDING...",
     "Tells the error of each scanner of a post, in mm, by a known wheelset that rolls through it.",
     {{"--reference", "FILE", "section of its wheels, as of \"wheels parameters\" (required)"},
      {"--back", "MM", "lateral position of its flange back (where it is upright)"},
      {"--diameter", "MM", "of both wheels, at height 0 of the section (920)"},
      {"--right-diameter", "MM", "of the right wheel, where it differs"},
      {"--back-to-back", "MM", "of the wheelset; without it the two sides are not compared"},
      {"--tolerance", "MM", "largest error of a scanner (0.05)"},
      {"--settings", "FILE", "settings of the post (settings.ini beside the recordings)"},
      {"--join", "N", "runs at most N records apart are one wheel with lost profiles (3)"}},
     "The wheelset stands on the rail with its running circles, 70 mm from the flange backs; every record "
     "has "
     "its\ntravel. An error is the place that a scanner gives less the true one: take it off the origin in "
     "its "
     "rule.\n\nExamples\n"
     "  kvmeasure simulate pass --reference --out post\n"
     "  kvmeasure wheels check-post post --reference post/reference.csv --back-to-back 1360\n"});

struct Check {
    int index;  ///< of the scanner
    ScannerError error;
    QString reason;  ///< why there is none
    double place;    ///< X of its plane
};

struct SideCheck {
    double diameter, measured;  ///< running diameters
    double error;               ///< of the diameter, by the errors of the scanners
    QStringList notes;
};

struct PostCheck {
    QList<Check> scanners;
    SideCheck sides[2];
    double backToBack = kNaN;
    QStringList notes;
};

/// Travel at which the wheel's axis is over the middle of the post, and its direction along X: from the
/// middles of the runs of the section scanners, which see the wheel one after the other.
struct Roll {
    double travel = 0, direction = 1;
};

Roll rollOf(const QList<double>& places, const QList<double>& travels) {
    double meanX = 0, meanTravel = 0, product = 0;
    for (int i = 0; i < places.size(); ++i) {
        meanX += places.at(i) / static_cast<double>(places.size());
        meanTravel += travels.at(i) / static_cast<double>(places.size());
    }
    for (int i = 0; i < places.size(); ++i)
        product += (places.at(i) - meanX) * (travels.at(i) - meanTravel);
    const double direction = product < 0 ? -1 : 1;
    return {meanTravel - direction * meanX, direction};
}

int sideOf(const Check& check) { return check.index > middleScanner(Left) + 1 ? Right : Left; }

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

/// Errors across the track hold the place of the wheelset, and those along it the travel: the median of the
/// scanners tells these, so that one that is wrong shows alone. With the distance of the backs both sides
/// share one place; without it each has its own.
void takeOffPlace(QList<Check>& checks, bool hasDistance) {
    std::vector<double> along, across[2];
    for (const Check& check : checks) {
        if (!check.reason.isEmpty())
            continue;
        along.push_back(check.error.x);
        across[sideOf(check)].push_back(check.error.y);
    }
    double places[2] = {median(across[Left]), median(across[Right])};
    if (hasDistance) {
        for (const double y : across[Right])
            across[Left].push_back(-y);
        places[Left] = median(across[Left]);
        places[Right] = -places[Left];
    }
    for (Check& check : checks) {
        check.error.x -= median(along);
        check.error.y -= places[sideOf(check)];
    }
}

/// By how much the errors of the three scanners of a side change the diameter of the circle through the
/// flange tips of the wheel in the middle of the post. NaN where an error is not known.
double diameterError(const QList<Check>& checks, int side, const ReferenceSection& section) {
    std::vector<Vector> tips;
    const double radius = section.tipRadius();
    for (const Check& check : checks) {
        if (sideOf(check) != side)
            continue;
        const double fromAxis = check.place - check.error.x;
        tips.emplace_back(check.place, check.error.z - std::sqrt(radius * radius - fromAxis * fromAxis));
    }
    const double a = std::hypot(tips[1].x - tips[0].x, tips[1].y - tips[0].y);
    const double b = std::hypot(tips[2].x - tips[1].x, tips[2].y - tips[1].y);
    const double c = std::hypot(tips[2].x - tips[0].x, tips[2].y - tips[0].y);
    const double area = ((tips[1].x - tips[0].x) * (tips[2].y - tips[0].y) -
                         (tips[2].x - tips[0].x) * (tips[1].y - tips[0].y)) /
                        2;
    return a * b * c / (2 * std::fabs(area)) - 2 * radius;
}

QString problemOf(const Check& check, double tolerance) {
    if (!check.reason.isEmpty())
        return check.reason;
    constexpr double kFarthest = 0.25;  // mm: noise of scanners is below
    if (check.error.deviation > kFarthest)
        return filledIn("its points lie %1 mm off: not the reference wheel",
                        QString::number(check.error.deviation, 'f', 2));
    QStringList beyond;
    const std::pair<const char*, double> errors[] = {
        {"X", check.error.x}, {"Y", check.error.y}, {"Z", check.error.z}};
    for (const auto& [name, value] : errors) {
        if (!(std::fabs(value) <= tolerance))
            beyond.append(name);
    }
    return beyond.isEmpty() ? QString() : beyond.join(", ") + " beyond the tolerance";
}

PostCheck checkPost(WheelPass& pass, const ReferenceSection sections[2], double backToBack) {
    PostCheck result;
    QList<double> places, travels;
    QList<QList<ReferenceView>> views;
    for (const int side : {Left, Right}) {
        for (int index = middleScanner(side) - 1; index <= middleScanner(side) + 1; ++index) {
            Check check{index, {}, {}, kNaN};
            views.append(pass.viewsOf(0, index, check.reason));
            result.scanners.append(check);
            if (!check.reason.isEmpty())
                continue;
            double travel = 0;
            for (const ReferenceView& view : views.last())
                travel += view.axisX / static_cast<double>(views.last().size());
            travels.append(travel);
            places.append(static_cast<double>(views.last().first().points.points.first().x));
            result.scanners.last().place = places.last();
        }
    }
    const Roll roll = rollOf(places, travels);
    for (int i = 0; i < views.size(); ++i) {
        Check& check = result.scanners[i];
        if (!check.reason.isEmpty())
            continue;
        for (ReferenceView& view : views[i])
            view.axisX = roll.direction * (view.axisX - roll.travel);
        const int side = i < views.size() / 2 ? Left : Right;
        const double back = (std::isnan(backToBack) ? 1360 : backToBack) / 2;
        check.error = errorOf(views.at(i), sections[side], back);
        if (std::isnan(check.error.x))
            check.reason = "too few points on the reference wheel";
    }
    takeOffPlace(result.scanners, !std::isnan(backToBack));
    return result;
}

QString textOf(double value) { return std::isnan(value) ? QString("-") : fixed(value, 3); }

void report(const PostCheck& check, double backToBack, double tolerance, bool isJson) {
    constexpr double kDegrees = 180 / 3.14159265358979323846;
    Table table({"scanner", "X mm", "Y mm", "Z mm", "lean deg", "deviation mm", "points", "notes"});
    QJsonArray scanners, sides;
    for (const Check& scanner : check.scanners) {
        const ScannerError& error = scanner.error;
        const QString problem = problemOf(scanner, tolerance);
        table.add({sensorName(scanner.index), textOf(error.x), textOf(error.y), textOf(error.z),
                   textOf(error.lean * kDegrees), textOf(error.deviation), QString::number(error.points),
                   problem});
        scanners.append(QJsonObject{{"sensor", scanner.index},
                                    {"x", jsonNumber(error.x)},
                                    {"y", jsonNumber(error.y)},
                                    {"z", jsonNumber(error.z)},
                                    {"leanDegrees", jsonNumber(error.lean * kDegrees)},
                                    {"deviation", jsonNumber(error.deviation)},
                                    {"points", error.points},
                                    {"notes", problem}});
    }
    QString text = table.text() + '\n';
    for (const int side : {Left, Right}) {
        const SideCheck& wheel = check.sides[side];
        text += sideName(side) + " wheel: these errors change its diameter by " + textOf(wheel.error) +
                " mm; at one moment it measured " + textOf(wheel.measured) + " for " +
                textOf(wheel.diameter) +
                (wheel.notes.isEmpty() ? QString() : "; " + printable(wheel.notes.join("; "))) + '\n';
        sides.append(QJsonObject{{"side", sideName(side)},
                                 {"runningDiameter", jsonNumber(wheel.measured)},
                                 {"given", wheel.diameter},
                                 {"diameterError", jsonNumber(wheel.error)},
                                 {"notes", QJsonArray::fromStringList(wheel.notes)}});
    }
    text += "back to back: " + textOf(check.backToBack) + " measured";
    if (!std::isnan(backToBack))
        text += ", " + textOf(backToBack) + " given, difference " + textOf(check.backToBack - backToBack);
    text += '\n';
    for (const QString& note : check.notes)
        text += "  " + printable(note) + '\n';
    if (!isJson)
        print(text);
    else
        printJson({{"scanners", scanners},
                   {"wheels", sides},
                   {"backToBack", jsonNumber(check.backToBack)},
                   {"givenBackToBack", jsonNumber(backToBack)},
                   {"tolerance", tolerance},
                   {"notes", QJsonArray::fromStringList(check.notes)}});
}

bool isGood(const PostCheck& check, double backToBack, double tolerance) {
    return std::all_of(check.scanners.begin(), check.scanners.end(),
                       [&](const Check& scanner) { return problemOf(scanner, tolerance).isEmpty(); }) &&
           (std::isnan(backToBack) || std::fabs(check.backToBack - backToBack) <= tolerance);
}

}  // namespace

int runWheelsCheckPost(const QStringList& words) {
    const Arguments arguments(usage, words);
    arguments.requireOperands(kAnyNumber);
    const QString file =
        arguments.required("--reference", "it is the section of the wheels that rolled through");
    const double diameter = arguments.number("--diameter", 920, 1, kAnyLength);
    const double diameters[] = {diameter, arguments.number("--right-diameter", diameter, 1, kAnyLength)};
    const double backToBack = arguments.number("--back-to-back", kNaN, 1, kAnyLength);
    const double tolerance = arguments.number("--tolerance", 0.05, 0, kAnyLength);
    if (!(tolerance > 0))
        throw Error("wheels check-post: --tolerance: 0 is met by no scanner; name what they may be off");
    const auto sectionOf = [&](int side) {
        SectionOptions options;
        options.diameter = diameters[side];
        options.text = readTextOptions(arguments);
        options.values.back = arguments.number("--back", kNaN, -kAnyLength, kAnyLength);
        return referenceSection(file, options);
    };
    const ReferenceSection sections[] = {sectionOf(Left), sectionOf(Right)};
    const QString first = arguments.operands().first();
    PostSettings settings(arguments.has("--settings")
                              ? arguments.text("--settings")
                              : (QFileInfo(first).isDir() ? first : QFileInfo(first).path()) +
                                    "/settings.ini");
    QStringList skipped;
    const ScratchFolder work;
    WheelPass pass(findRecordings(arguments.operands(), settings, skipped), settings, terminalProgress());
    pass.split({0, arguments.integer("--join", 3, 0, 1'000'000), work.path()});
    if (pass.wheelsets().size() != 1)
        throw Error(filledIn("%1: holds %2 wheelsets; the reference wheelset passes alone", first,
                             pass.wheelsets().size()));
    PostCheck check = checkPost(pass, sections, backToBack);
    ValueOptions options;
    options.hasUncertainties = false;
    pass.measureSections(options, [](const MeasuredSection&) {});
    pass.measureDistances();
    const WheelsetResult& wheelset = pass.wheelsets().first();
    for (const int side : {Left, Right}) {
        const WheelResult& wheel = wheelset.wheels[side];
        check.sides[side] = {2 * sections[side].runningRadius(),
                             2 * (static_cast<double>(wheel.circle.radius) - wheel.values.value[0]),
                             diameterError(check.scanners, side, sections[side]), wheel.notes};
    }
    check.backToBack = wheelset.backToBack;
    check.notes = pass.notes() + wheelset.notes + skipped;
    report(check, backToBack, tolerance, arguments.isJson());
    return isGood(check, backToBack, tolerance) ? Done : NotMet;
}

}  // namespace KvMeasure
