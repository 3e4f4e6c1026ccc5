// Where the rows of a table begin, and what the lines above them say.

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/text_lines.h>
#include <kvmeasure/profiles/text_table.h>

#include <QtCore/QMap>

#include <algorithm>

namespace KvMeasure {

namespace {

constexpr char kSeparators[] = {';', '\t', ',', ' '};

/// A line parted by a separator.
struct Parted {
    Fields fields;
    std::vector<Cell> cells;  // what each of them is
    int numbers = 0, texts = 0;
    int width = 0;  // without empty fields at the end

    Parted(const QByteArray& line, char separator) {
        splitFields(line, separator, fields);
        DecimalMarks marks;
        for (const TextField& field : fields) {
            double value = 0;
            const Cell cell = readCell(field, value, marks);
            cells.push_back(cell);
            numbers += cell == Cell::Number ? 1 : 0;
            texts += cell == Cell::Text ? 1 : 0;
            if (field.size > 0)
                width = static_cast<int>(&field - fields.data()) + 1;
        }
    }
    bool isPlainRow() const { return numbers > 0 && texts == 0; }
    bool isRow() const { return isPlainRow() || (numbers > 1 && texts <= numbers); }
    QList<Heading> headings(int count) const {
        QList<Heading> list;
        for (int i = 0; i < count; ++i)
            list.append(readHeading(i < width ? decoded(fields[std::size_t(i)].bytes()) : QString()));
        return list;
    }
};

bool isContent(const QByteArray& line) { return !isBlank(line) && !isComment(line); }

/// The one that makes rows of numbers of the most lines; of equal ones the first.
char chooseSeparator(const std::vector<NumberedLine>& lines) {
    char best = 0;
    int most = 0;
    for (const char separator : kSeparators) {
        int score = 0;
        for (const NumberedLine& line : lines) {
            const bool isParted =
                line.text.contains(separator) || (separator == ' ' && line.text.contains('\t'));
            if (!isParted || !isContent(line.text))
                continue;
            const Parted parted(line.text, separator);
            if (parted.width > 1)
                score += parted.isPlainRow() ? 2 : parted.isRow() ? 1 : 0;
        }
        if (score > most) {
            most = score;
            best = separator;
        }
    }
    if (best != 0)
        return best;
    for (const NumberedLine& line : lines) {  // heights alone, or no numbers
        for (const char separator : {';', '\t'}) {
            if (isContent(line.text) && line.text.contains(separator))
                return separator;
        }
    }
    return ' ';
}

bool isKnown(const QList<Heading>& headings) {
    for (const Heading& heading : headings) {
        if (heading.length != nullptr || (heading.role != ColumnRole::Unknown && heading.text != "#"))
            return true;
    }
    return false;
}

/// "Date=...", "Date: ...", or a number among words.
bool isAboutTheMeasurement(const QByteArray& line, const Parted& parted) {
    return parted.numbers > 0 || line.contains('=') || line.contains(": ") || line.trimmed().endsWith(':');
}

/// Whether they are known is asked of those that are used.
bool holdsUnits(const Parted& parted) {
    int units = 0;
    for (const TextField& field : parted.fields) {
        const QString text = decoded(field.bytes()).trimmed();
        if (text.isEmpty() || text == "-")
            continue;
        if (unitText(text) == text && findLengthUnit(text.toLower()) == nullptr)
            return false;
        ++units;
    }
    return units > 0;
}

class HeadFinder {
public:
    explicit HeadFinder(const std::vector<NumberedLine>& lines) : lines_(lines) {}
    TextHead find();

private:
    void findRows();
    void readAbove(const NumberedLine& line);
    bool takeNames(const NumberedLine& line, const QByteArray& text);
    void refuseOtherWidth(const NumberedLine& line, const Parted& parted) const;
    void takeCommentAsNames();
    void joinUnits();
    const NumberedLine& firstRow() const { return lines_[std::size_t(head_.firstRow)]; }

    const std::vector<NumberedLine>& lines_;
    TextHead head_;
    QList<QString> units_;
};

void HeadFinder::findRows() {
    QMap<int, int> widths;
    std::vector<Parted> rows;  // without their fields, which take many times the room of a line
    rows.reserve(lines_.size());
    for (const NumberedLine& line : lines_) {
        Parted& parted = rows.emplace_back(isContent(line.text) ? line.text : QByteArray(), head_.separator);
        parted.fields = Fields();
        if (parted.isRow())
            ++widths[parted.width];
    }
    for (auto it = widths.begin(); it != widths.end(); ++it) {
        if (it.value() >= widths.value(head_.width))
            head_.width = it.key();
    }
    head_.firstRow = static_cast<int>(lines_.size());
    bool wasRow = false;
    int count = 0, neighbours = 0;
    head_.isNumeric.assign(std::size_t(head_.width), true);
    std::vector<bool> hasNumber(std::size_t(head_.width), false);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Parted& parted = rows[i];
        const bool isRow = parted.isPlainRow() || (parted.isRow() && parted.width == head_.width);
        neighbours += isRow && wasRow ? 1 : 0;
        wasRow = isRow;
        if (!isRow)
            continue;
        head_.firstRow = std::min(head_.firstRow, static_cast<int>(i));
        ++count;
        for (std::size_t k = 0; k < parted.cells.size() && k < hasNumber.size(); ++k) {
            hasNumber[k] = hasNumber[k] || parted.cells[k] == Cell::Number;
            head_.isNumeric[k] = head_.isNumeric[k] && parted.cells[k] != Cell::Text;
        }
    }
    for (std::size_t k = 0; k < hasNumber.size(); ++k)
        head_.isNumeric[k] = head_.isNumeric[k] && hasNumber[k];
    head_.isDoubleSpaced = count > 2 && neighbours == 0;
}

/// As many names as columns, parted as the rows or otherwise.
bool HeadFinder::takeNames(const NumberedLine& line, const QByteArray& text) {
    if (head_.width == 1) {  // blanks part a name from its unit as well
        const Heading heading = readHeading(decoded(text));
        if (heading.role == ColumnRole::Y || heading.role == ColumnRole::Height) {
            head_.columns = {heading};
            head_.namesLine = line.number;
            return true;
        }
    }
    const Parted parted(text, head_.separator);
    const bool fits = parted.width >= head_.width && (head_.width > 1 || parted.width == 1);
    if (fits && (head_.width > 1 || isKnown(parted.headings(1)))) {
        head_.columns = parted.headings(head_.width);
        head_.namesLine = line.number;
        return true;
    }
    for (const char separator : kSeparators) {
        const Parted other(text, separator);
        if (head_.width > 1 && other.width == head_.width && isKnown(other.headings(head_.width))) {
            head_.columns = other.headings(head_.width);
            head_.namesLine = line.number;
            return true;
        }
    }
    return false;
}

void HeadFinder::refuseOtherWidth(const NumberedLine& line, const Parted& parted) const {
    if (&line + 1 != &firstRow() || !isKnown(parted.headings(parted.width)))
        return;
    throw Error(filledIn("line %1: the heading has %2 column(s), line %3 has %4%5", line.number, parted.width,
                         firstRow().number, head_.width,
                         head_.separator == ','
                             ? "; numbers with decimal commas are separated by semicolons, "
                               "tabs or blanks"
                             : "; name every column"))
        .atLine(line.number);
}

void HeadFinder::readAbove(const NumberedLine& line) {
    if (isBlank(line.text))
        return;
    if (isComment(line.text)) {
        head_.comments.append(line);
        return;
    }
    const Parted parted(line.text, head_.separator);
    if (isAboutTheMeasurement(line.text, parted))
        throw Error(
            QString("line %1: ").arg(line.number) + '"' + shown(line.text.trimmed()) +
            QString("\" is about the measurement, it is no heading and no point; delete the lines above "
                    "the points, which begin in line %1, or put '#' in front of each")
                .arg(firstRow().number))
            .atLine(line.number);
    if (holdsUnits(parted) && !head_.columns.isEmpty()) {
        units_.clear();
        head_.unitsLine = line.number;
        for (const TextField& field : parted.fields)
            units_.append(unitText(decoded(field.bytes())));
        return;
    }
    if (line.number == head_.namesLine + 1 && isKnown(head_.columns) && parted.width == head_.width &&
        !isKnown(parted.headings(head_.width)))
        throw Error(QString("line %1: \"").arg(line.number) + shown(line.text.trimmed()) +
                    "\" is neither a line of units known here nor a heading; delete it, and give \1units\2 " +
                    lengthUnitNames().join('|'))
            .atLine(line.number);
    const qint64 before = head_.namesLine;
    if (!takeNames(line, line.text)) {
        refuseOtherWidth(line, parted);
        head_.titles.append(line);
        return;
    }
    units_.clear();
    head_.unitsLine = 0;
    for (const NumberedLine& other : lines_) {
        if (other.number == before)
            head_.titles.append(other);  // was taken for the names
    }
}

/// "# x z" directly above the rows.
void HeadFinder::takeCommentAsNames() {
    if (!head_.columns.isEmpty() || head_.comments.isEmpty() || head_.firstRow == 0 ||
        head_.comments.last().number != lines_[std::size_t(head_.firstRow) - 1].number)
        return;
    const NumberedLine& line = head_.comments.last();
    const QByteArray whole = line.text.trimmed();
    const Parted parted(whole, head_.separator);
    if (head_.separator != ' ' && parted.width == head_.width && head_.width > 1 &&
        parted.fields[0].bytes() == "#") {  // the name of the numbers of points
        takeNames(line, whole);
        head_.comments.removeLast();
        return;
    }
    for (const QByteArray& text : {whole.mid(1), whole}) {
        if (takeNames(line, text) && isKnown(head_.columns)) {
            head_.comments.removeLast();
            return;
        }
        head_.columns.clear();
        head_.namesLine = 0;
    }
}

void HeadFinder::joinUnits() {
    for (int i = 0; i < head_.columns.size() && i < units_.size(); ++i) {
        Heading& heading = head_.columns[i];
        if (!heading.unit.isEmpty() || units_[i].isEmpty())
            continue;
        heading.unit = units_[i];
        heading.length = findLengthUnit(units_[i]);
    }
}

TextHead HeadFinder::find() {
    head_.separator = chooseSeparator(lines_);
    findRows();
    for (int i = 0; i < head_.firstRow && head_.width > 0; ++i)
        readAbove(lines_[std::size_t(i)]);
    if (head_.width > 0)
        takeCommentAsNames();
    joinUnits();
    return head_;
}

}  // namespace

TextHead findHead(const std::vector<NumberedLine>& lines) { return HeadFinder(lines).find(); }

}  // namespace KvMeasure
