#include "kvmeasure/near_miss.h"

#include <kvmath/tsearch/search.h>

#include <QtCore/QVector>

#include <cmath>
#include <memory>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr qint64 mostExamined = 20'000'000;

/// How far the search has come, and by which segments.
struct Farthest {
    const TSTemplate* wanted = nullptr;
    qint64 examined = 0;
    int level = -1;  ///< template line that was refused
    int refusals = 0;
    TSLinesIndecies indices;
};

QList<TSConstraint*> refusing(const TSTemplate& wanted, LinePP* lines, int* assignment, int level) {
    QList<TSConstraint*> refusing;
    for (TSConstraint* constraint : wanted._getConstraintsForLine(level)) {
        if (!constraint->check(lines, assignment))
            refusing.append(constraint);
    }
    return refusing;
}

bool checkAndRemember(LinePP* lines, int* assignment, int level, void* data) {
    auto* farthest = static_cast<Farthest*>(data);
    if (++farthest->examined > mostExamined)
        return false;
    if (farthest->wanted->check(lines, assignment, level))
        return true;
    if (level < farthest->level)
        return false;
    const int refusals = static_cast<int>(refusing(*farthest->wanted, lines, assignment, level).size());
    if (level > farthest->level || refusals < farthest->refusals) {
        farthest->level = level;
        farthest->refusals = refusals;
        farthest->indices = TSLinesIndecies(assignment, level + 1);
    }
    return false;
}

/// What a constraint looks at, in mm or degrees.
double measured(const QString& type, const QVariantMap& keys, const LinePP& from, const LinePP& to) {
    const Vector a(from.p2.x - from.p1.x, from.p2.y - from.p1.y);
    const Vector b(to.p2.x - to.p1.x, to.p2.y - to.p1.y);
    if (type == "Length")
        return length(from.p1, from.p2);
    if (type == "Inclination angle")
        return direction(from);
    if (type == "Rotation angle")
        return std::fabs(std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y)) * degreesPerRadian;
    if (type != "Endpoint shift in direction")
        return length(from.p2, to.p1);
    const Vector along = keys["isFromLineReference"].toBool() ? a : b;
    const double angle = std::atan2(along.y, along.x) + keys["directionAngle"].toDouble();
    return (to.p1.x - from.p2.x) * std::cos(angle) + (to.p1.y - from.p2.y) * std::sin(angle);
}

/// "the turn from left to fall is 56.33 deg, allowed are 40 to 50"
QString reason(TSConstraint& constraint, const Segments& segments, const Farthest& farthest,
               const QStringList& names) {
    QVariantMap keys;
    constraint.save(keys);
    const QString type = constraint.getType();
    const bool isOfOne = keys.contains("lineIndex");
    const int from = keys[isOfOne ? "lineIndex" : "lineFromIndex"].toInt();
    const int to = keys[isOfOne ? "lineIndex" : "lineToIndex"].toInt();
    const bool isAngle = type.contains("angle");
    const double value = measured(type, keys, assignedLine(segments, farthest.indices, from),
                                  assignedLine(segments, farthest.indices, to));
    const QString what = isOfOne ? QString("%1 of %2").arg(type.toLower(), names[from])
                                 : QString("%1 from %2 to %3").arg(type.toLower(), names[from], names[to]);
    QString allowed;
    bool isBeyond = false;
    for (const auto& [key, word, sign] :
         {std::tuple("lowerBound", " from ", -1), {"upperBound", " to ", 1}}) {
        bool isSet = false;
        const double bound = keys[key].toDouble(&isSet) * (isAngle ? degreesPerRadian : 1);
        if (!isSet)
            continue;
        allowed += word + QString::number(bound, 'f', 2);
        isBeyond = isBeyond || sign * value > sign * bound;
    }
    return QString("%1 is %2 %3, %4")
        .arg(what, QString::number(value, 'f', 2), isAngle ? "deg" : "mm",
             isBeyond ? "allowed are" + allowed : QString("but in the wrong sense"));
}

}  // namespace

QString nearMiss(Segments& segments, const TemplateFile& file, bool allowReversed) {
    const int lines = file.lines.getTemplateLinesNumber();
    if (lines < 1)
        return QString();
    if (lines > segments.size())
        return QString("the template has %1 lines, the profile %2 segment(s)")
            .arg(lines)
            .arg(segments.size());
    QVector<LinePP> flat;
    for (const LinePP& segment : segments)
        flat.append(segment);
    Farthest farthest;
    farthest.wanted = &file.lines;
    int* codes = nullptr;
    templateSearch(flat.data(), static_cast<int>(flat.size()), lines, checkAndRemember, &farthest, nullptr,
                   nullptr,
                   /*findBest=*/false, allowReversed, codes);
    const std::unique_ptr<int[]> owner(codes);
    if (farthest.level < 0)
        return QString();
    QStringList names;
    for (int i = 0; i < lines; ++i) {
        const QString name = file.lineNames.value(i, QString::number(i));
        names.append(name == QString::number(i) ? "line " + name : name);
    }
    QStringList places;
    QVector<int> assignment;
    for (int i = 0; i <= farthest.level; ++i) {
        int segment = 0;
        bool isReversed = false;
        farthest.indices.getLineIndex(i, segment);
        farthest.indices.getLineOrientation(i, isReversed);
        assignment.append(2 * segment + (isReversed ? 1 : 0));
        places.append(QString("%1 = segment %2").arg(names[i]).arg(segment));
    }
    QStringList reasons;
    for (TSConstraint* constraint : refusing(file.lines, flat.data(), assignment.data(), farthest.level))
        reasons.append(reason(*constraint, segments, farthest, names));
    return QString("nearest: %1; but %2").arg(places.join(", "), reasons.join("; "));
}

}  // namespace KvMeasure
