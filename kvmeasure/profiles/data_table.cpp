// One pass over the lines. The separator is the first of semicolon, tab and comma that the first line holds,
// else blanks; the first line is a heading where a cell of it is no number.

#include <kvmeasure/profiles/data_table.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/text_lines.h>
#include <kvmeasure/profiles/text_table.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr qint64 kLongestLine = 1 << 20;        // bytes
constexpr std::size_t kMostCells = 20'000'000;  // wanted

char separatorOf(const QByteArray& line) {
    for (const char separator : {';', '\t', ','}) {
        if (line.contains(separator))
            return separator;
    }
    return ' ';
}

bool isHeading(const Fields& fields) {
    return std::any_of(fields.begin(), fields.end(), [](const TextField& field) {
        double value = 0;
        DecimalMarks marks;
        return readCell(field, value, marks) == Cell::Text;
    });
}

class TableReader {
public:
    TableReader(QIODevice& device, const QString& path) : lines_(device, path, kLongestLine), path_(path) {}
    DataTable read(const std::function<TableColumns(const QList<Heading>&)>& choose);

private:
    bool nextContent();
    void takeRow();
    double number(int column) const;

    TextLines lines_;
    QString path_;
    Fields fields_;
    TableColumns wanted_;
    DataTable table_;
};

bool TableReader::nextContent() {
    while (lines_.next()) {
        if (!isBlank(lines_.line()) && !isComment(lines_.line()))
            return true;
    }
    return false;
}

double TableReader::number(int column) const {
    const TextField& field = fields_[static_cast<std::size_t>(column)];
    double value = 0;
    DecimalMarks marks;
    if (readCell(field, value, marks) == Cell::Text || std::isinf(value))
        lines_.fail(filledIn("column %1: expected a number, found \"%2\"",
                             table_.headings[column].text.isEmpty()
                                 ? QString::number(column + 1)
                                 : '"' + table_.headings[column].text + '"',
                             shown(field.bytes())));
    return value;
}

void TableReader::takeRow() {
    int needed = 0;
    for (const QList<int>* columns : {&wanted_.numbers, &wanted_.words}) {
        for (const int column : *columns)
            needed = std::max(needed, column + 1);
    }
    if (static_cast<int>(fields_.size()) < needed)
        lines_.fail(filledIn("has %1 column(s), expected at least %2", fields_.size(), needed));
    if (table_.lines.size() * static_cast<std::size_t>(wanted_.numbers.size() + wanted_.words.size()) >=
        kMostCells)
        throw Error(filledIn("%1: has more than %2 cells", path_, kMostCells)).inFile(path_);
    for (int i = 0; i < static_cast<int>(wanted_.numbers.size()); ++i)
        table_.numbers[static_cast<std::size_t>(i)].push_back(number(wanted_.numbers[i]));
    for (int i = 0; i < static_cast<int>(wanted_.words.size()); ++i)
        table_.words[static_cast<std::size_t>(i)].append(
            decoded(fields_[static_cast<std::size_t>(wanted_.words[i])].bytes()));
    table_.lines.push_back(lines_.number());
}

DataTable TableReader::read(const std::function<TableColumns(const QList<Heading>&)>& choose) {
    if (!nextContent())
        throw Error(path_ + ": holds no row").inFile(path_);
    const char separator = separatorOf(lines_.line());
    QByteArray line = lines_.line();  // the fields point into it
    splitFields(line, separator, fields_);
    const bool hasHeading = isHeading(fields_);
    for (const TextField& field : fields_)
        table_.headings.append(readHeading(hasHeading ? decoded(field.bytes()) : QString()));
    wanted_ = choose(table_.headings);
    table_.numbers.resize(static_cast<std::size_t>(wanted_.numbers.size()));
    table_.words.resize(static_cast<std::size_t>(wanted_.words.size()));
    if (!hasHeading)
        takeRow();
    while (nextContent()) {
        splitFields(lines_.line(), separator, fields_);
        takeRow();
    }
    if (table_.lines.empty())
        throw Error(path_ + ": holds a heading and no row").inFile(path_);
    return std::move(table_);
}

/// "opening_deg" for "opening": units of results that are none of length.
bool isWithUnit(const QString& heading, const QString& word) {
    return heading == word + "_deg" || heading == word + "_mm2";
}

QString columnList(const QList<Heading>& headings) {
    QStringList names;
    for (int i = 0; i < static_cast<int>(headings.size()); ++i)
        names.append(headings[i].text.isEmpty() ? QString::number(i + 1) : '"' + headings[i].text + '"');
    return names.join(", ");
}

}  // namespace

int columnNamed(const QList<Heading>& headings, const QString& word) {
    const auto is = [&](const Heading& heading, int way) {
        return way == 0   ? heading.text == word
               : way == 1 ? heading.text.compare(word, Qt::CaseInsensitive) == 0
               : way == 2 ? heading.name.compare(word, Qt::CaseInsensitive) == 0
                          : isWithUnit(heading.text, word);
    };
    const int count = static_cast<int>(headings.size());
    for (int way = 0; way < 4 && !word.isEmpty(); ++way) {
        int found = -1;
        for (int i = 0; i < count; ++i) {
            if (!is(headings[i], way))
                continue;
            if (found >= 0)
                throw Error(filledIn("columns %1 and %2 are both called \"%3\"; choose by number", found + 1,
                                     i + 1, word));
            found = i;
        }
        if (found >= 0)
            return found;
    }
    bool isNumber = false;
    const int number = word.toInt(&isNumber);
    if (isNumber && number >= 1 && number <= count)
        return number - 1;
    QStringList names;
    for (const Heading& heading : headings)
        names.append(heading.text);
    throw Error(filledIn("there is no column \"%1\"; there are %2%3", word, columnList(headings),
                         suggestion(word, names)));
}

DataTable readDataTable(QFile& file, const QString& path,
                        const std::function<TableColumns(const QList<Heading>&)>& choose) {
    int badByte = 0;
    if (textEncoding(file.peek(4096), badByte) == TextEncoding::NoText)
        throw Error(path + ": is no text").inFile(path);
    try {
        return TableReader(file, path).read(choose);
    } catch (const Error& error) {
        throw error.at(path).inFile(path);
    }
}

DataTable readDataTable(const QString& path,
                        const std::function<TableColumns(const QList<Heading>&)>& choose) {
    return readDataTable(*openedFile(path), path, choose);
}

}  // namespace KvMeasure
