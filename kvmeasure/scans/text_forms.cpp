// XYZ rows and CSV grids.

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/profiles/file_start_p.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/unset_values.h>
#include <kvmeasure/scans/scan_forms_p.h>

#include <cmath>

namespace KvMeasure {

namespace {

constexpr qint64 kLongestLine = 16 * 1024 * 1024;  // bytes; a row of a grid of a million columns
constexpr int kMostColumns = 1'000'000;

class ScanText {
public:
    ScanText(QFile& file, const ScanOptions& options, Scan& scan)
        : file_(file), path_(file.fileName()), options_(options), scan_(scan),
          progress_(options.progress, path_, file.size()), lines_(file, path_, kLongestLine),
          units_(unitsOfPoints(options)), heights_(options.unset) {}
    void read();

private:
    [[noreturn]] void fail(const QString& text) const { lines_.fail(text); }
    void refuseOtherUnit() const;
    void takeUnits();
    bool nextLine();
    double number(int column, bool& isNumber);
    double requiredNumber(int column);
    void addPoint();
    void readGrid();
    void readPoints();

    QFile& file_;
    const QString path_;
    const ScanOptions& options_;
    Scan& scan_;
    ProgressReport progress_;
    QByteArray line_;
    TextLines lines_;
    Fields fields_;
    DecimalMarks marks_;
    char separator_ = 0;  // 0: not chosen; ' ': any white space
    bool hasPoints_ = false;
    std::array<LengthUnit, 3> units_;
    HeightWatch heights_;
};

/// The fields of the next line that is neither empty nor a comment.
bool ScanText::nextLine() {
    do {
        if (!lines_.next())
            return false;
        line_ = lines_.line().trimmed();
        if (line_.startsWith('#') && !hasPoints_ && options_.units.isEmpty())
            refuseOtherUnit();
    } while (line_.isEmpty() || isComment(line_));
    if (separator_ == 0)
        separator_ = line_.contains(';')    ? ';'
                     : line_.contains(',')  ? ','
                     : line_.contains('\t') ? '\t'
                                            : ' ';
    splitFields(line_, separator_, fields_);
    progress_.show(file_.pos());
    return true;
}

/// Not in mm, and not a number, where nothing says which.
void ScanText::refuseOtherUnit() const {
    const LengthUnit* unit = unitMentioned(decoded(line_));
    if (unit != nullptr)
        lines_.fail(QString("speaks of %1; scans in text are in mm, or have the units of x, y and z in the "
                            "heading, e.g. \"x_%1 y_%1 z_%1\", or from \1units\2 %1")
                        .arg(unit->name));
}

/// The units that a heading says; mm for columns without one, where all are.
void ScanText::takeUnits() {
    if (!options_.units.isEmpty())
        return;
    bool hasUnit = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Heading heading = readHeading(decoded(fields_[axis].bytes()));
        hasUnit = hasUnit || heading.length != nullptr;
        if (heading.length == nullptr && (!heading.unit.isEmpty() || (hasUnit && axis > 0)))
            fail(QString("column %1: \"").arg(axis + 1) + shown(fields_[axis].bytes()) +
                 "\" has no unit of length known here; x, y and z need one each, or none; give \1units\2 " +
                 lengthUnitNames().join('|'));
        if (heading.length != nullptr)
            units_[axis] = *heading.length;
    }
    if (!hasUnit)
        refuseOtherUnit();
}

/// NaN and "inf" are numbers, of unset places.
double ScanText::number(int column, bool& isNumber) {
    double value = 0;
    isNumber = readCell(fields_[std::size_t(column)], value, marks_) != Cell::Text;
    return value;
}

double ScanText::requiredNumber(int column) {
    bool isNumber = false;
    const double value = number(column, isNumber);
    if (!isNumber)
        fail(QString("column %1: expected a number, found \"").arg(column + 1) +
             shown(fields_[std::size_t(column)].bytes()) + '"');
    return value;
}

void ScanText::readGrid() {
    const int columns = static_cast<int>(fields_.size());
    scan_.form = QString("CSV grid, %1 columns").arg(columns - 1);
    scan_.isStack = true;
    if (columns < 2 || columns > kMostColumns)
        fail(filledIn("has %1 columns; a grid has from 1 to %2 behind its first", columns - 1, kMostColumns));
    std::vector<float> xs;
    for (int column = 1; column < columns; ++column) {
        xs.push_back(coordinate(requiredNumber(column)));
        if (std::isnan(xs.back()))
            fail(QString("column %1: has no x").arg(column + 1));
    }
    while (nextLine()) {
        if (static_cast<int>(fields_.size()) != columns)
            fail(filledIn("has %1 columns, the heading has %2", fields_.size(), columns));
        const float z = coordinate(requiredNumber(0));
        if (std::isnan(z))
            fail("column 1: has no scan position");
        KvMath::KvProfileZ profile(z);
        for (int column = 1; column < columns; ++column) {
            const double height = heights_.take(requiredNumber(column), lines_.number());
            scan_.add(profile, xs[std::size_t(column) - 1], coordinate(height));
        }
        scan_.add(profile);
        scan_.requireRoom(path_);
    }
}

void ScanText::readPoints() {
    scan_.hasUnits = true;
    bool isFirst = true;
    do {
        if (fields_.size() < 3)
            fail(QString("has %1 column(s), expected x, y and z").arg(fields_.size()));
        bool isNumber[3] = {true, true, true};
        for (int axis = 0; isFirst && axis < 3; ++axis)
            number(axis, isNumber[axis]);
        if (!isNumber[0] && !isNumber[1] && !isNumber[2])
            takeUnits();
        else
            addPoint();
        isFirst = false;
    } while (nextLine());
}

void ScanText::addPoint() {
    hasPoints_ = true;
    const std::size_t heightAxis = options_.heightLast ? 2 : 1;
    float at[3] = {};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double number = requiredNumber(static_cast<int>(axis));
        const double value =
            axis == heightAxis ? heights_.take(number, lines_.number()) : heights_.takePlace(number);
        at[axis] = coordinate(units_[axis].toMm(value));
    }
    scan_.add(KvMath::KvPointXYZ(at[0], at[heightAxis], at[3 - heightAxis]));
    scan_.requireRoom(path_);
}

void ScanText::read() {
    scan_.form = "XYZ text";
    if (!nextLine())
        throw Error(QString("%1: holds no points").arg(file_.fileName())).inFile(file_.fileName());
    if (Internal::isGridHead(line_))
        readGrid();
    else
        readPoints();
    scan_.doubt = heights_.warning();
}

}  // namespace

void readScanText(QFile& file, const ScanOptions& options, Scan& scan) {
    ScanText(file, options, scan).read();
}

}  // namespace KvMeasure
