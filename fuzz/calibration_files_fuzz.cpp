// Files of raw records and tables, short, full and too long: what was loaded is saved and loaded again
// unchanged. One of the forms at a time, seldom profiles of both: each takes milliseconds.

#include "fuzz/calibration_data.h"
#include "fuzz/scratch_file.h"

#include <kvmath/calibration/dtf_profiles.h>
#include <kvmath/calibration/table_io.h>
#include <kvmath/profile/profile.h>

#include <algorithm>

namespace {

using namespace KvMath;

struct Record {
    Fuzz::Columns columns{kCalibrationSteps};
    std::vector<double> parameters = std::vector<double>(kCalibrationSteps);

    bool load(const QString& path) { return loadRawCbrDataFromFile(columns.rows(), parameters.data(), path); }
    bool operator==(const Record& other) const {
        return columns.cells() == other.columns.cells() &&
               std::equal(parameters.begin(), parameters.end(), other.parameters.begin(), hasSameBits);
    }

private:
    static bool hasSameBits(double a, double b) {
        uint64_t bitsOfA = 0, bitsOfB = 0;
        std::memcpy(&bitsOfA, &a, sizeof a);
        std::memcpy(&bitsOfB, &b, sizeof b);
        return bitsOfA == bitsOfB;
    }
};

/// What is loaded from the file `in`, saved to `out`, and loaded again.
struct Desk {
    Record record, recordAgain;
    std::vector<unsigned short> table = std::vector<unsigned short>(kTableCells), tableAgain = table;
    const std::vector<unsigned short> noCells = std::vector<unsigned short>(kTableCells + 1, kEmptyCell),
                                      noPositions = std::vector<unsigned short>(kTableCells + 1);
    std::vector<KvProfile> profiles = std::vector<KvProfile>(kCalibrationSteps);
    QString in, out = Fuzz::scratchPath("out");

    /// Cells as they stand in the file, then the value for those that are missing.
    static void requireCells(const std::vector<unsigned short>& cells, const QByteArray& file,
                             const std::vector<unsigned short>& missing) {
        const size_t held = std::min(size_t(file.size()) / 2, cells.size());
        const auto* bytes = reinterpret_cast<const unsigned char*>(file.constData());
        bool areEqual = std::memcmp(cells.data() + held, missing.data(), 2 * (cells.size() - held)) == 0;
        for (size_t i = 0; i < held && areEqual; ++i)
            areEqual = cells[i] == (bytes[2 * i] | bytes[2 * i + 1] << 8);
        Fuzz::require(areEqual, "what a file holds is loaded, the rest is missing");
    }
    void loadRecord(const QByteArray& file) {
        Fuzz::require(record.load(in), "a file opens");
        requireCells(record.columns.cells(), file, noPositions);
    }
    void loadTable(const QByteArray& file) {
        Fuzz::require(loadTableFromFile(table.data(), in), "a file opens");
        requireCells(table, file, noCells);
    }
    void passRecord() {
        Fuzz::require(record.load(in), "a file opens");
        Fuzz::require(saveRawCbrDataToFile(record.columns.rows(), record.parameters.data(), out),
                      "a record is saved");
        Fuzz::require(QFile(out).size() == 1'304'000, "a record has its size");
        Fuzz::require(recordAgain.load(out) && record == recordAgain, "a record comes back");
    }
    void passTable() {
        Fuzz::require(loadTableFromFile(table.data(), in) && saveTableToFile(table.data(), out) &&
                          loadTableFromFile(tableAgain.data(), out) && table == tableAgain,
                      "a table comes back");
    }
    void savePart(int count) {
        Fuzz::require(loadTableFromFile(table.data(), in) && saveTableToFile(table.data(), count, out),
                      "a part is saved");
        Fuzz::require(QFile(out).size() == 2 * std::max(count, 0), "a part has its size");
    }
    void makeProfiles(double zRange, double xRange) {
        Fuzz::require(record.load(in) && loadTableFromFile(table.data(), in), "a file opens");
        calcProfsFromDtf(table.data(), record.columns.rows(), zRange, xRange, profiles.data());
        for (KvProfile& profile : profiles)
            profile.clear();
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Desk desk;
    static Fuzz::ScratchFile in("in");
    Fuzz::Input input(data, size);
    // A file of full size is the few bytes over and over.
    const bool takesLong = input.isOneIn(32);
    const int operation = input.byte();
    const bool isFull = takesLong && operation % 2 != 0;
    const int cut = input.byte();
    const QByteArray bytes = input.rest().repeated(isFull && size > 0 ? 2'600'000 / int(size) : 1);
    const QByteArray file = bytes.left(bytes.size() - std::min(cut, int(bytes.size())));
    desk.in = in.with(file);
    if (operation < 128)
        desk.loadRecord(file);
    else if (operation < 192)
        desk.loadTable(file);
    else if (!takesLong)
        desk.savePart(input.raw<uint16_t>() % 1024 - 100);
    else if (operation < 216)
        desk.passRecord();
    else if (operation < 232)
        desk.passTable();
    else if (operation < 250)
        desk.savePart(input.raw<uint16_t>() * 16);
    else
        desk.makeProfiles(input.number(), input.number());
    return 0;
}
