// A table of limits is small: rows are compared with each other by symbol, 10,000 at most.

#include <kvmeasure/wheels/limits.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/data_table.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kAnyDiameter = std::numeric_limits<double>::infinity();

/// Symbols of tables, each with the key of the value.
struct Symbol {
    const char *symbol, *key;
};
const Symbol kSymbols[] = {{"Sh", "Sh"},
                           {"Sd", "Sd"},
                           {"qR", "qR"},
                           {"BR", "rimWidth"},
                           {"AR", "backToBack"},
                           {"SR", "frontToFront"},
                           {"DD", "diameterDifference"},
                           {"DB", "bogieDiameterDifference"},
                           {"DV", "vehicleDiameterDifference"},
                           {"Rd", "tyreThickness"},
                           {"flangeAngle", "flangeAngle"},
                           {"flangeRootRadius", "flangeRootRadius"},
                           {"treadSlope", "treadSlope"},
                           {"hollow", "hollow"},
                           {"rollover", "rollover"},
                           {"treadWear", "treadWear"},
                           {"largestWear", "largestWear"},
                           {"areaLost", "areaLost"},
                           {"diameter", "diameter"}};

QString keyOf(const QString& symbol) {
    const auto found = std::find_if(std::begin(kSymbols), std::end(kSymbols),
                                    [&](const Symbol& known) { return symbol == known.symbol; });
    return found == std::end(kSymbols) ? QString() : QString(found->key);
}

/// The columns of a table by their names; -1: there is none.
struct Columns {
    int symbol = -1, quantity = -1, note = -1, from = -1, to = -1, minimum = -1, maximum = -1;
};

int columnOr(const QList<Heading>& headings, const char* name, int absent) {
    for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
        if (headings[i].name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0 ||
            headings[i].text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return i;
    }
    return absent;
}

/// Reads the rows of a table that is in memory.
class Rows {
public:
    explicit Rows(const QString& path) : path_(path) {
        table_ = readDataTable(path, [&](const QList<Heading>& headings) { return choose(headings); });
    }

    WheelLimits limits() const {
        constexpr std::size_t kMost = 10'000;
        if (table_.lines.size() > kMost)
            throw Error(path_ + ": has more than 10,000 rows; no table of limits has").inFile(path_);
        WheelLimits limits;
        limits.reserve(table_.lines.size());
        for (std::size_t row = 0; row < table_.lines.size(); ++row)
            limits.push_back(limit(row));
        checkOverlaps(limits);
        return limits;
    }

private:
    TableColumns choose(const QList<Heading>& headings) {
        columns_.symbol = columnOr(headings, "symbol", -1);
        columns_.minimum = columnOr(headings, "minimum", -1);
        columns_.maximum = columnOr(headings, "maximum", -1);
        for (const auto& [column, name] :
             {std::pair(columns_.symbol, "symbol"), std::pair(columns_.minimum, "minimum"),
              std::pair(columns_.maximum, "maximum")}) {
            if (column < 0)
                throw Error(
                    path_ +
                    ": a table of limits needs the columns symbol, minimum and maximum; there is no \"" +
                    name + '"')
                    .inFile(path_);
        }
        columns_.quantity = columnOr(headings, "quantity", columns_.symbol);
        columns_.note = columnOr(headings, "note", columns_.symbol);
        columns_.from = columnOr(headings, "diameter_from", columns_.minimum);
        columns_.to = columnOr(headings, "diameter_to", columns_.minimum);
        return {{columns_.minimum, columns_.maximum, columns_.from, columns_.to},
                {columns_.symbol, columns_.quantity, columns_.note}};
    }

    [[noreturn]] void fail(std::size_t row, const QString& text) const {
        throw Error(filledIn("%1: line %2: %3", path_, table_.lines[row], text))
            .inFile(path_)
            .atLine(table_.lines[row]);
    }

    double millimetres(std::size_t column, int heading, std::size_t row) const {
        const LengthUnit* unit = table_.headings[heading].length;
        const double value = table_.numbers[column][row];
        return unit == nullptr ? value : unit->toMm(value);
    }

    WheelLimit limit(std::size_t row) const {
        enum Number { Minimum, Maximum, From, To };
        WheelLimit limit;
        limit.line = table_.lines[row];
        const int at = static_cast<int>(row);
        limit.symbol = table_.words[0][at].trimmed();
        if (keyOf(limit.symbol).isEmpty()) {
            QStringList known;
            for (const Symbol& symbol : kSymbols)
                known.append(symbol.symbol);
            fail(row, filledIn("\"%1\" is no symbol of a quantity%2", limit.symbol,
                               suggestion(limit.symbol, known)));
        }
        if (columns_.quantity != columns_.symbol)
            limit.quantity = table_.words[1][at].trimmed();
        if (columns_.note != columns_.symbol)
            limit.note = table_.words[2][at].trimmed();
        limit.minimum = millimetres(Minimum, columns_.minimum, row);
        limit.maximum = millimetres(Maximum, columns_.maximum, row);
        const double from = columns_.from == columns_.minimum ? kNaN : millimetres(From, columns_.from, row);
        const double to = columns_.to == columns_.minimum ? kNaN : millimetres(To, columns_.to, row);
        limit.diameterFrom = std::isnan(from) ? 0 : from;
        limit.diameterTo = std::isnan(to) ? kAnyDiameter : to;
        if (std::isnan(limit.minimum) && std::isnan(limit.maximum))
            fail(row, "has neither minimum nor maximum");
        if (limit.minimum > limit.maximum)
            fail(row, filledIn("minimum %1 is above maximum %2", limit.minimum, limit.maximum));
        if (!(limit.diameterFrom < limit.diameterTo))
            fail(row, filledIn("diameter_from %1 is not below diameter_to %2", limit.diameterFrom,
                               limit.diameterTo));
        return limit;
    }

    /// Two rows of a symbol must not hold for the same diameters.
    void checkOverlaps(const WheelLimits& limits) const {
        std::map<QString, std::vector<const WheelLimit*>> bySymbol;
        for (const WheelLimit& limit : limits)
            bySymbol[limit.symbol].push_back(&limit);
        for (auto& [symbol, rows] : bySymbol) {
            std::sort(rows.begin(), rows.end(), [](const WheelLimit* a, const WheelLimit* b) {
                return a->diameterFrom < b->diameterFrom;
            });
            for (std::size_t i = 1; i < rows.size(); ++i) {
                if (rows[i]->diameterFrom < rows[i - 1]->diameterTo)
                    throw Error(filledIn("%1: line %2: holds for diameters that line %3 has, too: \"%4\"",
                                         path_, std::max(rows[i]->line, rows[i - 1]->line),
                                         std::min(rows[i]->line, rows[i - 1]->line), symbol))
                        .inFile(path_)
                        .atLine(std::max(rows[i]->line, rows[i - 1]->line));
            }
        }
    }

    QString path_;
    Columns columns_;
    DataTable table_;
};

LimitVerdict::Kind kindOf(const WheelLimit& limit, double value) {
    return value < limit.minimum || value > limit.maximum ? LimitVerdict::Out : LimitVerdict::Good;
}

/// The row for a diameter; null where there is none, and where the diameter is not known.
const WheelLimit* rowFor(const std::vector<const WheelLimit*>& rows, double diameter) {
    const WheelLimit* chosen = nullptr;
    for (const WheelLimit* row : rows) {
        if (diameter >= row->diameterFrom && diameter <= row->diameterTo &&
            (chosen == nullptr || row->diameterTo < chosen->diameterTo))
            chosen = row;
    }
    return rows.size() == 1 && std::isnan(diameter) ? rows.front() : chosen;
}

void judgeBy(const WheelLimit& row, LimitVerdict& verdict) {
    verdict.quantity = row.quantity;
    verdict.minimum = row.minimum;
    verdict.maximum = row.maximum;
    verdict.note = row.note;
    verdict.kind = kindOf(row, verdict.value);
    verdict.reason.clear();
    if (verdict.kind == LimitVerdict::Out)
        verdict.reason =
            verdict.value < row.minimum
                ? filledIn("%1 below the minimum %2", fixed(row.minimum - verdict.value, 3), row.minimum)
                : filledIn("%1 above the maximum %2", fixed(verdict.value - row.maximum, 3), row.maximum);
}

LimitVerdict judgeValue(const std::vector<const WheelLimit*>& rows, const SectionValue& value,
                        double diameter) {
    LimitVerdict verdict;
    verdict.symbol = rows.front()->symbol;
    verdict.quantity = rows.front()->quantity;
    verdict.value = value.value;
    verdict.expanded = value.uncertainty.expanded();
    const WheelLimit* row = rowFor(rows, diameter);
    if (row != nullptr) {
        verdict.minimum = row->minimum;
        verdict.maximum = row->maximum;
        verdict.note = row->note;
    }
    if (!value.isKnown()) {
        verdict.reason = value.reason;
        return verdict;
    }
    if (row != nullptr) {
        judgeBy(*row, verdict);
        return verdict;
    }
    verdict.kind = LimitVerdict::Open;
    if (std::isfinite(diameter)) {
        verdict.reason = filledIn("the table has no limits for a diameter of %1", fixed(diameter, 1));
        return verdict;
    }
    verdict.reason = "the limits depend on the running diameter, which is not known";
    LimitVerdict first = verdict, other = verdict;
    judgeBy(*rows.front(), first);
    for (const WheelLimit* each : rows) {
        judgeBy(*each, other);
        if (other.kind != first.kind)
            return verdict;
    }
    first.note = "the same at all diameters of the table";
    return first;
}

}  // namespace

QString LimitVerdict::word() const { return kind == Good ? "good" : (kind == Out ? "OUT" : "NOT MEASURED"); }

WheelLimits readWheelLimits(const QString& path) { return Rows(path).limits(); }

QString limitKey(const QString& symbol) {
    const QString key = keyOf(symbol);
    return key.isEmpty() ? symbol : key;
}

std::vector<LimitVerdict> judge(const WheelLimits& limits, const std::vector<SectionValue>& values,
                                double diameter) {
    std::map<QString, std::vector<const WheelLimit*>> bySymbol;
    QStringList order;
    for (const WheelLimit& limit : limits) {
        std::vector<const WheelLimit*>& rows = bySymbol[limit.symbol];
        if (rows.empty())
            order.append(limit.symbol);
        rows.push_back(&limit);
    }
    std::vector<LimitVerdict> verdicts;
    for (const QString& symbol : order) {
        const SectionValue* value = findValue(values, keyOf(symbol));
        if (value != nullptr)
            verdicts.push_back(judgeValue(bySymbol[symbol], *value, diameter));
    }
    return verdicts;
}

QString overallVerdict(const std::vector<LimitVerdict>& verdicts) {
    if (verdicts.empty())
        return {};
    QString word = "good";
    for (const LimitVerdict& verdict : verdicts) {
        if (verdict.kind == LimitVerdict::Out)
            return verdict.word();
        if (verdict.kind != LimitVerdict::Good)
            word = verdict.word();
    }
    return word;
}

}  // namespace KvMeasure
