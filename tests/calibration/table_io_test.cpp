#include <kvmath/calibration/table_io.h>

#include <tests/support/cell_rows.h>

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <numeric>

namespace {

using namespace KvMath;
using TestSupport::Cells;

struct CalibrationFiles : testing::Test {
    QByteArray bytes() const {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }
    QTemporaryDir directory;
    QString path = directory.filePath("cells.bin"), missing = directory.filePath("none/cells.bin");
};

TEST_F(CalibrationFiles, RawRecordMixesByteOrdersAndKeepsWhatAShortFileHas) {
    TestSupport::CellRows raw(1000), loaded(1000);
    std::vector<double> parameters(1000), values(1000);
    std::iota(raw.cells.begin(), raw.cells.end(), static_cast<unsigned short>(0x1234));
    std::iota(parameters.begin(), parameters.end(), 1.5);
    saveTableToFile(raw.cells.data(), 648000, path);
    QFile::resize(path, 2'000'000);  // a longer file goes
    ASSERT_TRUE(saveRawCbrDataToFile(raw.rows(), parameters.data(), path));
    const QByteArray file = bytes();
    ASSERT_EQ(file.size(), 1'304'000);
    EXPECT_EQ(file.left(4).toHex() + file.mid(2000, 2).toHex(), "341235121c16");  // steps 0 and 1; column 1
    EXPECT_EQ(file.mid(1'296'000, 8).toHex(), "3ff8000000000000");
    for (const int size : {1'304'001, 1'304'000, 1'303'999, 1'296'008, 1'296'007, 1'295'999, 2001, 1}) {
        QFile::resize(path, size);
        ASSERT_TRUE(loadRawCbrDataFromFile(loaded.rows(), values.data(), path));
        std::fill(raw.cells.begin() + std::min(size / 2, 648000), raw.cells.end(),
                  static_cast<unsigned short>(0));
        std::fill(parameters.begin() + std::clamp((size - 1'296'000) / 8, 0, 1000), parameters.end(), 0.0);
        EXPECT_TRUE(loaded.cells == raw.cells && values == parameters) << size;
    }
    EXPECT_FALSE(saveRawCbrDataToFile(raw.rows(), parameters.data(), missing));
    EXPECT_FALSE(loadRawCbrDataFromFile(raw.rows(), parameters.data(), missing));
    EXPECT_FALSE(saveRawCbrDataToFile(raw.rows(), nullptr, path) ||
                 saveRawCbrDataToFile(nullptr, values.data(), path));
    EXPECT_FALSE(loadRawCbrDataFromFile(raw.rows(), nullptr, path) ||
                 loadRawCbrDataFromFile(nullptr, values.data(), path));
    EXPECT_FALSE(saveTableToFile(nullptr, path) || saveTableToFile(nullptr, 1, path) ||
                 loadTableFromFile(nullptr, path));
    EXPECT_EQ(bytes().size(), 1) << "untouched";
}

TEST_F(CalibrationFiles, TableIsItsCellsLittleEndianAndShortOnesEndEmpty) {
    Cells tbl(2000 * 648), loaded(tbl);
    std::iota(tbl.begin(), tbl.end(), static_cast<unsigned short>(0x1234));
    ASSERT_TRUE(saveTableToFile(tbl.data(), path));
    const QByteArray file = bytes();
    ASSERT_EQ(file.size(), 2'592'000);
    EXPECT_EQ(file.left(4).toHex(), "34123512");
    for (const int size : {2'592'001, 2'592'000, 2'591'999, 1'000'001, 1}) {
        QFile::resize(path, size);
        ASSERT_TRUE(loadTableFromFile(loaded.data(), path));
        std::fill(tbl.begin() + size / 2, tbl.end(), static_cast<unsigned short>(32768));
        EXPECT_TRUE(loaded == tbl) << size;
    }
    std::iota(tbl.begin(), tbl.end(), static_cast<unsigned short>(0x1234));
    for (const int count : {663'552, 3, 0, -5}) {
        ASSERT_TRUE(saveTableToFile(tbl.data(), count, path));
        EXPECT_EQ(bytes(), file.left(2 * std::max(count, 0))) << count;
        QFile device(path);
        EXPECT_FALSE(loadTable(loaded.data(), count, device)) << "not open";
        ASSERT_TRUE(device.open(QIODevice::ReadOnly));
        loaded.assign(loaded.size(), 7);
        EXPECT_EQ(loadTable(loaded.data(), count, device), count > 0);
        EXPECT_TRUE(std::equal(loaded.begin(), loaded.begin() + std::max(count, 0), tbl.begin())) << count;
        EXPECT_EQ(loaded[std::size_t(std::max(count, 0))], 7) << "behind the cells that were asked for";
    }
    EXPECT_FALSE(saveTableToFile(tbl.data(), missing) || loadTableFromFile(tbl.data(), missing));
    QFile closed(path);
    std::vector<unsigned short*> columns(648, loaded.data());
    double parameters[8] = {};
    EXPECT_FALSE(loadRawCbrData(columns.data(), parameters, closed)) << "not open";
}

}  // namespace
