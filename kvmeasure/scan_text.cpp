// XYZ rows and CSV grids.

#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_forms.h"

#include <cmath>

namespace KvMeasure {

namespace {

constexpr qint64 longestLine = 16 * 1024 * 1024;  // bytes; a row of a grid of a million columns
constexpr int mostColumns = 1'000'000;

class ScanText {
public:
    ScanText(QFile& file, Scan& scan) : file_(file), scan_(scan), progress_(file.fileName(), file.size()) {}
    void read(bool heightLast);

private:
    [[noreturn]] void fail(const QString& text) const {
        throw Failure{QString("%1: line %2: %3").arg(file_.fileName()).arg(lineNumber_).arg(text)};
    }
    bool nextLine();
    float number(int column, bool& isNumber) const;
    float requiredNumber(int column) const;
    void readGrid();
    void readPoints(bool heightLast);

    QFile& file_;
    Scan& scan_;
    Progress progress_;
    QByteArray line_;
    QList<QByteArray> fields_;
    qint64 lineNumber_ = 0;
    char separator_ = 0;  // 0: not chosen; ' ': any white space
};

/// The fields of the next line that is neither empty nor a comment.
bool ScanText::nextLine() {
    constexpr qint64 usual = 4096;
    while (true) {
        line_ = file_.readLine(usual);
        while (line_.size() >= usual - 1 && !line_.endsWith('\n') && line_.size() < longestLine) {
            const QByteArray more = file_.readLine(line_.size() + 1);
            if (more.isEmpty())
                break;
            line_ += more;
        }
        if (line_.isEmpty())
            return false;
        ++lineNumber_;
        if (lineNumber_ == 1 && line_.startsWith("\xEF\xBB\xBF"))
            line_.remove(0, 3);
        if (line_.size() >= longestLine)
            fail(QString("is longer than %1 bytes; expected a point or a row of a grid").arg(longestLine));
        if (line_.contains('\0'))
            fail("holds a zero byte; expected text");
        line_ = line_.trimmed();
        if (!line_.isEmpty() && !line_.startsWith('#'))
            break;
    }
    if (separator_ == 0)
        separator_ = line_.contains(';')    ? ';'
                     : line_.contains(',')  ? ','
                     : line_.contains('\t') ? '\t'
                                            : ' ';
    fields_ = separator_ == ' ' ? line_.simplified().split(' ') : line_.split(separator_);
    progress_.show(file_.pos());
    return true;
}

float ScanText::number(int column, bool& isNumber) const {
    QByteArray text = fields_[column].trimmed();
    isNumber = true;
    if (text.isEmpty())
        return coordinate(std::nan(""));
    if (separator_ == ';')
        text.replace(',', '.');
    return coordinate(textNumber(text, isNumber));  // NaN and "inf" are numbers, of unset places
}

float ScanText::requiredNumber(int column) const {
    bool isNumber = false;
    const float value = number(column, isNumber);
    if (!isNumber)
        fail(QString("column %1: expected a number, found \"%2\"")
                 .arg(column + 1)
                 .arg(shown(fields_[column].trimmed())));
    return value;
}

void ScanText::readGrid() {
    const int columns = static_cast<int>(fields_.size());
    scan_.form = QString("CSV grid, %1 columns").arg(columns - 1);
    scan_.isStack = true;
    if (columns < 2 || columns > mostColumns)
        fail(QString("has %1 columns; a grid has from 1 to %2 behind its first")
                 .arg(columns - 1)
                 .arg(mostColumns));
    std::vector<float> xs;
    for (int column = 1; column < columns; ++column) {
        xs.push_back(requiredNumber(column));
        if (std::isnan(xs.back()))
            fail(QString("column %1: has no x").arg(column + 1));
    }
    while (nextLine()) {
        if (fields_.size() != columns)
            fail(QString("has %1 columns, the heading has %2").arg(fields_.size()).arg(columns));
        const float z = requiredNumber(0);
        if (std::isnan(z))
            fail("column 1: has no scan position");
        KvMath::KvProfileZ profile(z);
        for (int column = 1; column < columns; ++column)
            scan_.add(profile, xs[std::size_t(column) - 1], requiredNumber(column));
        scan_.add(profile);
        scan_.requireRoom(file_.fileName());
    }
}

void ScanText::readPoints(bool heightLast) {
    bool isFirst = true;
    do {
        if (fields_.size() < 3)
            fail(QString("has %1 column(s), expected x, y and z").arg(fields_.size()));
        bool isNumber[3] = {};
        float at[3] = {};
        for (int axis = 0; axis < 3; ++axis)
            at[axis] = number(axis, isNumber[axis]);
        const bool isHeading = isFirst && !isNumber[0] && !isNumber[1] && !isNumber[2];
        isFirst = false;
        if (isHeading)
            continue;
        for (int axis = 0; axis < 3; ++axis)
            requiredNumber(axis);
        scan_.add(heightLast ? KvMath::KvPointXYZ(at[0], at[2], at[1])
                             : KvMath::KvPointXYZ(at[0], at[1], at[2]));
        scan_.requireRoom(file_.fileName());
    } while (nextLine());
}

void ScanText::read(bool heightLast) {
    scan_.form = "XYZ text";
    if (!nextLine())
        throw Failure{QString("%1: holds no points").arg(file_.fileName())};
    if (isGridHead(line_))
        readGrid();
    else
        readPoints(heightLast);
}

}  // namespace

bool isGridHead(const QByteArray& line) { return line.startsWith("scan_mm/x_mm"); }

void readScanText(QFile& file, bool heightLast, Scan& scan) { ScanText(file, scan).read(heightLast); }

}  // namespace KvMeasure
