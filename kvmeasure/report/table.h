#pragma once
// Text tables, and the same values as JSON.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>

#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// Rows of text in columns of equal width. Columns that hold nothing but numbers, "-" and empty cells below
/// their heading are aligned to the right. Control characters of cells are shown as escapes.
class KVMEASURE_EXPORT Table {
public:
    /// A table of as many columns as the heading has cells; an empty heading: none, all text is empty lines.
    explicit Table(const QStringList& head);
    /// Appends a row. Missing cells are empty, those after the last column are left out.
    void add(const QStringList& row);
    /// Appends a row without cells, which addCell() fills; for many rows.
    void startRow();
    void addCell(const QString& text);  ///< appends a cell to the last row, which must be one
    void addMm(double value);           ///< a cell as mm() gives it
    /// The heading and all rows, a line each, with two blanks between columns. The alignment is that of the
    /// first call.
    QString text();

    /// For tables too long for memory: text, after which the rows are forgotten. Later text has no heading
    /// and keeps the alignment; a column widens where it must.
    QString takeText();
    int size() const { return static_cast<int>(rows_.size()); }  ///< rows that are held, with the heading

private:
    /// Where a cell or a row begins and how much it holds.
    struct Stretch {
        int first = 0;
        int count = 0;
    };

    void endCell(int first);
    bool isNumeric(int column) const;
    int fillLine(const Stretch& row, int columns, QChar* line) const;

    QString letters_;             ///< of all cells
    std::vector<Stretch> cells_;  ///< letters of each cell, row by row
    std::vector<Stretch> rows_;   ///< cells of each row
    int columns_ = 0;             ///< cells of the heading
    std::vector<int> widths_;
    std::vector<bool> isRight_;
};

/// Smallest and largest of the values that came; NaN is none.
struct KVMEASURE_EXPORT Span {
    double from = std::numeric_limits<double>::infinity();  ///< smallest; infinite: no value came
    double to = -from;                                      ///< largest; -infinite: no value came

    void add(double value);                         ///< takes a value; nothing for NaN
    bool isEmpty() const { return !(from <= to); }  ///< no value came
    /// "from .. to", "-" when empty.
    QString text(QString (*format)(double value) = mm) const;
    QJsonValue json() const;  ///< [from, to]; null when empty
};

/// Rows "what, value" of a table, and the same as JSON; without a key in the table alone.
struct KVMEASURE_EXPORT Facts {
    Table table{{"", "value"}};  ///< the rows
    QJsonObject json;            ///< the values with a key

    /// Adds a row, and the number under the key; an empty key: the row alone. The key must not be null.
    void add(const char* key, const QString& what, const QString& value, const QJsonValue& number);
    void add(const char* key, const QString& what, double value);  ///< a number with ten digits, NaN as "-"
    void add(const char* key, const QString& what, const Span& span);  ///< adds a range, mm
};

/// A table with number (from 0), length, direction and ends of each segment, mm and degrees. Without segments
/// the heading alone.
KVMEASURE_EXPORT QString segmentTable(const Segments& segments);

}  // namespace KvMeasure
