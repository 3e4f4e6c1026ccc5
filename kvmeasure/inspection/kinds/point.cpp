// Point on a line.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/line_point.h>

namespace KvMeasure::Internal {

class PointKind : public TemplateKindOf<KvMath::TSUMLinePoint> {
public:
    QString word() const override { return "point"; }
    QLatin1String type() const override { return QLatin1String("Line point"); }
    QString usage() const override { return "point LINE POSITION"; }
    QString help() const override { return "point on a line: 0 its start, 0.5 its middle, 1 its end"; }
    QString whyNoTolerance() const override { return pointsHaveNone(); }
    QString whyNoNumber() const override { return QStringLiteral("the point is too far away for a number"); }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& point = asOwn(measurement);
        slopes.addShare(point.getMeasureLineIndex(), /*isStart=*/true, 1 - point.getPosition());
        slopes.addShare(point.getMeasureLineIndex(), /*isStart=*/false, point.getPosition());
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        return lines(own.getMeasureLineIndex()) + ' ' + written(own.getPosition());
    }
    void read(Statement& statement) const override {
        const int line = statement.takeLine();
        const double position = statement.takeNumber("a position, 0 (start) to 1 (end)");
        statement.add(new KvMath::TSUMLinePoint(line, position, statement.name()));
    }
};

KVMEASURE_KIND(PointKind)

}  // namespace KvMeasure::Internal
