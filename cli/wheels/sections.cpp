// wheels parameters on sections from files. Each is measured twice over: the values of the library, and those
// as gauges define them. A nominal section adds wear, limits add verdicts.
#include "cli/wheels/section_file.h"
#include "cli/wheels/section_list.h"

#include "cli/batch.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"
#include "cli/stored_parts.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/wear_picture.h>
#include <kvmeasure/drawing/wheel_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/stored_section.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/report/wheel_report.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Where positions count from, in the lateral positions of the file.
QString backText(const WheelResult& wheel, double direction) {
    constexpr int kDecimals = 3;
    if (std::isnan(wheel.backY))
        return "-";
    const QString place = fixed(direction * wheel.backY, kDecimals);
    if (wheel.back == FlangeBack::Seen)
        return place + " seen";
    return place + (wheel.back == FlangeBack::Given ? " given" : " assumed");
}

QStringList cellsOf(const QString& path, const WheelResult& wheel, double direction) {
    const auto value = [](double of) { return std::isfinite(of) ? mm(of) : QString("-"); };
    QStringList cells{path};
    for (const int i : {0, 1, 9, 8})
        cells << value(wheel.values.value[i]);
    return cells << nominalText(wheel.nominal) << value(static_cast<double>(wheel.circle.radius))
                 << backText(wheel, direction) << wheel.notes.join("; ");
}

const char* sourceName(BackSource source) {
    const char* const names[] = {"given", "file", "seen", "unknown"};
    return names[static_cast<int>(source)];
}

/// What the gauge itself stored in its file.
QJsonObject statedValues(const GaugeProfile& file) {
    QJsonObject stated;
    for (const char* name : {"Sh", "Sd", "qR", "DiameterTaperline", "DiameterFlange"}) {
        const double value = file.number(name);
        if (std::isfinite(value))
            stated[name] = value;
    }
    return stated;
}

QByteArray drawWorn(const QString& name, const MeasuredFile& measured) {
    WearPicture picture;
    picture.title = name;
    QStringList facts;
    for (const char* key : {"Sh", "Sd", "qR", "treadWear", "largestWear", "areaLost"}) {
        const SectionValue* value = findValue(measured.gauge.values, key);
        if (value != nullptr && value->isKnown())
            facts.append(QString(key) + ' ' + fixed(value->value, 2) + (value->unit == "mm2" ? " mm²" : ""));
    }
    picture.subtitle = facts.join(", ");
    picture.worn = measured.wear.worn;
    picture.nominal = measured.wear.nominal;
    const SectionValue* largest = findValue(measured.wear.values, "largestWear");
    if (largest->isKnown())
        picture.marks.push_back({measured.wear.largest.nominal, measured.wear.largest.worn,
                                 "largest " + fixed(largest->value, 2)});
    return drawWear(picture);
}

/// The section with its values, or on the nominal one.
QByteArray drawSection(const QString& path, const MeasuredFile& measured) {
    const QString name = path.section('/', -1);
    if (!measured.wear.worn.empty())
        return drawWorn(name, measured);
    WheelPicture picture = pictureOf(measured.wheel, measured.seen);
    picture.title = name;
    picture.subtitle = QString("%1 points").arg(measured.seen.profile.points.size());
    picture.verdicts = measured.verdicts;
    return drawWheel(picture);
}

QJsonObject jsonOf(const QString& path, const MeasuredFile& measured, const SectionOptions& options) {
    const SectionFile& read = measured.section;
    QJsonObject json = wheelValuesJson(measured.wheel);
    const QJsonObject values = sectionValuesJson(measured.gauge.values);
    for (auto value = values.begin(); value != values.end(); ++value)
        json[value.key()] = value.value();
    json["file"] = path;
    json["backPosition"] = jsonNumber(read.direction * measured.wheel.backY);
    json["gaugeBack"] = jsonNumber((read.upright.turn.isMirrored ? -1 : 1) * read.upright.back);
    json["gaugeBackSource"] = sourceName(read.upright.source);
    json["turned"] = read.upright.turn.text();
    json["stated"] = statedValues(read.file);
    json["notes"] = QJsonArray::fromStringList(measured.wheel.notes);
    json["gaugeNotes"] = QJsonArray::fromStringList(read.file.notes + read.upright.notes);
    if (!options.limits.empty()) {
        json["diameter"] = jsonNumber(diameterOf(measured, options));
        json["limits"] = verdictsJson(measured.verdicts);
        json["verdict"] = overallVerdict(measured.verdicts);
    }
    return json;
}

/// Tables of the values of the library, of gauges' values, and of verdicts.
struct Tables {
    Table library{{"section", "flange height", "thickness from back", "flange steepness", "height deviation",
                   "nominal height", "radius", "flange back", "notes"}};
    Table gauge;
    Table verdicts{verdictHead()};

    explicit Tables(const SectionOptions& options) : gauge(headOf(options)) {}

    static QStringList headOf(const SectionOptions& options) {
        MeasuredFile nothing;
        measureGauge(WheelSection(), options, nothing);
        return sectionHead(nothing.gauge.values);
    }

    void add(const QString& path, const MeasuredFile& measured, const SectionOptions& options) {
        library.add(cellsOf(path, measured.wheel, measured.section.direction));
        QStringList row = sectionRow(path, measured.gauge.values);
        for (const QString& note : measured.section.file.notes + measured.section.upright.notes)
            row.last() += (row.last().isEmpty() ? "" : "; ") + note;
        const double diameter = diameterOf(measured, options);
        if (!options.limits.empty() && std::isfinite(diameter))
            row.last() +=
                filledIn("%1limits for a running diameter of %2 mm%3", row.last().isEmpty() ? "" : "; ",
                         fixed(diameter, 2), options.isSizeKnown ? "" : ", as the file states it");
        gauge.add(row);
        for (const LimitVerdict& verdict : measured.verdicts)
            verdicts.add(verdictRow(path, verdict));
    }

    QString text() {
        if (library.size() <= 1)
            return {};
        return library.text() + "\nas gauges define them, interpolated\n" + gauge.text() +
               (verdicts.size() > 1 ? '\n' + verdicts.text() : QString());
    }
};

bool isStandardProfile(const QString& name) { return name.compare("S1002", Qt::CaseInsensitive) == 0; }

void readPlaces(const Arguments& arguments, GaugePlaces& places) {
    constexpr double kLeast = 0.01, kMost = 200;
    constexpr int kMostWidths = 100;
    places.belowTip = arguments.number("--l1", places.belowTip, kLeast, kMost);
    places.tread = arguments.number("--l2", places.tread, kLeast, kMost);
    places.aboveTread = arguments.number("--l3", places.aboveTread, kLeast, kMost);
    if (!arguments.has("--widths"))
        return;
    const QStringList words = arguments.text("--widths").split(',');
    if (words.size() > kMostWidths)
        throw Error("wheels parameters: --widths takes 100 heights at most");
    for (const QString& word : words) {
        double height = 0;
        if (!parseQuantity(word.trimmed(), {"mm"}, height) || !(height > 0 && height <= kMost))
            throw Error(filledIn("wheels parameters: --widths needs heights above 0 mm, 200 mm at most, e.g. "
                                 "10,13; not \"%1\"",
                                 word));
        places.widthHeights.push_back(height);
    }
}

}  // namespace

std::vector<Option> gaugeOptions() {
    return {{"--l1", "MM", "sections: qR begins so far below the flange tip (2)"},
            {"--l2", "MM", "sections: the tread point of Sh, from the flange back (70)"},
            {"--l3", "MM", "sections: Sd and the end of qR, above the tread point (10)"},
            {"--widths", "LIST", "sections: thickness at these heights above the tread point, too"},
            {"--reference", "FILE",
             "sections: wear against this nominal section; S1002 is the profile of that name"},
            {"--align",
             "PLACE",
             "sections: heights of worn and nominal agree at the tread point, or at the flange tip (tread)",
             {"tread", "tip"}},
            {"--limits", "FILE", "table of limits; the exit code is 1 where a value is out of them"}};
}

void readGaugeOptions(const Arguments& arguments, SectionOptions& options) {
    readPlaces(arguments, options.places);
    if (arguments.has("--limits"))
        options.limits = readWheelLimits(arguments.text("--limits"));
    arguments.requireWith({"--align"}, "--reference");
    options.alignment = arguments.choice("--align") == 1 ? WearAlignment::Tip : WearAlignment::Tread;
    if (!arguments.has("--reference"))
        return;
    const QString path = arguments.text("--reference");
    if (isStandardProfile(path)) {
        options.nominal = s1002Section();
        return;
    }
    options.nominal = wheelSection(readGaugeProfile(path, options.text));
    const QString reason = options.nominal.isWheel() ? options.nominal.backReason : options.nominal.reason;
    if (!reason.isEmpty())
        throw Error(path + ": " + reason).inFile(path);
}

ValueOptions readValueOptions(const Arguments& arguments) {
    constexpr double kLowest = 1, kHighest = 100, kAnywhere = 1e6;
    ValueOptions values;
    values.kind = arguments.choice("--kind");
    if (arguments.has("--nominal"))
        values.nominal = arguments.number("--nominal", 0, kLowest, kHighest);
    if (arguments.has("--back"))
        values.back = arguments.number("--back", 0, -kAnywhere, kAnywhere);
    return values;
}

namespace {

/// What a store or a list keeps of a file.
StoredSection storedSection(const QString& path, const MeasuredFile& measured,
                            const SectionOptions& options) {
    StoredSection section;
    section.name = withoutMarks(path);
    section.values = wheelValues(measured.wheel);
    section.values.insert(section.values.end(), measured.gauge.values.begin(), measured.gauge.values.end());
    section.verdicts = measured.verdicts;
    section.notes = measured.wheel.notes + measured.section.file.notes + measured.section.upright.notes;
    section.isComplete = !options.limits.empty() || isComplete(measured);
    return section;
}

int measureList(const Usage& usage, const Arguments& arguments, SectionOptions options) {
    options.isOfList = true;
    SectionRows rows;
    MeasuredFile nothing;
    measureGauge(WheelSection(), options, nothing);
    rows.columns = storedSection("", nothing, options).values;
    rows.inputs = arguments.texts("--limits");
    for (const QString& path : arguments.texts("--reference")) {
        if (!isStandardProfile(path))
            rows.inputs.append(path);
    }
    rows.measure = [&options](const QString& path) {
        MeasuredFile measured = measureFile(path, options);
        const bool isWhole = !options.limits.empty() || isComplete(measured);
        if (!options.isSizeKnown)
            withholdSize(measured.wheel);
        StoredSection section = storedSection(path, measured, options);
        section.isComplete = isWhole;
        return section;
    };
    return measureSectionList(usage, arguments, rows);
}

int measureAll(const QStringList& paths, const SectionOptions& options, StoredParts& store) {
    Tables tables(options);
    QJsonArray array;
    bool areComplete = true, isGood = true;
    PictureSeries pictures(options.picture, paths);
    const int code = store.forEachFile(paths, [&](const QString& path) {
        MeasuredFile measured = measureFile(path, options);
        areComplete = areComplete && isComplete(measured);
        const QString verdict = overallVerdict(measured.verdicts);
        isGood = isGood && (verdict.isEmpty() || verdict == "good");
        if (!options.isSizeKnown)
            withholdSize(measured.wheel);
        tables.add(path, measured, options);
        array.append(jsonOf(path, measured, options));
        store.add(storedPart(storedSection(path, measured, options)));
        if (options.picture.isEmpty())
            return;
        const auto draw = [&] { return drawSection(path, measured); };
        if (paths.size() == 1)
            writePicture(options.picture, draw);
        else
            pictures.write(stemOf(path), draw);
    });
    if (options.isJson)
        printJson({{"sections", array}});
    else
        print(tables.text());
    const bool isMet = isGood && (areComplete || !options.limits.empty());
    return store.finishWith(code != Done || isMet ? code : int(NotMet));
}

}  // namespace

int measureSections(const Usage& usage, const Arguments& arguments) {
    constexpr double kAnyDiameter = 100'000;
    SectionOptions options;
    options.diameter = arguments.number("--diameter", options.diameter, 1, kAnyDiameter);
    options.isSizeKnown = arguments.has("--diameter") || arguments.has("--radii");
    options.areRadii = arguments.has("--radii");
    options.text = readTextOptions(arguments);
    options.picture = arguments.text("--svg");
    options.values = readValueOptions(arguments);
    options.isJson = arguments.has("--json");
    refuseOverwriting({options.picture},
                      arguments.operands() + arguments.texts("--limits") + arguments.texts("--reference"));
    readGaugeOptions(arguments, options);
    if (options.areRadii && arguments.has("--diameter"))
        throw Error("wheels parameters: --radii are measured from the axis; leave --diameter out");
    for (const char* option : {"--settings", "--work", "--mode", "--join"}) {
        if (arguments.has(option))
            throw Error(QString("wheels parameters: %1 is of recordings; these are sections").arg(option));
    }
    if (isBatch(arguments, {"--svg", "--store", "--station", "--operator", "--serial"}))
        return measureList(usage, arguments, options);
    StoredParts store(arguments);
    store.beginWithOptions();
    return measureAll(arguments.operands(), options, store);
}

}  // namespace KvMeasure
