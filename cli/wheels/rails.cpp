// kvmeasure rails parameters: the head of rails, and their wear against a nominal one.

#include "cli/arguments.h"
#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/pictures.h"
#include "cli/profile/text_options.h"
#include "cli/stored_parts.h"
#include "cli/wheels/section_list.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/wear_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/stored_section.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/section_uncertainty.h>

#include <cmath>
#include <optional>

namespace KvMeasure {

namespace {

const QStringList kSideWords{"auto", "left", "right"};

const Usage& usage() {
    static const Usage all = with(
        with(withTextOptions(
                 {"rails parameters",
                  "FILE...",
                  "Measures head width and crown radius of rails, and their wear against a nominal rail.",
                  {{"--reference", "FILE", "the nominal rail, in the frame of the files; W1 to W3 need it"},
                   {"--depth", "MM", "of W2 and of the head width, below the top (14)"},
                   {"--angle", "DEG", "of W3: where the nominal head falls by it (45)"},
                   {"--crown", "MM", "width of the part of the head that the crown radius is fitted to (16)"},
                   {"--gauge-side", "SIDE", "of W2 and W3: auto is the side that is worn more (auto)",
                    kSideWords},
                   {"--svg", "PICTURE", "draw the rail on the nominal one, or each into PICTURE-NAME"}},
                  "FILE is the file of a gauge (.ban, .prr and the like), CSV, or a profile record; one that "
                  "is "
                  "upside down\nor on its side is put upright. W1: height in the middle of the head. W2: "
                  "side, "
                  "along "
                  "the depth. W3: corner,\nsquare to the nominal head. Wear is positive. Exit code 1 where a "
                  "value is "
                  "missing; without --reference W1\nto W3 are not expected.\n\nExamples\n"
                  "  kvmeasure rails parameters rail.ban --reference nominal.prr --svg wear.svg\n"
                  "  kvmeasure rails parameters rail.csv --depth 16 --json\n"}),
             storeOptions()),
        sectionListOptions());
    return all;
}

RailPlaces readPlaces(const Arguments& arguments) {
    constexpr double kLeast = 0.1, kDeepest = 40, kWidest = 60, kLeastAngle = 5, kMostAngle = 85;
    RailPlaces places;
    places.sideDepth = arguments.number("--depth", places.sideDepth, kLeast, kDeepest);
    places.cornerAngle = arguments.number("--angle", places.cornerAngle, kLeastAngle, kMostAngle);
    places.crownWidth = arguments.number("--crown", places.crownWidth, 1, kWidest);
    places.side = static_cast<GaugeSide>(arguments.choice("--gauge-side"));
    return places;
}

/// A rail of a file, with what is to be said of the file.
struct ReadRail {
    RailSection section;
    GaugeProfile file;
    QStringList notes() const { return file.notes + section.notes; }
};

ReadRail readRail(const QString& path, const TextOptions& options, bool isOfList) {
    ReadRail rail;
    rail.file = readGaugeProfile(path, options);
    if (!rail.file.warning.isEmpty() && isOfList)
        rail.file.notes.append(rail.file.warning);
    else if (!rail.file.warning.isEmpty())
        complain(withParameters(rail.file.warning, optionOf));
    rail.section = railSection(rail.file);
    return rail;
}

QString sideWord(GaugeSide side) {
    return side == GaugeSide::Unknown ? QString() : kSideWords[static_cast<int>(side)];
}

QJsonObject jsonOf(const QString& path, const ReadRail& rail, const RailValues& measured) {
    QJsonObject json = sectionValuesJson(measured.values);
    json["file"] = path;
    json["turned"] = rail.section.turn.text();
    json["mirrored"] = measured.isMirrored;
    json["gaugeSide"] = measured.side == GaugeSide::Unknown ? QJsonValue() : sideWord(measured.side);
    json["notes"] = QJsonArray::fromStringList(rail.notes() + measured.notes);
    return json;
}

/// What a store or a list keeps of a rail.
StoredSection storedSection(const QString& path, const ReadRail& rail, const RailValues& measured,
                            bool hasNominal) {
    StoredSection stored{withoutMarks(path), measured.values, {}, rail.notes() + measured.notes};
    for (const SectionValue& value : measured.values) {
        const bool isWear = value.key.startsWith('W') || value.key == "areaLost";
        const bool isExtra = value.key == "inclination";
        stored.isComplete = stored.isComplete && (value.isKnown() || isExtra || (isWear && !hasNominal));
    }
    return stored;
}

QByteArray draw(const QString& path, const RailValues& measured, const RailSection* nominal) {
    WearPicture picture;
    picture.title = path.section('/', -1);
    QStringList facts;
    for (const SectionValue& value : measured.values) {
        if (value.isKnown())
            facts.append(value.key + ' ' + QString::number(value.value, 'f', 2) + ' ' +
                         (value.unit == "mm2" ? "mm²" : value.unit));
    }
    picture.subtitle = facts.join(", ");
    picture.worn = measured.worn;
    if (nominal != nullptr)
        picture.nominal = nominal->points;
    for (const auto& [mark, key] :
         {std::pair(measured.w1, "W1"), std::pair(measured.w2, "W2"), std::pair(measured.w3, "W3")}) {
        const SectionValue* value = findValue(measured.values, key);
        if (value != nullptr && value->isKnown())
            picture.marks.push_back(
                {mark.nominal, mark.worn, QString(key) + ' ' + QString::number(value->value, 'f', 2)});
    }
    return drawWear(picture);
}

}  // namespace

int runRailsParameters(const QStringList& words) {
    const Arguments arguments(usage(), words);
    const bool isList = isBatch(arguments, {"--svg", "--store", "--station", "--operator", "--serial"});
    if (!isList) {
        arguments.requireWith({"--out", "--jobs", "--stats"}, "--files-from");
        arguments.requireOperands(kAnyNumber);
    }
    const TextOptions text = readTextOptions(arguments);
    const RailPlaces places = readPlaces(arguments);
    const QString svg = arguments.text("--svg");
    refuseOverwriting({svg}, arguments.operands() + arguments.texts("--reference"));
    std::optional<ReadRail> nominal;
    if (arguments.has("--reference")) {
        const QString path = arguments.text("--reference");
        nominal = readRail(path, text, false);
        if (!nominal->section.isRail())
            throw Error(path + ": " + nominal->section.reason).inFile(path);
    }
    const RailSection* reference = nominal ? &nominal->section : nullptr;
    const auto measureRail = [&](const QString& path, bool isOfList, ReadRail& rail, RailValues& measured) {
        rail = readRail(path, text, isOfList);
        measured = railValues(rail.section, reference, places);
        addUncertainties(rail.section, reference, places, measured);
        return storedSection(path, rail, measured, reference != nullptr);
    };
    RailValues none = railValues(RailSection(), nullptr, places);
    addUncertainties(RailSection(), nullptr, places, none);
    const std::vector<SectionValue>& columns = none.values;
    if (isList) {
        const auto measure = [&](const QString& path) {
            ReadRail rail;
            RailValues measured;
            return measureRail(path, true, rail, measured);
        };
        return measureSectionList(usage(), arguments, {columns, arguments.texts("--reference"), measure});
    }
    Table table(sectionHead(columns));
    QJsonArray array;
    bool areComplete = true;
    StoredParts store(arguments);
    store.beginWithOptions();
    PictureSeries pictures(svg, arguments.operands() + arguments.texts("--reference"));
    const int code = store.forEachFile(arguments.operands(), [&](const QString& path) {
        ReadRail rail;
        RailValues measured;
        const StoredSection stored = measureRail(path, false, rail, measured);
        areComplete = areComplete && stored.isComplete;
        store.add(storedPart(stored));
        QStringList row = sectionRow(path, measured.values);
        for (const QString& note : rail.notes() + measured.notes)
            row.last() += (row.last().isEmpty() ? "" : "; ") + note;
        table.add(row);
        array.append(jsonOf(path, rail, measured));
        if (svg.isEmpty())
            return;
        const auto picture = [&] { return draw(path, measured, reference); };
        if (arguments.operands().size() == 1)
            writePicture(svg, picture);
        else
            pictures.write(stemOf(path), picture);
    });
    if (arguments.isJson())
        printJson({{"sections", array}, {"reference", arguments.text("--reference")}});
    else if (table.size() > 1)
        print(table.text());
    return store.finishWith(code != Done || areComplete ? code : int(NotMet));
}

}  // namespace KvMeasure
