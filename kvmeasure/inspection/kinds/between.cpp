// Point between ends of two lines.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/point_between_points.h>

namespace KvMeasure::Internal {

class BetweenKind : public TemplateKindOf<KvMath::TSUMPointBetween2Points> {
public:
    QString word() const override { return "between"; }
    QStringList otherWords() const override { return {"middle"}; }
    QLatin1String type() const override { return QLatin1String("Point between two points"); }
    QString usage() const override { return "between PLACE PLACE [P]"; }
    QString help() const override {
        return "point between two ends; P 0.5 (the middle) unless given;\n"
               "without .start or .end: end of the first, start of the second";
    }
    QString whyNoTolerance() const override { return pointsHaveNone(); }
    QString whyNoNumber() const override { return QStringLiteral("the point is too far away for a number"); }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& between = asOwn(measurement);
        int from = 0;
        int to = 0;
        between.getMeasureLinesIndecies(from, to);
        bool isFromStart = false;
        bool isToStart = false;
        between.getPointsChoice(isFromStart, isToStart);
        slopes.addShare(from, isFromStart, 1 - between.getPosition());
        slopes.addShare(to, isToStart, between.getPosition());
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        int from = 0;
        int to = 0;
        bool isFromStart = false;
        bool isToStart = false;
        own.getMeasureLinesIndecies(from, to);
        own.getPointsChoice(isFromStart, isToStart);
        return lines.end(from, isFromStart) + ' ' + lines.end(to, isToStart) + ' ' +
               written(own.getPosition());
    }
    void read(Statement& statement) const override {
        constexpr double kMiddle = 0.5;
        const Place first = statement.takePlace();
        const Place second = statement.takePlace();
        const double position =
            statement.atEnd() ? kMiddle : statement.takeNumber("a position, 0 (first point) to 1 (second)");
        statement.add(new KvMath::TSUMPointBetween2Points(first.line, second.line, first.end == Place::Start,
                                                          second.end != Place::Finish, position,
                                                          statement.name()));
    }
};

KVMEASURE_KIND(BetweenKind)

}  // namespace KvMeasure::Internal
