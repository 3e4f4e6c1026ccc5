#include <kvmeasure/inspection/region.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <cmath>

namespace KvMeasure {

namespace {

[[noreturn]] void failRegion(const QString& text, const QString& reason) {
    throw Error(filledIn("\1region\2 \"%1\": %2; expected e.g. \"R = x -6..6 z 0..10 at A\"",
                         withoutMarks(text), withoutMarks(reason)));
}

/// One side: a number, or `open` for nothing.
bool parseSide(const QString& word, double open, double& side) {
    side = open;
    return word.isEmpty() || parseNumber(word, side);
}

/// "-6..6", "-6..", "..6".
bool parseSides(const QString& word, double& from, double& to) {
    const auto dots = static_cast<int>(word.indexOf(".."));
    return dots >= 0 && word.size() > 2 && parseSide(word.left(dots), -Region::kOpen, from) &&
           parseSide(word.mid(dots + 2), Region::kOpen, to);
}

QString side(double value) {
    constexpr int kDigits = 10;
    return std::isinf(value) ? QString() : QString::number(value, 'g', kDigits);
}

QString sides(const char* axis, double from, double to) {
    return std::isinf(from) && std::isinf(to) ? QString()
                                              : filledIn(" %1 %2..%3", QString(axis), side(from), side(to));
}

}  // namespace

bool isPlanName(const QString& name) {
    constexpr int kLongest = 64;
    double number = 0;
    static const QRegularExpression signs("^[\\p{L}\\p{N}_-]+$",
                                          QRegularExpression::UseUnicodePropertiesOption);
    return name.size() <= kLongest && signs.match(name).hasMatch() && !parseNumber(name, number);
}

QString Region::text() const {
    const QString box = sides("x", minX, maxX) + sides("z", minZ, maxZ);
    return name + " =" + (isOfSecond ? " second" : "") + (box.isEmpty() && !isOfSecond ? " all" : box) +
           (anchor.isEmpty() ? QString() : " at " + anchor);
}

QString Region::fault() const {
    if (!isPlanName(name))
        return filledIn("\"%1\" is no name: letters, digits, - and _, and not a number", name);
    if (!(minX <= maxX))
        return filledIn("its x runs from %1 to %2; the smaller number comes first", minX, maxX);
    if (!(minZ <= maxZ))
        return filledIn("its z runs from %1 to %2; the smaller number comes first", minZ, maxZ);
    return QString();
}

Region parseRegion(const QString& text) {
    static const QRegularExpression blanks("([0-9]) ?\\.\\. ?([-+.0-9])");
    const QString plain = text.simplified().replace(blanks, "\\1..\\2");
    const int equals = static_cast<int>(plain.indexOf('='));
    if (equals < 0)
        failRegion(plain, "\"NAME =\" is missing in front");
    Region region;
    region.name = plain.left(equals).trimmed();
    QStringList words = plain.mid(equals + 1).simplified().split(' ');
    QStringList seen;
    while (!words.isEmpty()) {
        const QString word = words.takeFirst();
        if (seen.contains(word))
            failRegion(plain, filledIn("\"%1\" stands twice", word));
        seen.append(word);
        const QString value =
            words.isEmpty() || word == "all" || word == "second" ? QString() : words.takeFirst();
        if (word == "at" && !value.isEmpty())
            region.anchor = value;
        else if (word == "at")
            failRegion(plain, "\"at\" needs the name of an anchor");
        else if (word == "x" || word == "z") {
            if (!parseSides(value, word == "x" ? region.minX : region.minZ,
                            word == "x" ? region.maxX : region.maxZ))
                failRegion(plain, filledIn("\"%1\" needs FROM..TO in mm, not \"%2\"", word, value));
        } else if (word == "second")
            region.isOfSecond = true;
        else if (word != "all")
            failRegion(plain, filledIn("unexpected \"%1\"", word));
    }
    if (!region.fault().isEmpty())
        failRegion(plain, region.fault());
    return region;
}

}  // namespace KvMeasure
