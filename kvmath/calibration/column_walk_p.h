#pragma once
// The engine behind look-ups and tables: sensor column by sensor column, where the lines of the calibration
// steps cross it, and what lies between the crossings.

#include <kvmath/calibration/table_layout.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>

namespace KvMath::Internal {

/// How columns between found ones are bridged and values become cells.
enum class Form {
    Steps,     ///< positions and values truncated
    Triangles  ///< positions real, values rounded to nearest
};

/// What is to be built from a record. The coordinates that are asked for decide what must be legal.
struct BuildRequest {
    unsigned short** dtf;
    const double* params;  ///< of Z only
    double zRange, xRange, zStep, xStep;
    int firstColumn, lastColumn;
    Form form;
    bool wantsZ, wantsX;

    bool isLegal() const;
};

/// Cells of one column of a table or look-up: cell i, at cells[i * stride], is for position i * positionStep.
struct ColumnCells {
    unsigned short* cells;
    std::size_t stride;
    int positionStep;  ///< a power of two
};

/// Walks the columns of a legal request, in ascending order.
class ColumnWalk {
public:
    /// Null when there is no memory.
    static std::unique_ptr<ColumnWalk> create(const BuildRequest& request);

    bool hasLine() const { return hasLine_; }  ///< some step has a line in two columns of the window

    /// Finds the crossings of the column. Every column of the window is entered once.
    void enter(int column);

    /// Writes the coordinates of the entered column into cells that are empty before.
    void fillZ(const ColumnCells& out);
    void fillX(const ColumnCells& out);

private:
    static constexpr std::size_t kSteps = kCalibrationSteps;

    /// Where the line of a step crosses the column.
    struct Crossing {
        double position;
        int step;
        int ceiling;  ///< of the position
    };

    /// A cell of a table with the crossings on either side, twice the same where it lies on one.
    struct TableCell {
        short row, before, behind;
    };

    explicit ColumnWalk(const BuildRequest& request);
    void countLines();
    void setUnits();
    bool bridge(int column, std::size_t step, double& position);
    void sortCrossings(bool isDescending);
    bool asksCells(int positionStep) const;
    void findCells(int positionStep);
    bool areJoined(const Crossing& a, const Crossing& b) const;
    unsigned short toCell(double units) const;
    template <Form form>
    void fillZ(const ColumnCells& out);
    template <class Run>
    void eachRun(int positionStep, Run run) const;

    BuildRequest request_;
    bool hasLine_ = false;
    int column_ = 0;
    std::array<unsigned short, kSteps> found_{};        ///< columns with a line, per step
    std::array<unsigned short, kSteps> emptyBefore_{};  ///< earlier steps without any line
    std::array<short, kSteps> previous_{};              ///< last found column so far, -1 if none
    std::array<short, kSteps> next_{};                  ///< next found column, -1 not yet sought
    std::array<double, kSteps> units_{};                ///< Z in table units, per step
    std::array<Crossing, kSteps> crossings_{};          ///< of the entered column, by position
    std::size_t count_ = 0;
    bool walksDown_ = false;  ///< from the last step, which gives ascending positions
    bool isNoisy_ = false;    ///< positions of some column go up and down
    int cellStep_ = 0;        ///< positions between the rows of cells_; 0: not found yet
    std::array<TableCell, kTableSensorRows + 1> cells_{};
    std::size_t cellCount_ = 0;
};

}  // namespace KvMath::Internal
