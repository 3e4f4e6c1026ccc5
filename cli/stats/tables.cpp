// Values for the commands of stats, from a text table or from results in JSON. Words beside a value (part,
// appraiser) come from columns, or from the names of files by a pattern or a table.
#include "cli/stats/tables.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/data_table.h>
#include <kvmeasure/report/match_results.h>
#include <kvmeasure/statistics/name_fields.h>

#include <QtCore/QMap>

#include <cmath>
#include <optional>

namespace KvMeasure {

namespace {

/// A column that says the unit of each row, as results of "kvmeasure match" have it; -1: none.
int unitColumn(const QList<Heading>& headings) {
    for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
        if (headings[i].text.compare("unit", Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

/// The names of files as the options read them.
class FileNames {
public:
    explicit FileNames(const Arguments& arguments) : how_(arguments.text("--group-by")) {
        if (arguments.has("--group-by") && arguments.has("--group-table"))
            throw Error("--group-by and --group-table both say what a file name means; give one of them");
        if (arguments.has("--group-by"))
            pattern_.emplace(how_);
        if (arguments.has("--group-table")) {
            how_ = arguments.text("--group-table");
            table_.emplace(how_);
        }
        if (!isGiven())
            arguments.requireWith({"--names"}, "--group-by");
    }
    bool isGiven() const { return pattern_ || table_; }
    /// Number of the field; -1: the names do not say it.
    int indexOf(const QString& field) const {
        return isGiven() ? static_cast<int>((pattern_ ? pattern_->fields() : table_->fields()).indexOf(field))
                         : -1;
    }
    /// The fields of a name; `place` is where it stands, for errors.
    QStringList wordsOf(const QString& name, const QString& place) const {
        QStringList words = pattern_ ? pattern_->wordsOf(name) : table_->wordsOf(name);
        if (words.isEmpty())
            throw Error(pattern_
                            ? filledIn("%1: the name \"%2\" is not of the form \"%3\"", place, name, how_)
                            : filledIn("%1: the name \"%2\" is not in %3", place, name, how_));
        return words;
    }

private:
    QString how_;
    std::optional<NamePattern> pattern_;
    std::optional<NameTable> table_;
};

/// The column with the names of files.
int nameColumn(const Arguments& arguments, const QList<Heading>& headings) {
    if (arguments.has("--names"))
        return columnNamed(headings, arguments.text("--names"));
    for (const char* name : {"profile", "file"}) {
        for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
            if (headings[i].text.compare(name, Qt::CaseInsensitive) == 0)
                return i;
        }
    }
    throw Error(
        "there is no column \"profile\" or \"file\" with names of files; say which it is with --names");
}

/// Rows of a table on their way to named values.
class TableTaker {
public:
    TableTaker(const Arguments& arguments, const QStringList& words)
        : arguments_(arguments), path_(arguments.operand(0)), wanted_(words), names_(arguments) {}
    NamedValues take(QFile& file, const QString& value);
    NamedValues take(const MatchResults& results, const QString& value);

private:
    TableColumns choose(const QList<Heading>& headings, const QString& value);
    void takeWords(const DataTable& table, std::size_t row);
    void takeUnit(const DataTable& table, std::size_t row);
    [[noreturn]] void fail(qint64 line, const QString& reason) const {
        throw Error(filledIn("%1: line %2: %3", path_, line, reason)).inFile(path_).atLine(line);
    }

    const Arguments& arguments_;
    QString path_;
    QStringList wanted_;
    FileNames names_;
    NamedValues taken_;
    bool hasNames_ = false;  ///< the first column of words holds them
    bool hasUnits_ = false;  ///< the last column of words holds them
};

TableColumns TableTaker::choose(const QList<Heading>& headings, const QString& value) {
    TableColumns columns;
    columns.numbers.append(columnNamed(headings, value));
    for (const QString& word : wanted_)
        hasNames_ = hasNames_ || names_.indexOf(word) >= 0;
    if (hasNames_)
        columns.words.append(nameColumn(arguments_, headings));
    for (const QString& word : wanted_) {
        if (names_.indexOf(word) < 0)
            columns.words.append(columnNamed(headings, word));
    }
    const int unit = unitColumn(headings);
    hasUnits_ = unit >= 0 && !columns.words.contains(unit) && unit != columns.numbers[0];
    if (hasUnits_)
        columns.words.append(unit);
    const Heading& heading = headings[columns.numbers[0]];
    taken_.name = heading.name;
    taken_.unit = heading.unit;
    return columns;
}

void TableTaker::takeWords(const DataTable& table, std::size_t row) {
    const auto i = static_cast<int>(row);
    const qint64 line = table.lines[row];
    QStringList ofName;
    if (hasNames_)
        ofName = names_.wordsOf(table.words[0][i], filledIn("%1: line %2", path_, line));
    std::size_t column = hasNames_ ? 1 : 0;
    for (int k = 0; k < static_cast<int>(wanted_.size()); ++k) {
        const int field = names_.indexOf(wanted_[k]);
        const QString word = field >= 0 ? ofName.value(field) : table.words[column++][i];
        if (word.isEmpty())
            fail(line, filledIn("column \"%1\" is empty beside a value", wanted_[k]));
        taken_.words[k].append(word);
    }
}

void TableTaker::takeUnit(const DataTable& table, std::size_t row) {
    const QString& unit = table.words.back()[static_cast<int>(row)];
    if (!taken_.values.empty() && unit != taken_.unit)
        fail(table.lines[row], filledIn("unit \"%1\" after \"%2\"; make a table of each", unit, taken_.unit));
    taken_.unit = unit;
}

NamedValues TableTaker::take(QFile& file, const QString& value) {
    for (int k = 0; k < static_cast<int>(wanted_.size()); ++k)
        taken_.words.append(QStringList());
    const DataTable table =
        readDataTable(file, path_, [&](const QList<Heading>& headings) { return choose(headings, value); });
    for (std::size_t row = 0; row < table.lines.size(); ++row) {
        if (std::isnan(table.numbers[0][row])) {
            ++taken_.missing;
            continue;
        }
        takeWords(table, row);
        if (hasUnits_)
            takeUnit(table, row);
        taken_.values.push_back(table.numbers[0][row]);
        taken_.lines.push_back(table.lines[row]);
    }
    return std::move(taken_);
}

NamedValues TableTaker::take(const MatchResults& results, const QString& value) {
    static_cast<ValueSeries&>(taken_) = results.named(value);
    for (const QString& word : wanted_) {
        const bool isName = word == "file" || word == "profile";
        const int field = names_.indexOf(word);
        if (field < 0 && !isName)
            throw Error(
                filledIn("%1: has no column \"%2\"; results in JSON have \"file\", and what --group-by or "
                         "--group-table take from it",
                         path_, word))
                .inFile(path_);
        QStringList words;
        words.reserve(taken_.sources.size());
        for (const QString& name : static_cast<const ValueSeries&>(taken_).sources)
            words.append(field < 0 ? name : names_.wordsOf(name, path_).value(field));
        taken_.words.append(words);
    }
    return std::move(taken_);
}

}  // namespace

std::vector<Option> groupingOptions() {
    return {
        {"--group-by", "PATTERN",
         "columns from names of files, e.g. \"part{part}_{appraiser}_{trial}\"; {} is passed over"},
        {"--group-table", "FILE", "columns from a table that has the name of each file in a column \"file\""},
        {"--names", "COLUMN", "column with the names of files (profile or file)"}};
}

NamedValues takeValues(const Arguments& arguments, const QString& value, const QStringList& words) {
    const std::shared_ptr<QFile> file = openedFile(arguments.operand(0));
    TableTaker taker(arguments, words);
    return holdsJson(*file) ? taker.take(readMatchResults(*file, arguments.operand(0)), value)
                            : taker.take(*file, value);
}

QList<ValueSeries> partedByWord(const NamedValues& values) {
    QMap<QString, ValueSeries> parts;
    for (std::size_t i = 0; i < values.values.size(); ++i) {
        const QString& word = values.words[0][static_cast<int>(i)];
        ValueSeries& part = parts[word];
        part.name = word;
        part.unit = values.unit;
        part.limits = values.limits;
        part.values.push_back(values.values[i]);
        if (i < values.lines.size())
            part.lines.push_back(values.lines[i]);
    }
    return parts.values();
}

}  // namespace KvMeasure
