// Point where two lines, prolonged, meet.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/lines_intersection.h>

namespace KvMeasure::Internal {

namespace {

/// Slopes of the point over the ends of one line, with the other one at rest.
void addSlopesOver(int line, const KvMath::LinePP& other, const Vector& point, EndSlopes& slopes) {
    const KvMath::LinePP moved = slopes.line(line);
    const Vector way(moved.p2.x - moved.p1.x, moved.p2.y - moved.p1.y);
    const Vector rest(other.p2.x - other.p1.x, other.p2.y - other.p1.y);
    const double cross = way.x * rest.y - way.y * rest.x;
    const double share =
        ((point.x - moved.p1.x) * way.x + (point.y - moved.p1.y) * way.y) / (way.x * way.x + way.y * way.y);
    for (const bool isStart : {true, false}) {
        const double part = (isStart ? 1 - share : share) / cross;
        slopes.add(0, line, isStart, {-part * way.y * rest.x, part * way.x * rest.x});
        slopes.add(1, line, isStart, {-part * way.y * rest.y, part * way.x * rest.y});
    }
}

}  // namespace

class IntersectionKind : public TemplateKindOf<KvMath::TSUMLinesIntersection> {
public:
    QString word() const override { return "intersection"; }
    QStringList otherWords() const override { return {"corner", "apex"}; }
    QLatin1String type() const override { return QLatin1String("Lines intersection"); }
    QString usage() const override { return "intersection LINE LINE"; }
    QString help() const override { return "where the lines, prolonged, meet"; }
    QString whyNoTolerance() const override { return pointsHaveNone(); }
    QString whyNoNumber() const override { return QStringLiteral("its lines do not meet"); }
    /// A line that moves square to itself by 1 mm moves the point along the other line by 1 / sine.
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& intersection = asOwn(measurement);
        int first = 0;
        int second = 0;
        intersection.getMeasureLinesIndecies(first, second);
        addSlopesOver(first, slopes.line(second), intersection.getIntersectionPoint(), slopes);
        addSlopesOver(second, slopes.line(first), intersection.getIntersectionPoint(), slopes);
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        int from = 0;
        int to = 0;
        own.getMeasureLinesIndecies(from, to);
        return lines(from) + ' ' + lines(to);
    }
    void read(Statement& statement) const override {
        const int first = statement.takeLine();
        const int second = statement.takeLine();
        statement.add(new KvMath::TSUMLinesIntersection(first, second, statement.name()));
    }
};

KVMEASURE_KIND(IntersectionKind)

}  // namespace KvMeasure::Internal
