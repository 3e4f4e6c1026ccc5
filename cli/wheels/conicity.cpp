// "kvmeasure wheels conicity".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/pictures.h"
#include "cli/wheels/conicity_input.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/conicity_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/wheels/conicity.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>
#include <memory>

namespace KvMeasure {

namespace {

constexpr double kLongest = 100'000;  // mm

const Usage& usage() {
    static const Usage all = with(
        with(
            {"wheels conicity",
             "",
             "Rolling radius difference and equivalent conicity of a wheelset on its rails (EN 15302).",
             {},
             "The wheelset is rigid and does not roll about the track; each wheel touches where the vertical "
             "gap is least.\n"
             "The diameter is that at the running circle. dr is the rolling radius of the right wheel less "
             "that of the left,\n"
             "y the shift to the right; amplitudes are half the way from side to side. Exit code 1: an "
             "amplitude has no value.\n\n"
             "Examples\n"
             "  kvmeasure wheels conicity --right wheel.csv --right-rail rail.csv --gauge 1435 --amplitudes "
             "3\n"
             "  kvmeasure wheels conicity --right w.csv --left v.csv --right-rail r.csv --left-rail s.csv "
             "--rail-origin 750\n"
             "      --diameter 920 --amplitudes 1..7.5:0.1 --svg conicity.svg\n"
             "  kvmeasure wheels conicity --delta-r dr.csv --diameter 920 --amplitudes 1..6:0.5 --json\n"},
            wheelsetOptions()),
        {{"--delta-r", "TABLE", "rolling radius differences (y, dr) in place of sections"},
         {"--columns", "LIST", "text: the columns of x and height, or of y and dr, by name or from 1"},
         {"--diameter", "MM", "of both wheels (920)"},
         {"--left-diameter", "MM", "of the left wheel, where it differs"},
         {"--right-diameter", "MM", "of the right wheel, where it differs"},
         {"--amplitudes", "LIST", "numbers and ranges FROM..TO:STEP, mm (3)"},
         {"--contact-distance", "MM", "of the points of contact, for the wavelength (1500)"},
         {"--svg", "PICTURE", "draw difference and conicity"}});
    return all;
}

/// All that the command found.
struct Result {
    RollingRadii radii;  ///< of a table the shifts and differences alone
    bool hasContacts = false;
    double gauge = std::nan("");  ///< of the track, mm
    double origins[2] = {0, 0};   ///< of the rails, mm, by Side
    std::unique_ptr<ConicityCurve> curve;
    std::vector<Conicity> values;
    QStringList notes;
};

double largestOf(const std::vector<double>& amplitudes) {
    return *std::max_element(amplitudes.begin(), amplitudes.end());
}

ShiftSettings readShifts(const Arguments& arguments, const std::vector<double>& amplitudes) {
    constexpr double kBeyond = 2, kLargest = 50, kFinest = 0.01;
    ShiftSettings settings;
    settings.largest = std::min(kLargest, std::max(settings.largest, largestOf(amplitudes) + kBeyond));
    settings.step = arguments.number("--step", settings.step, kFinest, kLargest);
    settings.largest = arguments.number("--shift", settings.largest, settings.step, kLargest);
    settings.widestGap = arguments.number("--gap", settings.widestGap, kFinest, kLongest);
    return settings;
}

Result measured(const Arguments& arguments, const std::vector<double>& amplitudes) {
    Result result;
    ConicitySettings settings;
    double diameters[2] = {0, 0};
    readDiameters(arguments, diameters);
    settings.diameter = (diameters[Left] + diameters[Right]) / 2;
    settings.contactDistance = arguments.number("--contact-distance", settings.contactDistance, 1, kLongest);
    if (arguments.has("--delta-r")) {
        for (const Option& option : wheelsetOptions()) {
            if (arguments.has(option.name))
                throw Error(filledIn("wheels conicity: %1 has no effect with --delta-r", option.name));
        }
        DifferenceTable table = readDifferences(arguments.text("--delta-r"), arguments);
        result.radii.shifts = std::move(table.shifts);
        result.radii.differences = std::move(table.differences);
    } else {
        const WheelsetOnTrack wheelset = readWheelset(arguments, result.notes);
        result.radii = rollingRadii(wheelset, readShifts(arguments, amplitudes));
        result.hasContacts = true;
        result.gauge = 0;
        for (const int side : {Left, Right}) {
            result.origins[side] = wheelset.railOrigins[side];
            result.gauge += wheelset.railOrigins[side] + gaugeFace(wheelset.rails[side]);
        }
        result.notes += result.radii.notes;
    }
    QString reason = result.radii.reason;
    if (reason.isEmpty() && result.radii.shifts.size() < 2)
        reason = "the rolling radius difference is known at one shift only";
    if (reason.isEmpty())
        result.curve =
            std::make_unique<ConicityCurve>(result.radii.shifts, result.radii.differences, settings);
    for (const double amplitude : amplitudes) {
        Conicity none;
        none.amplitude = amplitude;
        none.reason = reason;
        result.values.push_back(result.curve ? result.curve->at(amplitude) : none);
    }
    return result;
}

QString sideText(int side) { return side == Left ? "left" : "right"; }

QString leapText(const ContactLeap& leap) {
    return filledIn("y %1: the %2 wheel touches at two places, %3 and %4 mm from its running circle",
                    fixed(leap.shift, 2), sideText(leap.side), fixed(leap.from, 2), fixed(leap.to, 2));
}

QJsonObject json(const Result& result) {
    QJsonArray conicity, difference, contacts, leaps;
    for (const Conicity& value : result.values)
        conicity.append(QJsonObject{{"amplitude", value.amplitude},
                                    {"tanGamma", jsonNumber(value.tanGamma)},
                                    {"valid", value.isValid()},
                                    {"reason", value.reason},
                                    {"regression", jsonNumber(value.regression)},
                                    {"wavelength", jsonNumber(value.wavelength)},
                                    {"from", jsonNumber(value.from)},
                                    {"to", jsonNumber(value.to)}});
    const RollingRadii& radii = result.radii;
    for (std::size_t i = 0; i < radii.shifts.size(); ++i) {
        difference.append(QJsonArray{radii.shifts[i], jsonNumber(radii.differences[i])});
        if (!result.hasContacts)
            continue;
        const Contact &left = radii.contacts[Left][i], &right = radii.contacts[Right][i];
        contacts.append(QJsonObject{{"y", radii.shifts[i]},
                                    {"rightWheel", right.wheel},
                                    {"rightRail", right.rail},
                                    {"leftWheel", left.wheel},
                                    {"leftRail", left.rail}});
    }
    for (const ContactLeap& leap : radii.leaps)
        leaps.append(QJsonObject{
            {"y", leap.shift}, {"side", sideText(leap.side)}, {"from", leap.from}, {"to", leap.to}});
    QJsonObject object{
        {"conicity", conicity},
        {"rollingRadiusDifference", difference},
        {"runningPosition", jsonNumber(result.curve ? result.curve->runningPosition() : std::nan(""))},
        {"largestAmplitude", jsonNumber(result.curve ? result.curve->largestAmplitude() : std::nan(""))},
        {"reason", result.curve ? result.curve->reason() : radii.reason},
        {"notes", QJsonArray::fromStringList(result.notes)}};
    if (result.hasContacts) {
        object["contacts"] = contacts;
        object["leaps"] = leaps;
        object["gauge"] = jsonNumber(result.gauge);
        object["railOrigin"] = QJsonObject{{"left", result.origins[Left]}, {"right", result.origins[Right]}};
    }
    return object;
}

QString text(const Result& result) {
    constexpr double kMillimetresPerMetre = 1000;
    const auto number = [](double value, int decimals) {
        return std::isnan(value) ? QString("-") : fixed(value, decimals);
    };
    Table table({"amplitude mm", "tan gamma", "by regression", "wavelength m", "from mm", "to mm", "notes"});
    for (const Conicity& value : result.values)
        table.add({QString::number(value.amplitude), number(value.tanGamma, 4), number(value.regression, 4),
                   number(value.wavelength / kMillimetresPerMetre, 3), number(value.from, 3),
                   number(value.to, 3), value.reason});
    QString lines = table.text();
    if (result.curve && result.curve->reason().isEmpty())
        lines +=
            filledIn("running position %1 mm, largest amplitude %2 mm\n",
                     fixed(result.curve->runningPosition(), 3), fixed(result.curve->largestAmplitude(), 3));
    if (result.hasContacts)
        lines +=
            filledIn("gauge %1 mm, x = 0 of the rails at %2 (left) and %3 mm (right)\n",
                     fixed(result.gauge, 2), fixed(result.origins[Left], 2), fixed(result.origins[Right], 2));
    for (const QString& note : result.notes)
        lines += printable(note) + '\n';
    constexpr std::size_t kMostLeaps = 10;
    for (std::size_t i = 0; i < std::min(kMostLeaps, result.radii.leaps.size()); ++i)
        lines += leapText(result.radii.leaps[i]) + '\n';
    if (result.radii.leaps.size() > kMostLeaps)
        lines += filledIn("and %1 more such places\n", result.radii.leaps.size() - kMostLeaps);
    return lines;
}

void draw(const Arguments& arguments, const Result& result) {
    if (!arguments.has("--svg"))
        return;
    ConicityPicture picture;
    const QString file = arguments.has("--delta-r") ? arguments.text("--delta-r") : arguments.text("--right");
    picture.title = QFileInfo(file).completeBaseName();
    picture.subtitle =
        result.hasContacts
            ? filledIn("rails: %1, gauge %2 mm", QFileInfo(arguments.text("--right-rail")).completeBaseName(),
                       fixed(result.gauge, 2))
            : QString("from a table of rolling radius differences");
    if (result.curve)
        picture.runningPosition = result.curve->runningPosition();
    for (std::size_t i = 0; i < result.radii.shifts.size(); ++i)
        picture.difference.emplace_back(result.radii.shifts[i], result.radii.differences[i]);
    for (const ContactLeap& leap : result.radii.leaps)
        picture.leaps.push_back(leap.shift);
    for (const Conicity& value : result.values) {
        picture.conicity.emplace_back(value.amplitude, value.tanGamma);
        picture.regression.emplace_back(value.amplitude, value.regression);
    }
    writePicture(arguments.text("--svg"), [&] { return drawConicity(picture); });
}

}  // namespace

int runWheelsConicity(const QStringList& words) {
    const Arguments arguments(usage(), words, 0, 0);
    QStringList inputs;
    for (const char* option : {"--right", "--left", "--right-rail", "--left-rail", "--delta-r"}) {
        if (arguments.has(option))
            inputs.append(arguments.text(option));
    }
    refuseOverwriting({arguments.text("--svg")}, inputs);
    const std::vector<double> amplitudes =
        readAmplitudes(arguments.has("--amplitudes") ? arguments.text("--amplitudes") : QString("3"));
    const Result result = measured(arguments, amplitudes);
    draw(arguments, result);
    if (arguments.isJson())
        printJson(json(result));
    else
        print(text(result));
    return std::all_of(result.values.begin(), result.values.end(),
                       [](const Conicity& value) { return value.isValid(); })
               ? int(Done)
               : int(NotMet);
}

}  // namespace KvMeasure
