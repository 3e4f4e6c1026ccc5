// Angle between two lines where they meet.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/angle_between_lines.h>

#include <cmath>
#include <utility>

namespace KvMeasure::Internal {

namespace {

/// How much of a line lies in the direction `angle` (radians) from the vertex, -1 to 1.
double shareAlong(const KvMath::LinePP& line, const Vector& vertex, double angle) {
    const Vector to((line.p1.x + line.p2.x) / 2 - vertex.x, (line.p1.y + line.p2.y) / 2 - vertex.y);
    const double size = std::hypot(to.x, to.y);
    return size > 0 ? (to.x * std::cos(angle) + to.y * std::sin(angle)) / size : 0;
}

/// The arms of the angle point away from its two lines: it then stands in the opposite, equal opening.
bool isOutside(const Mark& mark, const KvMath::LinePP& from, const KvMath::LinePP& to) {
    constexpr double kRounding = 1e-6;
    const double arm = std::atan2(mark.first.y - mark.vertex.y, mark.first.x - mark.vertex.x);
    return shareAlong(from, mark.vertex, arm) + shareAlong(to, mark.vertex, arm + mark.angle) < -kRounding;
}

}  // namespace

class AngleKind : public TemplateKindOf<KvMath::TSUMAngleBetweenLines> {
public:
    QString word() const override { return "angle"; }
    QStringList otherWords() const override { return {"opening"}; }
    QLatin1String type() const override { return QLatin1String("Angle between lines"); }
    QString usage() const override { return "angle LINE LINE"; }
    QString help() const override {
        return "angle between the lines where they meet: 180 degrees when they run on\n"
               "straight, more for a left turn, less for a right turn";
    }
    void draw(KvMath::TSMeasurement& measurement, const LineOf& lineOf, Mark& mark) const override {
        const auto& between = asOwn(measurement);
        int from = 0;
        int to = 0;
        between.getMeasureLinesIndecies(from, to);
        const KvMath::LinePP line = lineOf(from);
        const Vector ahead = mark.first;
        mark.first = mirrored(ahead, mark.vertex);  // from where the first line comes
        mark.nearVertex = line.p2;
        mark.nearFirst = line.p1;
        if (isOutside(mark, line, lineOf(to))) {
            mark.first = ahead;
            std::swap(mark.nearVertex, mark.nearFirst);
        }
    }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& between = asOwn(measurement);
        int from = 0;
        int to = 0;
        between.getMeasureLinesIndecies(from, to);
        slopes.addTurn(0, from, -kDegreesPerRadian);
        slopes.addTurn(0, to, kDegreesPerRadian);
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
        const int from = statement.takeLine();
        const int to = statement.takeLine();
        statement.add(new KvMath::TSUMAngleBetweenLines(from, to, statement.name()));
    }
};

KVMEASURE_KIND(AngleKind)

}  // namespace KvMeasure::Internal
