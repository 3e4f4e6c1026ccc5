// Numbers, units and words in texts. mm() writes four decimals digit by digit, since most cells of tables are
// such numbers; those near a tie of rounding take the way through Qt. Suggestions: the number of
// single-letter changes (Levenshtein), with one row of memory.
#include <kvmeasure/base/text.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

/// Number of single-letter changes between two words.
int editDistance(const QString& a, const QString& b) {
    std::vector<int> row(static_cast<std::size_t>(b.size()) + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = static_cast<int>(j);
    for (int i = 0; i < a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < b.size(); ++j) {
            const std::size_t k = static_cast<std::size_t>(j) + 1;
            const int replaced = diagonal + (a[i].toLower() == b[j].toLower() ? 0 : 1);
            diagonal = row[k];
            row[k] = std::min({replaced, row[k] + 1, row[k - 1] + 1});
        }
    }
    return row.back();
}

/// Adds a number of ten-thousandths with its four decimals; 0 has no sign.
void addTenThousandths(qint64 number, bool isNegative, QString& text) {
    constexpr int kMostLetters = 24, kDecimals = 4, kBase = 10;
    QChar letters[kMostLetters];
    int at = kMostLetters;
    const bool hasSign = isNegative && number != 0;
    for (int digits = 0; number != 0 || digits <= kDecimals; ++digits) {
        if (digits == kDecimals)
            letters[--at] = '.';
        letters[--at] = QChar('0' + static_cast<int>(number % kBase));
        number /= kBase;
    }
    if (hasSign)
        letters[--at] = '-';
    text.append(letters + at, kMostLetters - at);
}

bool isShown(QChar c) {
    const ushort code = c.unicode();
    if (code >= ' ' && code <= '~')
        return true;
    const bool turns = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return !turns && c.category() != QChar::Other_Control;
}

}  // namespace

bool parseNumber(const QString& text, double& value) {
    bool ok = false;
    const double parsed = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(parsed))
        return false;
    value = parsed;
    return true;
}

QStringList degreeUnits() { return {"deg", QString(QChar(0x00B0))}; }

bool parseQuantity(const QString& text, const QStringList& units, double& value) {
    QString number = text.trimmed();
    for (const QString& unit : units) {
        if (number.endsWith(unit)) {
            number.chop(static_cast<int>(unit.size()));
            break;
        }
    }
    return parseNumber(number, value);
}

QString suggestion(const QString& word, const QStringList& candidates, const QMap<QString, QString>& others) {
    constexpr int kLongestWord = 64;  // beyond that nothing of ours is near
    constexpr int kShortestBeginning = 3;
    if (word.size() > kLongestWord)
        return QString();
    QString nearest = others.value(word.toLower());
    int best = nearest.isEmpty() ? std::max(1, static_cast<int>(word.size()) / 3) + 1 : 0;
    for (const QString& candidate : candidates) {
        const int distance = editDistance(word, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    for (int i = 0; nearest.isEmpty() && word.size() >= kShortestBeginning && i < candidates.size(); ++i) {
        if (candidates[i].startsWith(word, Qt::CaseInsensitive))
            nearest = candidates[i];
    }
    return nearest.isEmpty() ? QString() : QString("; did you mean \"%1\"?").arg(nearest);
}

QString alternatives(const QStringList& words) {
    if (words.size() < 2)
        return words.value(0);
    return QStringList(words.mid(0, words.size() - 1)).join(", ") + " or " + words.last();
}

QString counted(qint64 number, const QString& what) {
    return QString::number(number) + ' ' + what + (number == 1 ? "" : "s");
}

QString fixed(double value, int decimals) {
    const QString text = QString::number(value, 'f', decimals);
    return text.startsWith('-') && text.toDouble() == 0 ? text.mid(1) : text;
}

QString mm(double value) {
    QString text;
    addMm(value, text);
    return text;
}

void addMm(double value, QString& text) {
    constexpr double kWidest = 1e7;  // no scanner sees that far; such numbers come from damaged files
    if (!(std::fabs(value) < kWidest)) {
        text += QString::number(value, 'g', 6);
        return;
    }
    constexpr double kSteps = 1e4, kNearHalf = 1e-3;  // the product is rounded by less than 1e-5
    const double scaled = std::fabs(value) * kSteps;
    const double whole = std::floor(scaled);
    if (std::fabs(scaled - whole - 0.5) < kNearHalf)
        text += fixed(value, 4);
    else
        addTenThousandths(static_cast<qint64>(whole) + (scaled - whole > 0.5 ? 1 : 0), value < 0, text);
}

QString percent(double part, double whole) {
    constexpr double kHundred = 100;
    return whole > 0 ? QString::number(kHundred * part / whole, 'f', 2) + " %" : QString("-");
}

bool isPrintable(const QString& text) {
    unsigned others = 0;  // than the letters of ASCII: counted without branches, many at a time
    for (const QChar c : text)
        others += static_cast<ushort>(c.unicode() - ' ') > '~' - ' ' ? 1 : 0;
    return others == 0 || std::all_of(text.begin(), text.end(), isShown);
}

QString printable(const QString& text) {
    if (isPrintable(text))
        return text;
    QString shown;
    for (const QChar c : text)
        shown += isShown(c) ? QString(c) : "\\u" + QString::number(c.unicode(), 16).rightJustified(4, '0');
    return shown;
}

}  // namespace KvMeasure
