#include "kvmeasure/wheel_post.h"

#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

namespace {

constexpr int scannersAtMost = 49;

/// Settings are read whole.
QString regularFile(const QString& path) {
    constexpr qint64 largest = 4 << 20;
    QFile file(path);
    openRegularFile(file);
    if (file.size() > largest)
        throw Failure{
            QString("%1: has %2 bytes; settings have at most %3").arg(path).arg(file.size()).arg(largest)};
    return path;
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

PostSettings::PostSettings(const QString& path) : path_(path), ini_(regularFile(path), QSettings::IniFormat) {
    if (ini_.status() != QSettings::NoError)
        fail("is no INI file");
    requireAssignments();
    check("minProfsInWheel", 5, 1, true);
    check("calibrLines2", 0, -std::numeric_limits<float>::max(), false);
    check("polynomDegree", 20, 0, false);
    check("maxDeviation", 0.3, 0, false);
    check("pointsHigher", 5, 0, true);
    check("minimalDefectsProf", 1, 0, true);
    bool isAny = false;
    for (int index = 1; index <= scannersAtMost; ++index) {
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

void PostSettings::fail(const QString& text) const { throw Failure{path_ + ": " + text}; }

/// QSettings passes over what it does not understand, and a default would take the place of what was meant.
void PostSettings::requireAssignments() const {
    QFile file(path_);
    openRegularFile(file);
    const QByteArray text = file.readAll();
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
            fail(QString("line %1: \"%2\" %3")
                     .arg(text.left(line.begin).count('\n') + 1)
                     .arg(shown(text.mid(line.begin, line.end - line.begin).split('\n').first().trimmed()),
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
    fail(QString("%1 is %2; expected %3 from %4 on")
             .arg(key)
             .arg(value)
             .arg(isWhole ? "a whole number" : "a number")
             .arg(minimum));
}

void PostSettings::checkSensor(int index) const {
    constexpr double any = -std::numeric_limits<float>::max();
    const QString group = sensorName(index) + '/';
    check(group + "wndSize", 3, 1, true);
    check(group + "higherPoinInWnd", 1, 0, true);
    check(group + "maxdY", 1.5, 0, false);
    check(group + "minPointsIn", 2, 0, true);  // the text 1.5 would count as 0
    for (const char* name : {"level_k", "level_b", "lowlevel_k", "lowlevel_b", "lowLevel_k", "lowLevel_b",
                             "k2", "b2", "maxCorr", "parts", "maxDist"})
        check(group + name, 0, any, false);
}

void PostSettings::readRule(int index) {
    constexpr int numbers = 9;
    const QString key = sensorName(index) + "/rule";
    const QStringList parts = ini_.value(key).toStringList();
    if (parts.size() != numbers)
        fail(QString("%1 has %2 numbers; expected nine: origin X, Y, Z, then X, Y, Z per mm of x and of y")
                 .arg(key)
                 .arg(parts.size()));
    double rule[numbers] = {};
    for (int i = 0; i < numbers; ++i) {
        if (!parseNumber(parts.at(i).trimmed(), rule[i]))
            fail(QString("%1: \"%2\" is no number").arg(key, parts.at(i)));
    }
    rules_[index] = {rule[0], rule[1], rule[2], rule[3], rule[4], rule[5], rule[6], rule[7], rule[8]};
}

int PostSettings::indexOf(int serial) const {
    for (int index = 1; index <= scannersAtMost; ++index) {
        const int configured = ini_.value(sensorName(index) + "/SN", 0).toInt();
        if (configured == 0)
            return 0;
        if (configured == serial)
            return index;
    }
    return 0;
}

}  // namespace KvMeasure
