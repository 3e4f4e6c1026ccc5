#pragma once
// A table of numbers in a text: its cells, its separator, and where below titles and headings it begins.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/column_heading.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <vector>

namespace KvMeasure {

/// A field of a line, without blanks and quotes around it. It points into the line.
struct TextField {
    const char* at = nullptr;                                  ///< its first byte
    int size = 0;                                              ///< bytes
    QByteArray bytes() const { return QByteArray(at, size); }  ///< a copy
};

/// The fields of a line, from left to right.
using Fields = std::vector<TextField>;

/// Replaces `fields` by those of a line, which must outlive them. `separator` ' ': any run of blanks and
/// tabs. Separators within double quotes part nothing. An empty line has one field of no bytes.
KVMEASURE_EXPORT void splitFields(const QByteArray& line, char separator, Fields& fields);

/// What a field holds: a number, an unset value, or anything else.
enum class Cell : unsigned char { Number, Nothing, Text };

/// Decimal marks that occurred.
struct DecimalMarks {
    bool point = false;  ///< in a number read
    bool comma = false;  ///< in a number read
};

/// Reads a field: a number with a decimal point or comma, or one of the spellings of an unset value ("",
/// "nan", "n/a", "#N/A", "-", "null", "1.#QNAN", ...), for which the value is NaN, as it is for other text.
/// What no double holds is infinite. The mark of a number is added to `marks`.
KVMEASURE_EXPORT Cell readCell(const TextField& field, double& value, DecimalMarks& marks);

/// A number of a text file, with a decimal point; `isNumber` false for other text and beyond the range of
/// doubles. "nan" and "-nan", capital or not, are NaN: C, C#, Java and JavaScript write 0/0 so.
KVMEASURE_EXPORT double textNumber(const QByteArray& text, bool& isNumber);

/// A line of nothing but blanks and tabs, or of nothing at all.
KVMEASURE_EXPORT bool isBlank(const QByteArray& line);

/// A line that begins with '#', but not with an unset value such as "#N/A".
KVMEASURE_EXPORT bool isComment(const QByteArray& line);

/// A line of a text with its number.
struct NumberedLine {
    qint64 number;    ///< from 1
    QByteArray text;  ///< without its end
};

/// What stands at the beginning of a text.
struct TextHead {
    char separator = ' ';          ///< ';', tab, ',' or ' ' for blanks
    int width = 0;                 ///< fields of a row of numbers; 0: there is none
    int firstRow = 0;              ///< index of the first row of numbers among the lines looked at
    std::vector<bool> isNumeric;   ///< columns that hold numbers in the lines looked at
    QList<Heading> columns;        ///< empty where there are none
    qint64 namesLine = 0;          ///< number of the line of names; 0: none
    qint64 unitsLine = 0;          ///< number of the line of units; 0: none
    QList<NumberedLine> titles;    ///< other lines of text above the rows
    QList<NumberedLine> comments;  ///< above the rows
    bool isDoubleSpaced = false;   ///< a blank line follows every row
};

/// Finds separator, columns and headings in the first lines of a text. Without a row of numbers the width is
/// 0. Throws Error with line(), but of no file, for lines above the rows that are neither title nor heading
/// ("Date=..."), and for headings that do not fit the rows.
KVMEASURE_EXPORT TextHead findHead(const std::vector<NumberedLine>& lines);

}  // namespace KvMeasure
