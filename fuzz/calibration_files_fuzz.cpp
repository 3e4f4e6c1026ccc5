// Files of raw records and tables, short, full and too long: what was loaded is saved and loaded again
// unchanged.

#include "fuzz/calibration_data.h"
#include "fuzz/scratch_file.h"

#include <kvmath/calibration/dtf_profiles.h>
#include <kvmath/calibration/table_io.h>
#include <kvmath/profile/profile.h>

#include <algorithm>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fuzz::Columns record(KvMath::kCalibrationSteps);
    static std::vector<double> parameters(KvMath::kCalibrationSteps);
    static std::vector<unsigned short> table(KvMath::kTableCells), again(KvMath::kTableCells);
    static std::vector<KvMath::KvProfile> profiles(KvMath::kCalibrationSteps);
    Fuzz::Input input(data, size);
    // A file of full size is the few bytes over and over.
    const int copies = input.below(8) == 7 ? 2'600'000 / int(size) : 1;
    const int cut = input.byte();
    const QByteArray bytes = input.rest().repeated(copies);
    const QString path = Fuzz::scratchFile("in", bytes.left(bytes.size() - std::min(cut, int(bytes.size()))));
    const QString out = Fuzz::scratchPath("out");

    Fuzz::require(KvMath::loadRawCbrDataFromFile(record.rows(), parameters.data(), path), "a file opens");
    Fuzz::require(KvMath::saveRawCbrDataToFile(record.rows(), parameters.data(), out), "a record is saved");
    Fuzz::require(QFile(out).size() == 1'304'000, "a record has its size");
    Fuzz::require(KvMath::loadTableFromFile(table.data(), path) &&
                      KvMath::saveTableToFile(table.data(), out) &&
                      KvMath::loadTableFromFile(again.data(), out) && table == again,
                  "a table comes back");
    KvMath::saveTableToFile(table.data(), input.raw<uint16_t>() - 100, out);
    if (copies > 1) {
        KvMath::calcProfsFromDtf(table.data(), record.rows(), input.number(), input.number(),
                                 profiles.data());
        for (KvMath::KvProfile& profile : profiles)
            profile.clear();
    }
    return 0;
}
