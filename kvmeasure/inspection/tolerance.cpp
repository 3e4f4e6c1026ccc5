// A small grammar by patterns, one per way of writing. Whatever fits none, or could mean two things, is
// refused.

#include <kvmeasure/inspection/tolerance.h>

#include <kvmeasure/base/text.h>

#include <QtCore/QRegularExpression>

#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr double kNoLimit = std::numeric_limits<double>::infinity();

QString expectedForm() {
    return "expected \"NOMINAL +- T\", \"NOMINAL +U -L\", \"NOMINAL -T\", \"NOMINAL +T\", \"max X\", \"min "
           "X\" "
           "or \"from A to B\"";
}

bool hasSign(const QString& word) { return word.startsWith('+') || word.startsWith('-'); }

QString parseSymmetric(const QString& text, WrittenTolerance& written) {
    const int sign = static_cast<int>(text.indexOf("+-"));
    Tolerance& tolerance = written.tolerance;
    const QString nominal = text.left(sign).trimmed();
    written.takesTaughtNominal = nominal.isEmpty();
    if (!parseNumber(text.mid(sign + 2), tolerance.upper) || tolerance.upper < 0 ||
        (!nominal.isEmpty() && !parseNumber(nominal, tolerance.nominal)))
        return expectedForm();
    tolerance.lower = -tolerance.upper;
    return QString();
}

QString parseLimits(const QStringList& words, WrittenTolerance& written) {
    Tolerance& tolerance = written.tolerance;
    tolerance = {0, -kNoLimit, kNoLimit, /*hasNominal=*/false};
    if (words.size() == 2 && words[0] == "max" && parseNumber(words[1], tolerance.upper))
        return QString();
    if (words.size() == 2 && words[0] == "min" && parseNumber(words[1], tolerance.lower))
        return QString();
    if (words.size() != 4 || words[0] != "from" || words[2] != "to" ||
        !parseNumber(words[1], tolerance.lower) || !parseNumber(words[3], tolerance.upper))
        return expectedForm();
    return tolerance.lower <= tolerance.upper ? QString()
                                              : QString("\"from\" must not be greater than \"to\"");
}

/// "NOMINAL +U -L".
QString parseDeviations(const QStringList& words, Tolerance& tolerance) {
    double* const numbers[] = {&tolerance.nominal, &tolerance.upper, &tolerance.lower};
    for (int i = 0; i < 3; ++i) {
        if (!parseNumber(words[i], *numbers[i]))
            return expectedForm();
    }
    for (const int i : {1, 2}) {  // zero needs no sign
        if (!hasSign(words[i]) && *numbers[i] != 0)
            return "deviations need their signs: \"NOMINAL +U -L\"";
    }
    return tolerance.lower <= tolerance.upper ? QString()
                                              : QString("the upper deviation comes first: \"NOMINAL +U -L\"");
}

/// "NOMINAL -T" and "NOMINAL +T" as on drawings, or "+U -L" about the value of the taught part. A plus sign
/// in front says that the first number is a deviation.
QString parsePair(const QString& first, const QString& second, WrittenTolerance& written) {
    Tolerance& tolerance = written.tolerance;
    double a = 0;
    double b = 0;
    if (!parseNumber(first, a) || !parseNumber(second, b))
        return expectedForm();
    const bool isDeviation = first.startsWith('+') || (first.startsWith('-') && a == 0);
    if (!hasSign(second) && !(isDeviation && b == 0))
        return QString("the sign of %2 is missing: write \"%1 +- %2\", \"%1 +%2\" or \"%1 -%2\"")
            .arg(first, second);
    if (isDeviation) {
        written.takesTaughtNominal = true;
        tolerance.upper = a;
        tolerance.lower = b;
        return b <= a ? QString() : QString("the upper deviation comes first: \"+U -L\"");
    }
    // Two deviations of one sign, or the upper one zero, could be meant as well.
    if (a <= 0 && b <= a)
        return QString("may be two deviations or a nominal value and one: write \"%1 +0 %2\" for a nominal "
                       "value of %1, or \"NOMINAL %3%1 %2\"")
            .arg(first, second, hasSign(first) ? "" : "+");
    tolerance.nominal = a;
    tolerance.upper = std::max(b, 0.0);
    tolerance.lower = std::min(b, 0.0);
    return QString();
}

QString shortNumber(double value) {
    constexpr int kDigits = 10;
    return QString::number(value + 0.0, 'g', kDigits);  // no -0
}

/// To a nanometre: a taught value has more digits than anybody reads.
QString rounded(double value) {
    constexpr double kParts = 1e6;
    const double whole = std::round(value * kParts);
    return shortNumber(std::isfinite(whole) && whole != 0 ? whole / kParts : value);
}

QString withSign(double deviation) { return (deviation < 0 ? "" : "+") + rounded(deviation); }

}  // namespace

const QStringList& decisionWords() {
    static const QStringList words{"simple", "guarded"};
    return words;
}

QString Tolerance::text() const {
    if (hasNominal)
        return rounded(nominal) + ' ' + withSign(upper) + ' ' + withSign(lower);
    if (std::isinf(lower))
        return "max " + rounded(upper);
    if (std::isinf(upper))
        return "min " + rounded(lower);
    return "from " + rounded(lower) + " to " + rounded(upper);
}

QString Tolerance::limits() const {
    if (std::isinf(lower))
        return "at most " + shortNumber(greatest());
    if (std::isinf(upper))
        return "at least " + shortNumber(least());
    return shortNumber(least()) + " to " + shortNumber(greatest());
}

QString parseTolerance(QString text, WrittenTolerance& written) {
    constexpr ushort kPlusMinus = 0x00B1;
    constexpr ushort kMinus = 0x2212;
    text = text.replace(QChar(kPlusMinus), "+-").replace(QChar(kMinus), '-').simplified();
    static const QRegularExpression unit("[0-9.] ?(mm|deg|%|\u00B0)");
    if (unit.match(text).hasMatch())
        return "numbers stand without a unit: mm for lengths, degrees for angles";
    if (text.contains("+-"))
        return parseSymmetric(text, written);
    const QStringList words = text.split(' ');
    if (words[0] == "max" || words[0] == "min" || words[0] == "from")
        return parseLimits(words, written);
    if (words.size() == 3)
        return parseDeviations(words, written.tolerance);
    return words.size() == 2 ? parsePair(words[0], words[1], written) : expectedForm();
}

const char* toleranceHelp() {
    return "  TOLERANCE, mm or degrees:\n"
           "  12.1 +- 0.05                from 12.05 to 12.15\n"
           "  12.1 +0.05 -0.02            from 12.08 to 12.15; deviations have their signs\n"
           "  12.1 -0.05, 12.1 +0.05      the other deviation is 0, as on drawings\n"
           "  max 12.15, min 12.08        a limit on one side\n"
           "  from 12.08 to 12.15         limits without a nominal value\n"
           "  +- 0.05, +0.05 -0.02        about the value of the taught part\n";
}

}  // namespace KvMeasure
