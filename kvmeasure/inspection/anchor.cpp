#include <kvmeasure/inspection/anchor.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/region.h>

#include <cmath>

namespace KvMeasure {

namespace {

[[noreturn]] void failAnchor(const QString& text, const QString& reason) {
    throw Error(filledIn("\1anchor\2 \"%1\": %2; expected e.g. \"A = max in R from 1.5 20\"",
                         withoutMarks(text), withoutMarks(reason)));
}

QString number(double value) {
    constexpr int kDigits = 10;
    return QString::number(value, 'g', kDigits);
}

/// Reads "X Z [DEGREES]", what stands behind "from" in the text of an anchor.
void parseTaughtPlace(const QStringList& words, const QString& text, Frame& taught) {
    constexpr int kLeast = 2;
    constexpr int kMost = 3;
    if (words.size() < kLeast || words.size() > kMost)
        failAnchor(text, "\"from\" needs X Z and, for a direction, DEGREES");
    double numbers[kMost] = {0, 0, 0};
    for (int i = 0; i < static_cast<int>(words.size()); ++i) {
        if (!parseQuantity(words[i], i == kLeast ? degreeUnits() : QStringList{"mm"}, numbers[i]))
            failAnchor(text, filledIn("\"%1\" is no number", words[i]));
    }
    taught = {Vector(numbers[0], numbers[1]), numbers[2] / kDegreesPerRadian};
}

}  // namespace

Vector Frame::moved(const Vector& point, const Frame& taught, const Frame& found) {
    const double c = std::cos(found.turn - taught.turn);
    const double s = std::sin(found.turn - taught.turn);
    const double dx = point.x - taught.place.x;
    const double dz = point.y - taught.place.y;
    return {found.place.x + dx * c - dz * s, found.place.y + dx * s + dz * c};
}

const QStringList& anchorKinds() {
    static const QStringList kinds{"max", "min", "left", "right", "centroid", "line", "template"};
    return kinds;
}

QString Anchor::text() const {
    QString words = filledIn("%1 = %2 %3%4", name, anchorKinds().value(kind),
                             QString(kind == TemplateLine ? "" : "in "), source);
    if (taught.place.x == 0 && taught.place.y == 0 && taught.turn == 0)
        return words;
    words += filledIn(" from %1 %2", number(taught.place.x), number(taught.place.y));
    return taught.turn == 0 ? words : words + ' ' + number(taught.turn * kDegreesPerRadian);
}

QString Anchor::fault() const {
    if (!isPlanName(name))
        return filledIn("\"%1\" is no name: letters, digits, - and _, and not a number", name);
    if (source.isEmpty())
        return QString("the %1 is missing").arg(kind == TemplateLine ? "template line" : "region");
    if (!isFinite(taught.place) || !std::isfinite(taught.turn))
        return "its taught place is not finite";
    return QString();
}

Anchor parseAnchor(const QString& text) {
    const QString plain = text.simplified();
    const int equals = static_cast<int>(plain.indexOf('='));
    if (equals < 0)
        failAnchor(plain, "\"NAME =\" is missing in front");
    Anchor anchor;
    anchor.name = plain.left(equals).trimmed();
    QStringList words = plain.mid(equals + 1).simplified().split(' ');
    const QString kind = words.takeFirst();
    const auto index = anchorKinds().indexOf(kind);
    if (index < 0)
        failAnchor(plain, filledIn("\"%1\" is no kind of anchor (%2)%3", kind, anchorKinds().join(", "),
                                   suggestion(kind, anchorKinds())));
    anchor.kind = static_cast<Anchor::Kind>(index);
    if (!words.isEmpty() && words.first() == "in" && anchor.kind != Anchor::TemplateLine)
        words.removeFirst();
    if (!words.isEmpty() && words.first() != "from")
        anchor.source = words.takeFirst();
    if (!words.isEmpty()) {
        if (words.takeFirst() != "from")
            failAnchor(plain, "only \"from X Z [DEGREES]\" may stand behind the place");
        parseTaughtPlace(words, plain, anchor.taught);
    }
    if (!anchor.fault().isEmpty())
        failAnchor(plain, anchor.fault());
    return anchor;
}

}  // namespace KvMeasure
