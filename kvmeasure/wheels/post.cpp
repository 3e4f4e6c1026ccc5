// QSettings reads the INI file, and passes over what it does not understand. So the text is walked through a
// second time by the same rules of quotes, continued lines and remarks, and a line that is no assignment is
// refused with its number. Numbers are checked when the settings are opened, before anything is measured.
#include <kvmeasure/wheels/post.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/text_lines.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

namespace {

constexpr int kScannersAtMost = 49;

/// The whole of the settings.
QByteArray textOf(const QString& path) {
    constexpr qint64 kLargest = 4 << 20;
    const std::shared_ptr<QFile> file = openedFile(path);
    if (file->size() > kLargest)
        throw Error(filledIn("%1: has %2 bytes; settings have at most %3", path, file->size(), kLargest))
            .inFile(path);
    return file->readAll();
}

bool isLineEnd(char letter) { return letter == '\n' || letter == '\r'; }

/// One line as QSettings takes it: quoted text and what stands behind "\" may hold line ends, and a remark
/// may stand behind a value.
struct IniLine {
    int begin = 0, end = 0;  ///< in the text, without the blanks in front
    bool hasAssignment = false, isQuoted = false, isRunOn = false;
};

IniLine iniLine(const QByteArray& text, int from) {
    const auto letter = [&](int at) { return at < text.size() ? text[at] : '\n'; };
    IniLine line;
    while (from < text.size() && std::strchr(" \t\v\f\r\n\x1a", text[from]) != nullptr)  // and zeros
        ++from;
    line.begin = line.end = from;
    int& at = line.end;
    if (letter(at) == ';') {
        while (!isLineEnd(letter(at)))
            ++at;
        return line;
    }
    for (; at < text.size(); ++at) {
        const bool isEnd = isLineEnd(text[at]);
        if (!line.isQuoted && (isEnd || text[at] == ';'))
            break;
        line.isRunOn = line.isRunOn || isEnd || (text[at] == '\\' && isLineEnd(letter(at + 1)));
        if (text[at] == '"')
            line.isQuoted = !line.isQuoted;
        if (text[at] == '=' && !line.isQuoted)
            line.hasAssignment = true;
        if (text[at] == '\\' && at + 1 < text.size())
            at += isLineEnd(letter(at + 1)) && letter(at + 1) + letter(at + 2) == '\r' + '\n' ? 2 : 1;
    }
    return line;
}

}  // namespace

bool hasRole(int index) { return index == 1 || index == 2 || seesSections(index); }

bool seesSections(int index) { return (index >= 3 && index <= 5) || (index >= 11 && index <= 13); }

QString sensorName(int index) { return QString("SENSOR%1").arg(index); }

QString sideName(int side) { return side == Left ? "left" : "right"; }

PostSettings::PostSettings(const QString& path) : PostSettings(path, textOf(path)) {}

PostSettings::PostSettings(const QString& path, const QByteArray& text)
    : path_(path), ini_(path, QSettings::IniFormat) {
    if (ini_.status() != QSettings::NoError)
        fail("is no INI file");
    requireAssignments(text);
    check("minProfsInWheel", 5, 1, true);
    check("calibrLines2", 0, -std::numeric_limits<float>::max(), false);
    check("polynomDegree", 20, 0, false);
    check("maxDeviation", 0.3, 0, false);
    check("pointsHigher", 5, 0, true);
    check("minimalDefectsProf", 1, 0, true);
    bool isAny = false;
    for (int index = 1; index <= kScannersAtMost; ++index) {
        const int serial = ini_.value(sensorName(index) + "/SN", 0).toInt();
        if (serial == 0) {
            if (ini_.childGroups().contains(sensorName(index)))
                fail(QString("%1/SN is missing, 0 or no number; it ends the search for scanners")
                         .arg(sensorName(index)));
            break;
        }
        isAny = true;
        if (!hasRole(index))
            continue;
        checkSensor(index);
        if (seesSections(index))
            readRule(index);
    }
    if (!isAny)
        fail("SENSOR1/SN is missing; no scanner is configured");
}

void PostSettings::fail(const QString& text) const { throw Error(path_ + ": " + text).inFile(path_); }

/// QSettings passes over what it does not understand, and a default would take the place of what was meant.
void PostSettings::requireAssignments(const QByteArray& text) const {
    IniLine line;
    line.end = text.startsWith("\xEF\xBB\xBF") ? 3 : 0;  // UTF-8, as some editors mark it
    while (true) {
        line = iniLine(text, line.end);
        if (line.begin >= text.size())
            return;
        const char first = text[line.begin];
        const char* problem = nullptr;
        if (line.isQuoted && line.isRunOn)
            problem = "has a quotation mark too few or too many";
        else if (first == '#' && line.isRunOn)
            problem = "takes the next line with it; begin remarks with \";\"";
        else if (first != '#' && first != ';' && first != '[' && !line.hasAssignment)
            problem = "has no \"=\"";
        if (problem != nullptr)
            fail(filledIn("line %1: \"%2\" %3", text.left(line.begin).count('\n') + 1,
                          shown(text.mid(line.begin, line.end - line.begin).split('\n').first().trimmed()),
                          problem));
    }
}

double PostSettings::number(const QString& key, double absent) const {
    const QVariant value = ini_.value(key);
    if (!value.isValid())
        return absent;
    double read = 0;
    if (!parseNumber(value.toString().trimmed(), read))
        fail(QString("%1 is \"%2\"; expected a number").arg(key, value.toStringList().join(", ")));
    return read;
}

void PostSettings::check(const QString& key, double absent, double minimum, bool isWhole) const {
    const double value = number(key, absent);
    if (value >= minimum && value <= std::numeric_limits<float>::max() &&
        (!isWhole || (value == std::floor(value) && value <= std::numeric_limits<int>::max())))
        return;
    fail(filledIn("%1 is %2; expected %3 from %4 on", key, value, isWhole ? "a whole number" : "a number",
                  minimum));
}

void PostSettings::checkSensor(int index) const {
    constexpr double kAny = -std::numeric_limits<float>::max();
    const QString group = sensorName(index) + '/';
    check(group + "wndSize", 3, 1, true);
    check(group + "higherPoinInWnd", 1, 0, true);
    check(group + "maxdY", 1.5, 0, false);
    check(group + "minPointsIn", 2, 0, true);  // the text 1.5 would count as 0
    for (const char* name : {"level_k", "level_b", "lowlevel_k", "lowlevel_b", "lowLevel_k", "lowLevel_b",
                             "k2", "b2", "maxCorr", "parts", "maxDist"})
        check(group + name, 0, kAny, false);
}

void PostSettings::readRule(int index) {
    constexpr int kNumbers = 9;
    const QString key = sensorName(index) + "/rule";
    const QStringList parts = ini_.value(key).toStringList();
    if (parts.size() != kNumbers)
        fail(filledIn("%1 has %2 numbers; expected nine: origin X, Y, Z, then X, Y, Z per mm of x and of y",
                      key, parts.size()));
    double rule[kNumbers] = {};
    for (int i = 0; i < kNumbers; ++i) {
        if (!parseNumber(parts.at(i).trimmed(), rule[i]))
            fail(QString("%1: \"%2\" is no number").arg(key, parts.at(i)));
    }
    rules_[index] = {rule[0], rule[1], rule[2], rule[3], rule[4], rule[5], rule[6], rule[7], rule[8]};
}

int PostSettings::indexOf(int serial) const {
    for (int index = 1; index <= kScannersAtMost; ++index) {
        const int configured = ini_.value(sensorName(index) + "/SN", 0).toInt();
        if (configured == 0)
            return 0;
        if (configured == serial)
            return index;
    }
    return 0;
}

int PostSettings::leastProfiles() const { return static_cast<int>(number("minProfsInWheel", 5)); }

KvMath::KvLine PostSettings::line(int index, const QString& name, double slope, double intercept) const {
    const QString key = sensorName(index) + '/' + name;
    return {static_cast<float>(number(key + "_k", slope)), static_cast<float>(number(key + "_b", intercept))};
}

double PostSettings::ofScanner(int index, const QString& name, double absent) const {
    return number(sensorName(index) + '/' + name, number(name, absent));
}

KvMath::KvLine PostSettings::reference(int index) const {
    const QString group = sensorName(index);
    return {static_cast<float>(number(group + "/k2", 0)), static_cast<float>(number(group + "/b2", 0))};
}

float PostSettings::referenceDistance() const { return static_cast<float>(number("calibrLines2", 0)); }

}  // namespace KvMeasure
