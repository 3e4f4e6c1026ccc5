// All cells of a table lie in one text, rows are places in it: a cell costs no allocation. Numeric columns
// stand on the right; which are numeric is settled when the first rows are written, and widths only grow, so
// that the pieces of a long table fit together.
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/table.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

namespace KvMeasure {

namespace {

constexpr int kGap = 2;  // blanks between columns

/// Digits with at most one point between them and a minus before: most cells of most tables.
bool isDecimal(const QChar* text, int count) {
    const QChar* const end = text + count;
    text += count > 0 && *text == '-' ? 1 : 0;
    int points = 0;
    const auto belongs = [&points](QChar letter) {
        points += letter == '.' ? 1 : 0;
        return letter == '.' || (letter >= '0' && letter <= '9');
    };
    return text != end && *text != '.' && end[-1] != '.' && std::all_of(text, end, belongs) && points <= 1;
}

}  // namespace

Table::Table(const QStringList& head) : columns_(static_cast<int>(head.size())) { add(head); }

void Table::add(const QStringList& row) {
    startRow();
    for (const QString& cell : row)
        addCell(cell);
}

void Table::startRow() { rows_.push_back({static_cast<int>(cells_.size()), 0}); }

void Table::addCell(const QString& text) {
    const auto first = static_cast<int>(letters_.size());
    letters_ += isPrintable(text) ? text : printable(text);
    endCell(first);
}

void Table::addMm(double value) {
    const auto first = static_cast<int>(letters_.size());
    KvMeasure::addMm(value, letters_);
    endCell(first);
}

/// Of the letters from there on.
void Table::endCell(int first) {
    cells_.push_back({first, static_cast<int>(letters_.size()) - first});
    ++rows_.back().count;
}

bool Table::isNumeric(int column) const {
    for (std::size_t i = 1; i < rows_.size(); ++i) {
        if (column >= rows_[i].count)
            continue;
        const Stretch& cell = cells_[std::size_t(rows_[i].first) + std::size_t(column)];
        if (isDecimal(letters_.constData() + cell.first, cell.count))
            continue;
        const QString text = letters_.mid(cell.first, cell.count);
        bool ok = false;
        text.toDouble(&ok);
        if (!ok && !text.isEmpty() && text != "-")
            return false;
    }
    return true;
}

QString Table::text() {
    if (rows_.empty())
        return {};
    for (int column = static_cast<int>(widths_.size()); column < columns_; ++column) {
        widths_.push_back(0);
        isRight_.push_back(isNumeric(column));
    }
    for (const Stretch& row : rows_) {
        for (int column = 0; column < std::min(columns_, row.count); ++column) {
            int& width = widths_[std::size_t(column)];
            width = std::max(width, cells_[std::size_t(row.first) + std::size_t(column)].count);
        }
    }
    const int longestRow = std::accumulate(widths_.begin(), widths_.end(), kGap * columns_ + 1);
    QString text;
    std::vector<QChar> line(std::size_t(longestRow), ' ');
    text.reserve(static_cast<int>(rows_.size()) * longestRow);
    for (const Stretch& row : rows_) {
        const int letters = fillLine(row, columns_, line.data());
        line[std::size_t(letters)] = '\n';
        text.append(line.data(), letters + 1);
    }
    return text;
}

/// Writes the cells between blanks that bring them to the width of their column, without blanks at the end of
/// the line; the number of its letters.
int Table::fillLine(const Stretch& row, int columns, QChar* line) const {
    int at = 0;
    int letters = 0;
    for (int column = 0; column < columns && column < row.count; ++column) {
        const Stretch& cell = cells_[std::size_t(row.first) + std::size_t(column)];
        const QChar* const text = letters_.constData() + cell.first;
        const int width = widths_[std::size_t(column)];
        const int missing = width - cell.count;
        const int place = at + (isRight_[std::size_t(column)] ? missing : 0);
        std::fill(line + at, line + place, QChar(' '));
        std::copy(text, text + cell.count, line + place);
        at += width + kGap;
        std::fill(line + place + cell.count, line + at, QChar(' '));
        letters = place + cell.count;
        while (letters > 0 && line[letters - 1] == ' ')
            --letters;
    }
    return letters;
}

QString Table::takeText() {
    QString taken = text();
    letters_.clear();
    cells_.clear();
    rows_.clear();
    return taken;
}

void Span::add(double value) {
    from = std::fmin(from, value);
    to = std::fmax(to, value);
}

QString Span::text(QString (*format)(double value)) const {
    return isEmpty() ? QString("-") : format(from) + " .. " + format(to);
}

QJsonValue Span::json() const {
    return isEmpty() ? QJsonValue() : QJsonValue(QJsonArray{jsonNumber(from), jsonNumber(to)});
}

void Facts::add(const char* key, const QString& what, const QString& value, const QJsonValue& number) {
    table.add({what, value});
    if (*key != '\0')
        json[key] = number;
}

void Facts::add(const char* key, const QString& what, double value) {
    constexpr int kDigits = 10;
    add(key, what, std::isnan(value) ? QString("-") : QString::number(value + 0.0, 'g', kDigits),  // no -0
        jsonNumber(value));
}

void Facts::add(const char* key, const QString& what, const Span& span) {
    add(key, what, span.text(), span.json());
}

QString segmentTable(const Segments& segments) {
    Table table({"segment", "length mm", "direction deg", "x1", "y1", "x2", "y2"});
    for (int i = 0; i < segments.size(); ++i) {
        const KvMath::LinePP& s = segments[i];
        table.add({QString::number(i), mm(length(s.p1, s.p2)), fixed(direction(s), 2), mm(s.p1.x), mm(s.p1.y),
                   mm(s.p2.x), mm(s.p2.y)});
    }
    return table.text();
}

}  // namespace KvMeasure
