// calibrate apply, cut and mirror. Linear rows interpolate between the two cells around a position; library
// rows are those of kvmath, made of all steps at once and kept in memory.
#include "cli/arguments.h"
#include "cli/calibrate/truth.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/calibration/table.h>
#include <kvmeasure/profiles/profile_writer.h>

#include <kvmath/calibration/dtf_profiles.h>
#include <kvmath/calibration/table_ops.h>
#include <kvmath/core/record_layout.h>

#include <cmath>

namespace KvMeasure {

namespace {

Usage applyUsage() {
    return with(
        {"calibrate apply",
         "TABLE RAW OUT",
         "Turns the positions of a raw record into profiles, one per step.",
         {{"--step", "N", "only this step, from 0; OUT is a CSV file then"},
          {"--rows",
           "NAME",
           "linear (all five binary places count) or library (see below) (linear)",
           {"linear", "library"}},
          {"--pitch", "MM", "between the profiles of a stack (1)"},
          {"--format", "FORM", "csv or kv-csv for one step, record for a stack", formNames()}},
         "A stack is a file of profiles with their places, as \"kvmeasure info\" and \"filter\" read "
         "it. With linear rows,\n"
         "places without line or table are left out. Library rows are those of "
         "KvMath::calcProfsFromDtf: exact only\n"
         "for positions whose fraction is below 2/32, up to 7 pixels too far down for the others, and "
         "nothing is\n"
         "left out: an empty cell becomes twice the range.\n\nExamples\n"
         "  kvmeasure calibrate apply scanner.tbl again.raw again.zset --z-range 100 --x-range 140\n"
         "  kvmeasure calibrate apply scanner.tbl again.raw step.csv --step 500 --truth "
         "flat.raw.truth.json\n"},
        unitOptions(false));
}

/// Profiles of a record by linear rows.
KvMath::KvProfile linearProfile(const PixelTable& table, const RawRecord& record, int step,
                                const TableUnits& units) {
    KvMath::KvProfile profile;
    for (int column = 0; column < PixelTable::kColumns; ++column) {
        const int position = record.positions[static_cast<std::size_t>(column) * KvMath::kCalibrationSteps +
                                              static_cast<std::size_t>(step)];
        if (position == 0 || position >= KvMath::kSensorPositions)
            continue;
        const double row = position / double(KvMath::kPositionsPerRow);
        const double x = table.valueAt(Half::X, row, column, units.xRange);
        const double z = table.valueAt(Half::Z, row, column, units.zRange);
        if (!std::isnan(x) && !std::isnan(z))
            profile.points.append({static_cast<float>(x), static_cast<float>(z - units.zOffset)});
    }
    return profile;
}

/// A record of a profile at a place along the scan; the writer enters the count of points.
QByteArray recordHead(double place) {
    QByteArray head(3, '\0');
    head[0] = char(KvMath::kProfileRecord);
    appendLittleEndian(head, static_cast<float>(place));
    return head;
}

/// The run over the steps of a record.
class Applier {
public:
    explicit Applier(const Arguments& arguments)
        : arguments_(arguments), units_(readUnits(arguments, readTruth(arguments))),
          table_(loadTable(arguments.operand(0))), record_(loadRaw(arguments.operand(1))) {
        if (arguments.choice("--rows") == 0)
            return;
        if (!table_.isFull())
            throw Error("calibrate apply: --rows library needs a full table; this one is compact");
        profiles_.resize(KvMath::kCalibrationSteps);
        KvMath::calcProfsFromDtf(table_.cells(), record_.columns().data(), units_.zRange, units_.xRange,
                                 profiles_.data());
        for (KvMath::KvProfile& profile : profiles_) {
            for (KvMath::KvPointXY& point : profile.points)
                point.y = static_cast<float>(double(point.y) - units_.zOffset);
        }
    }

    void run() {
        constexpr int kLast = KvMath::kCalibrationSteps - 1;
        const bool isOne = arguments_.has("--step");
        const int step = arguments_.integer("--step", 0, 0, kLast);
        const FileForm form =
            parseForm(arguments_.text("--format"), isOne ? FileForm::Csv : FileForm::Records);
        if (!isOne && form != FileForm::Records)
            throw Error("calibrate apply: a CSV file holds one profile; choose one with --step N");
        if (isOne && form != FileForm::Records && arguments_.has("--pitch"))
            throw Error("calibrate apply: --pitch is of records; a CSV file has no place along the scan");
        const double pitch = arguments_.number("--pitch", 1, -1e6, 1e6);
        const QString path = arguments_.operand(2);
        ProfileWriter writer(path, form);
        TerminalProgress progress("profiles", kLast);
        qint64 points = 0;
        for (int s = isOne ? step : 0; s <= (isOne ? step : kLast); ++s) {
            LoadedProfile loaded;
            loaded.profile = profiles_.empty() ? linearProfile(table_, record_, s, units_)
                                               : profiles_[static_cast<std::size_t>(s)];
            loaded.head.bytes = recordHead(s * pitch);
            points += loaded.profile.points.size();
            writer.add(loaded);
            progress.show(s);
        }
        writer.commit();
        progress.clear();
        const int count = isOne ? 1 : KvMath::kCalibrationSteps;
        if (arguments_.isJson())
            printJson({{"file", path}, {"profiles", count}, {"points", points}});
        else
            print(filledIn("%1: %2 profiles, %3 points\n", printable(path), count, points));
    }

private:
    const Arguments& arguments_;
    TableUnits units_;
    PixelTable table_;
    RawRecord record_;
    std::vector<KvMath::KvProfile> profiles_;  ///< of library rows
};

// ---- cutting and mirroring

const Usage cutUsage{"calibrate cut",
                     "TABLE OUT",
                     "Empties the cells of a full table at margins and corners of the sensor.",
                     {{"--left", "PX", "columns below this"},
                      {"--right", "PX", "columns above 648 less this"},
                      {"--top", "PX", "rows above this one"},
                      {"--bottom", "PX", "rows below 488 less this"},
                      {"--top-left", "W,H", "a corner triangle, W pixels wide and H high"},
                      {"--top-right", "W,H", "the same"},
                      {"--bottom-left", "W,H", "the same"},
                      {"--bottom-right", "W,H", "the same"}},
                     "OUT may be TABLE itself. A right or bottom margin of 1 cuts nothing.\n\nExamples\n"
                     "  kvmeasure calibrate cut scanner.tbl cut.tbl --left 10 --right 11 --top-left 80,60\n"};

KvMath::CutDiagonalParamsCBR readCut(const Arguments& arguments) {
    constexpr int kMost = 100'000;
    KvMath::CutDiagonalParamsCBR cut{};
    cut.leftMargin = arguments.integer("--left", 0, 0, kMost);
    cut.rightMargin = arguments.integer("--right", 0, 0, kMost);
    cut.topMargin = arguments.integer("--top", 0, 0, kMost);
    cut.bottomMargin = arguments.integer("--bottom", 0, 0, kMost);
    arguments.wholePair("--top-left", cut.topLeftWidth, cut.topLeftHeight, 1, kMost);
    arguments.wholePair("--top-right", cut.topRightWidth, cut.topRightHeight, 1, kMost);
    arguments.wholePair("--bottom-left", cut.bottomLeftWidth, cut.bottomLeftHeight, 1, kMost);
    arguments.wholePair("--bottom-right", cut.bottomRightWidth, cut.bottomRightHeight, 1, kMost);
    return cut;
}

const Usage mirrorUsage{"calibrate mirror",
                        "FILE OUT",
                        "Turns the sensor upside down, in a raw record or in the halves of a full table.",
                        {{"--z", "", "the Z half of a table"}, {"--x", "", "the X half of a table"}},
                        "OUT may be FILE itself. A raw record is mirrored as a whole. Twice is the table as "
                        "it was; in a record, a "
                        "position at the very edge of the\n"
                        "sensor is lost. A table is turned about row 488, half a sensor row below the "
                        "middle; its values stay.\n\nExamples\n"
                        "  kvmeasure calibrate mirror flat.raw turned.raw\n"
                        "  kvmeasure calibrate mirror scanner.tbl turned.tbl --z --x\n"};

PixelTable readFullTable(CalibrationFile& file, const QString& path, const QString& action) {
    PixelTable table = file.readTable();
    if (!table.isFull())
        throw Error(QString("%1: %2 is a compact table; only full ones can be changed").arg(action, path));
    return table;
}

}  // namespace

int runCalibrateApply(const QStringList& words) {
    const Arguments arguments(applyUsage(), words, 3, 3);
    refuseOverwriting({arguments.operand(2)},
                      {arguments.operand(0), arguments.operand(1), arguments.text("--truth")});
    Applier(arguments).run();
    return Done;
}

int runCalibrateCut(const QStringList& words) {
    const Arguments arguments(cutUsage, words, 2, 2);
    const QString out = arguments.operand(1);
    refuseOverwriting({out}, {arguments.operand(0)});
    const KvMath::CutDiagonalParamsCBR cut = readCut(arguments);
    CalibrationFile file(arguments.operand(0));
    PixelTable table = readFullTable(file, arguments.operand(0), "calibrate cut");
    const int before = table.filled(Half::Z);
    const int beforeX = table.filled(Half::X);
    KvMath::cutTBL(table.cells(), cut);
    saveTable(table, out);
    const int emptied = before - table.filled(Half::Z);
    const int emptiedX = beforeX - table.filled(Half::X);
    if (arguments.isJson())
        printJson({{"file", out}, {"emptiedZ", emptied}, {"emptiedX", emptiedX}});
    else
        print(filledIn("%1: %2 cells with Z and %3 with X emptied\n", printable(out), emptied, emptiedX));
    return Done;
}

int runCalibrateMirror(const QStringList& words) {
    const Arguments arguments(mirrorUsage, words, 2, 2);
    const QString in = arguments.operand(0);
    const QString out = arguments.operand(1);
    refuseOverwriting({out}, {in});
    const bool mirrorZ = arguments.has("--z");
    const bool mirrorX = arguments.has("--x");
    CalibrationFile file(in);
    const CalibrationForm form = file.form();
    if (form == CalibrationForm::Raw) {
        if (mirrorZ || mirrorX)
            throw Error("calibrate mirror: a raw record has no halves; leave --z and --x out");
        RawRecord record = file.readRaw();
        KvMath::zMirrorDTF(record.columns().data());
        saveRaw(record, out);
    } else {
        if (!mirrorZ && !mirrorX)
            throw Error("calibrate mirror: which half of the table? Add --z, --x or both");
        PixelTable table = readFullTable(file, in, "calibrate mirror");
        KvMath::zMirrorTBL(table.cells(), mirrorZ, mirrorX);
        saveTable(table, out);
    }
    if (arguments.isJson())
        printJson({{"file", out}, {"form", formName(form)}});
    else
        print(QString("%1: %2 mirrored\n").arg(printable(out), formName(form)));
    return Done;
}

}  // namespace KvMeasure
