#include "cli/wheels/sections.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/wear_picture.h>
#include <kvmeasure/drawing/wheel_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/wheels/section_uncertainty.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

/// Radii over a lateral position that grows away from the flange: that of the file, or its negative.
struct Section {
    std::vector<Vector> radii;
    double direction = 1;  ///< 1 or -1
    GaugeProfile file;
    WheelSection upright;
};

/// The points of a file as heights over lateral positions, upright.
std::vector<Vector> heightsOf(const Section& section) {
    std::vector<Vector> points;
    points.reserve(section.file.points.size());
    SectionTurn turn = section.upright.turn;
    turn.isMirrored = false;
    const bool isAsItStands = !turn.areExchanged && !turn.isUpsideDown;
    for (const Vector& p : section.file.points)
        points.push_back(isAsItStands ? p : turn.applied(p));
    return points;
}

Section readSection(const QString& path, const SectionOptions& options) {
    Section section;
    section.file = readGaugeProfile(path, options.text);
    if (!section.file.warning.isEmpty())
        complain(withParameters(section.file.warning, optionOf));
    if (section.file.points.empty())
        throw Error(path + ": holds no points");
    section.upright = wheelSection(section.file, options.values.back);
    double from = 1e300, to = -1e300;
    Vector tip(0, -1e300);
    for (const Vector& p : heightsOf(section)) {
        section.radii.emplace_back(p.x, options.areRadii ? p.y : options.diameter / 2 + p.y);
        from = std::min(from, p.x);
        to = std::max(to, p.x);
        if (section.radii.back().y > tip.y)
            tip = section.radii.back();
    }
    section.direction = tip.x - from > to - tip.x ? -1 : 1;
    for (Vector& point : section.radii)
        point.x *= section.direction;
    if (!(tip.y > 0))
        throw Error(path + ": no radius is above 0; is --diameter right?");
    if (section.direction * options.values.back >= section.direction * tip.x)
        throw Error(filledIn("%1: --back: %2 is not behind the flange tip, which lies at %3", path,
                             options.values.back, tip.x));
    return section;
}

/// What a scanner at this X would see of the wheel that stands over X = 0, its axis at Z = 0.
Cloud seenAt(const std::vector<Vector>& section, double x) {
    Cloud cloud;
    for (const Vector& point : section) {
        if (point.y > std::fabs(x))
            cloud.points.append({static_cast<float>(x), static_cast<float>(point.x),
                                 static_cast<float>(-std::sqrt(point.y * point.y - x * x))});
    }
    return cloud;
}

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

/// A wheel with this section, as three planes see it.
WheelResult measureSection(const std::vector<Vector>& radii, double tip, const ValueOptions& options,
                           MeasuredSection& section) {
    constexpr double kShare = 0.4;  // of the radius: the place of the outer planes
    WheelResult wheel;
    ValueOptions ofSection = options;
    ofSection.isSection = true;
    const Cloud middle = seenAt(radii, 0);
    if (!KvMath::ORBIS_calcWheel(seenAt(radii, -kShare * tip), middle, seenAt(radii, kShare * tip),
                                 wheel.circle, 0, nullptr))
        wheel.notes.append(QString("the circle takes 50 points, and the section has %1").arg(radii.size()));
    else if (isWheelCircle(wheel))
        calcWheelValues(ofSection, middle, wheel, section);
    return wheel;
}

/// The assumed diameter is no measurement.
void withholdSize(WheelResult& wheel) {
    if (!std::isfinite(wheel.circle.radius))
        return;
    wheel.circle = KvMath::KvCircle();
    wheel.notes.append(
        "a section alone has no radius and no running diameter: --diameter or --radii give them");
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

/// What is known of one file when it has been measured.
struct Measured {
    Section section;
    WheelResult wheel;
    MeasuredSection seen;
    GaugeValues gauge;  ///< with the wear, where that is measured
    WheelWear wear;
    std::vector<LimitVerdict> verdicts;
};

/// The values of gauges of a section, and its wear where there is a nominal one, with their uncertainties.
void measureGauge(const WheelSection& section, const SectionOptions& options, Measured& measured) {
    const WheelSection* nominal = options.nominal.points.empty() ? nullptr : &options.nominal;
    measured.gauge = gaugeValues(section, options.places);
    if (nominal != nullptr) {
        measured.wear = wheelWear(section, *nominal, options.alignment, options.places);
        measured.gauge.values.insert(measured.gauge.values.end(), measured.wear.values.begin(),
                                     measured.wear.values.end());
    }
    addUncertainties(section, nominal, options.alignment, options.places, measured.gauge.values);
}

QByteArray drawWorn(const QString& name, const Measured& measured) {
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
QByteArray drawSection(const QString& path, const Measured& measured) {
    const QString name = path.section('/', -1);
    if (!measured.wear.worn.empty())
        return drawWorn(name, measured);
    WheelPicture picture = pictureOf(measured.wheel, measured.seen);
    picture.title = name;
    picture.subtitle = QString("%1 points").arg(measured.seen.profile.points.size());
    picture.verdicts = measured.verdicts;
    return drawWheel(picture);
}

/// The running diameter: as the options give it, else as the gauge stored it.
double diameterOf(const Measured& measured, const SectionOptions& options) {
    if (options.isSizeKnown)
        return 2 * (static_cast<double>(measured.wheel.circle.radius) - measured.wheel.values.value[0]);
    return measured.section.file.number("DiameterTaperline");
}

Measured measureFile(const QString& path, const SectionOptions& options) {
    Measured measured;
    measured.section = readSection(path, options);
    const Section& read = measured.section;
    const double tip =
        std::max_element(read.radii.begin(), read.radii.end(), [](const Vector& a, const Vector& b) {
            return a.y < b.y;
        })->y;
    ValueOptions values = options.values;
    values.back *= read.direction;
    measured.wheel = measureSection(read.radii, tip, values, measured.seen);
    measureGauge(read.upright, options, measured);
    measured.verdicts = judge(options.limits, measured.gauge.values, diameterOf(measured, options));
    return measured;
}

/// The values that gauges take, too, are there.
bool isGaugeComplete(const GaugeValues& gauge) {
    return std::all_of(gauge.values.begin(), gauge.values.end(), [](const SectionValue& value) {
        const bool isNeeded = value.key.startsWith('S') || value.key == "qR" || value.key == "flangeAngle";
        return !isNeeded || value.isKnown();
    });
}

QJsonObject jsonOf(const QString& path, const Measured& measured, const SectionOptions& options) {
    const Section& read = measured.section;
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
        Measured nothing;
        measureGauge(WheelSection(), options, nothing);
        return sectionHead(nothing.gauge.values);
    }

    void add(const QString& path, const Measured& measured) {
        library.add(cellsOf(path, measured.wheel, measured.section.direction));
        QStringList row = sectionRow(path, measured.gauge.values);
        for (const QString& note : measured.section.file.notes + measured.section.upright.notes)
            row.last() += (row.last().isEmpty() ? "" : "; ") + note;
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
            throw Error(filledIn(
                "wheels parameters: --widths needs heights above 0 mm, e.g. 10,13; not \"%1\"", word));
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
    if (path.compare("S1002", Qt::CaseInsensitive) == 0) {
        options.nominal = s1002Section();
        return;
    }
    options.nominal = wheelSection(readGaugeProfile(path, options.text));
    const QString reason = options.nominal.isWheel() ? options.nominal.backReason : options.nominal.reason;
    if (!reason.isEmpty())
        throw Error(path + ": " + reason).inFile(path);
}

int measureSections(const QStringList& paths, const SectionOptions& options) {
    Tables tables(options);
    QJsonArray array;
    bool isComplete = true, isGood = true;
    PictureSeries pictures(options.picture, paths);
    const int code = forEachFile(paths, [&](const QString& path) {
        Measured measured = measureFile(path, options);
        isComplete = isComplete && measured.wheel.isComplete() && isGaugeComplete(measured.gauge);
        const QString verdict = overallVerdict(measured.verdicts);
        isGood = isGood && (verdict.isEmpty() || verdict == "good");
        if (!options.isSizeKnown)
            withholdSize(measured.wheel);
        tables.add(path, measured);
        array.append(jsonOf(path, measured, options));
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
    if (code != Done)
        return code;
    return isGood && (isComplete || !options.limits.empty()) ? Done : NotMet;
}

ReferenceSection referenceSection(const QString& path, const SectionOptions& options) {
    const Section read = readSection(path, options);
    std::vector<Vector> radii = read.radii;
    std::stable_sort(radii.begin(), radii.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    const auto tip = std::max_element(radii.begin(), radii.end(),
                                      [](const Vector& a, const Vector& b) { return a.y < b.y; });
    MeasuredSection section;
    ValueOptions values = options.values;
    values.back *= read.direction;
    const WheelResult wheel = measureSection(radii, tip->y, values, section);
    if (!wheel.isComplete())
        throw Error(path + ": no section of a wheel: " + wheel.notes.join("; "));
    if (wheel.back == FlangeBack::Assumed)
        throw Error(path + ": " + wheel.notes.join("; ") + "; --back gives its place");
    std::vector<double> laterals, heights;
    for (const Vector& point : radii) {
        const double lateral = point.x - wheel.backY;
        if (lateral < 0 || (!laterals.empty() && !(lateral > laterals.back())))
            continue;
        laterals.push_back(lateral);
        heights.push_back(point.y);
    }
    return {laterals, heights};
}

}  // namespace KvMeasure
