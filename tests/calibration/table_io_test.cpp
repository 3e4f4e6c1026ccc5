#include <kvmath/calibration/table_io.h>

#include <tests/support/cell_rows.h>

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace {

using namespace KvMath;

class CalibrationFiles : public testing::Test {
protected:
    QByteArray bytes() const {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }
    void write(const QByteArray& content) const {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(content);
    }
    QTemporaryDir directory;
    QString path = directory.filePath("cells.bin");
    QString missing = directory.filePath("none/cells.bin");
};

// Every cell and parameter tells its place; none is 0.
unsigned short cellAt(int i) { return static_cast<unsigned short>(i % 65000 + 1); }

TEST_F(CalibrationFiles, RawRecordMixesByteOrdersAndKeepsWhatAShortFileHas) {
    TestSupport::CellRows saved(1000);
    std::vector<double> parameters(1000);
    for (int i = 0; i < 648000; ++i)
        saved.cells[std::size_t(i)] = cellAt(i);
    for (int i = 0; i < 1000; ++i)
        parameters[std::size_t(i)] = i + 1.5;
    saved[0][0] = 0x1234;
    write(QByteArray(2'000'000, 'x'));
    ASSERT_TRUE(saveRawCbrDataToFile(saved.rows(), parameters.data(), path));
    const QByteArray file = bytes();
    ASSERT_EQ(file.size(), 1'304'000);
    EXPECT_EQ(file.left(4).toHex(), "34120200");                    // column 0, steps 0 and 1
    EXPECT_EQ(file.mid(2000, 2).toHex(), "e903");                   // column 1, step 0: 1001
    EXPECT_EQ(file.mid(1'296'000, 8).toHex(), "3ff8000000000000");  // 1.5

    for (const int size :
         {0, 1, 2, 2001, 1'295'999, 1'296'000, 1'296'007, 1'296'008, 1'303'999, 1'304'000, 1'304'001}) {
        write(file.left(size) + QByteArray(std::max(size - 1'304'000, 0), 'x'));
        TestSupport::CellRows loaded(1000, 7);
        std::vector<double> values(1000, 7.0);
        ASSERT_TRUE(loadRawCbrDataFromFile(loaded.rows(), values.data(), path));
        auto expected = saved.cells;
        auto expectedValues = parameters;
        std::fill(expected.begin() + std::min(size / 2, 648000), expected.end(),
                  static_cast<unsigned short>(0));
        std::fill(expectedValues.begin() + std::clamp((size - 1'296'000) / 8, 0, 1000), expectedValues.end(),
                  0.0);
        EXPECT_TRUE(loaded.cells == expected && values == expectedValues) << size;
    }
}

TEST_F(CalibrationFiles, TableIsItsCellsLittleEndianAndShortOnesEndEmpty) {
    TestSupport::Cells tbl(2000 * 648);
    for (std::size_t i = 0; i < tbl.size(); ++i)
        tbl[i] = cellAt(int(i));
    ASSERT_TRUE(saveTableToFile(tbl.data(), path));
    const QByteArray file = bytes();
    ASSERT_EQ(file.size(), 2'592'000);
    EXPECT_EQ(file.left(4).toHex() + file.right(2).toHex(), "0100020048ee");  // last: 61000
    for (const int size : {0, 1, 2, 1'000'001, 2'591'999, 2'592'000}) {
        write(file.left(size));
        TestSupport::Cells loaded(tbl.size(), 7);
        ASSERT_TRUE(loadTableFromFile(loaded.data(), path));
        auto expected = tbl;
        std::fill(expected.begin() + size / 2, expected.end(), static_cast<unsigned short>(32768));
        EXPECT_TRUE(loaded == expected) << size;
    }
    for (const int count : {-5, 0, 3, 40'000, 663'552}) {
        ASSERT_TRUE(saveTableToFile(tbl.data(), count, path));
        EXPECT_EQ(bytes(), file.left(2 * std::max(count, 0))) << count;
    }
}

TEST_F(CalibrationFiles, WhatCannotBeOpenedFailsAndLeavesTheOutputs) {
    TestSupport::CellRows dtf(1000, 7);
    TestSupport::Cells tbl(2000 * 648, 7);
    std::vector<double> parameters(1000, 7.0);
    EXPECT_FALSE(saveRawCbrDataToFile(dtf.rows(), parameters.data(), missing));
    EXPECT_FALSE(loadRawCbrDataFromFile(dtf.rows(), parameters.data(), missing));
    EXPECT_FALSE(saveTableToFile(tbl.data(), missing));
    EXPECT_FALSE(saveTableToFile(nullptr, 5, path));
    EXPECT_FALSE(loadTableFromFile(tbl.data(), missing));
    EXPECT_FALSE(loadRawCbrDataFromFile(dtf.rows(), nullptr, path));
    EXPECT_EQ(dtf[647][999] + tbl[0] + parameters[0], 21);
}

}  // namespace
